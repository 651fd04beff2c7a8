// A frame's way through the chain.
#include <string_view>

#include "host/HostErrorSlot.h"
#include "processor/FrameProcessor.h"

namespace {

bool isPacked(int format) {
  switch (format) {
    case 10:
    case 11:
    case 12:
    case 21:
    case 24:
      return true;
    default:
      return false;
  }
}

bool hasPixelOffset(int format, int pixelType) {
  return format == 8 && pixelType == 0;
}

/// The first letter alone tells most names apart, and every filter of every frame is asked.
bool isNamed(const char* name, std::string_view wanted) {
  return name[0] == wanted[0] && name == wanted;
}

/// Some filters run for some frames only, by the name they report. Format and pixel type are those of the frame that
/// went into the chain, whatever an earlier filter made of it.
bool admits(const char* name, int format, int pixelType) {
  if (name == nullptr) return true;
  if (!isPacked(format) && isNamed(name, "FrameUnpacker")) return false;
  if (!isPacked(format) && isNamed(name, "TalonFrameUnpacker")) return false;
  if (!hasPixelOffset(format, pixelType) && isNamed(name, "CorvidPixelOffsetFix")) return false;
  return true;
}

/// Whether this filter is switched on and takes frames like the input. Query errors stay in the slot.
bool shouldRun(const ChainLink& link, const vy_frame_t* input, HostErrorSlot& slot) {
  const FilterConfig& config = link.config();
  const bool enabled = slot.call(config.is_enabled, link.filter());
  if (!enabled) return false;
  const int format = static_cast<int>(slot.call(vy_frame_get_format, input));
  const int pixelType = static_cast<int>(slot.call(vy_video_frame_get_pixel_type, input));
  const char* const name = slot.call(config.get_name, link.filter());
  return admits(name, format, pixelType);
}

/// How the walk over the chain ended.
struct Walk {
  vy_frame_t* current;  ///< the last frame a filter was given, or the input; still to be released
  vy_frame_t* result;   ///< the last frame a filter returned; null if none did
  bool failed;          ///< ended early: the slot's content, which may be null, is the caller's
};

/// Runs the filters in order, each on the output of the one before. One slot serves all calls: an error of a query is
/// seen at the next test, after a release or after a filter's work.
Walk runChain(const std::vector<ChainLink>& filters, vy_frame_t* input, HostErrorSlot& slot) {
  vy_frame_t* current = input;
  vy_frame_t* result = nullptr;
  for (const ChainLink& link : filters) {
    if (!shouldRun(link, input, slot)) continue;

    if (result != nullptr) {
      slot.call(vy_delete_frame, current);
      // `current` stays as it is and is released once more at the end.
      if (slot.isSet()) return {current, result, true};
      current = result;
    }
    slot.call(vy_frame_get_format, current);
    result = slot.call(link.config().process, link.filter(), current);
    if (slot.isSet() || result == nullptr) return {current, result, true};
  }
  return {current, result, false};
}

}  // namespace

vy_frame_t* BasicFrameProcessor::process(vy_frame_t* frame, vy_error** error) {
  HostErrorSlot slot;
  slot.call(vy_frame_add_ref, frame);

  const Walk walk = runChain(filters_, frame, slot);
  // The error that ended the walk is handed out before the last release, whose own error must not replace it.
  if (walk.failed) *error = slot.release();
  slot.call(vy_delete_frame, walk.current);
  if (walk.result != nullptr) return walk.result;

  // No frame: here an error of the release does count, and the caller gets the later of the two.
  if (slot.isSet()) {
    if (walk.failed) HostErrorSlot::discard(*error);
    *error = slot.release();
    return nullptr;
  }
  if (walk.failed && *error != nullptr) return nullptr;
  return slot.call(vy_create_frame_from_other_frame, frame, true);
}
