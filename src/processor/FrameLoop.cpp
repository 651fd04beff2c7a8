// A frame's way through the chain.
#include <cstring>

#include "api/HostErrorSlot.h"
#include "processor/FrameProcessor.h"

namespace {

/// The kind of frame that went into the chain, by the host's codes.
struct InputKind {
  int format;
  int pixelType;
};

bool isPacked(InputKind input) {
  switch (input.format) {
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

bool hasPixelOffset(InputKind input) {
  return input.format == 8 && input.pixelType == 0;
}

/// Filters that run for some frames only, by the name they report. The frame asked is always the one that went into the
/// chain, whatever an earlier filter made of it.
struct FormatRule {
  const char* filterName;
  bool (*admits)(InputKind input);
};
constexpr FormatRule kFormatRules[] = {
    {"FrameUnpacker", isPacked},
    {"TalonFrameUnpacker", isPacked},
    {"CorvidPixelOffsetFix", hasPixelOffset},
};

bool admits(const char* filterName, InputKind input) {
  if (filterName == nullptr) return true;
  for (const FormatRule& rule : kFormatRules) {
    if (std::strcmp(rule.filterName, filterName) == 0) return rule.admits(input);
  }
  return true;
}

/// Whether this filter is switched on and takes frames like the input. Query errors stay in the slot.
bool shouldRun(const ChainLink& link, const vy_frame_t* input, HostErrorSlot& slot) {
  const FilterConfig& config = link.config();
  const bool enabled = config.is_enabled(link.filter(), slot.out());
  slot.settle();
  if (!enabled) return false;
  const int format = static_cast<int>(vy_frame_get_format(input, slot.out()));
  slot.settle();
  const int pixelType = static_cast<int>(vy_video_frame_get_pixel_type(input, slot.out()));
  slot.settle();
  const char* const name = config.get_name(link.filter(), slot.out());
  slot.settle();
  return admits(name, {format, pixelType});
}

/// How the walk over the chain ended.
struct Walk {
  vy_frame_t* current;  ///< the last frame a filter was given, or the input; still to be released
  vy_frame_t* result;   ///< the last frame a filter returned; null if none did
  bool failed;          ///< ended early: the slot's content, which may be null, is the caller's
};

/**
 * Runs the filters in order, each on the output of the one before. One slot serves all calls: an error of a query is
 * seen at the next test, after a release or after a filter's work.
 */
Walk runChain(const std::vector<ChainLink>& filters, vy_frame_t* input, HostErrorSlot& slot) {
  vy_frame_t* current = input;
  vy_frame_t* result = nullptr;
  for (const ChainLink& link : filters) {
    if (!shouldRun(link, input, slot)) continue;

    if (result != nullptr) {
      vy_delete_frame(current, slot.out());
      slot.settle();
      // `current` stays as it is and is released once more at the end.
      if (slot.isSet()) return {current, result, true};
      current = result;
    }
    vy_frame_get_format(current, slot.out());
    slot.settle();
    result = link.config().process(link.filter(), current, slot.out());
    slot.settle();
    if (slot.isSet() || result == nullptr) return {current, result, true};
  }
  return {current, result, false};
}

}  // namespace

vy_frame_t* BasicFrameProcessor::process(vy_frame_t* frame, vy_error** error) {
  HostErrorSlot slot;
  vy_frame_add_ref(frame, slot.out());
  slot.settle();

  const Walk walk = runChain(filters_, frame, slot);
  vy_delete_frame(walk.current, slot.out());

  if (walk.result != nullptr) {
    // The caller gets the error that ended the walk, not one of the release above. An error that ended nothing is
    // dropped.
    if (walk.failed) *error = slot.releaseSettled();
    return walk.result;
  }
  if (slot.isSet()) {
    *error = slot.release();
    return nullptr;
  }
  if (walk.failed) *error = nullptr;
  return vy_create_frame_from_other_frame(frame, true, slot.out());
}
