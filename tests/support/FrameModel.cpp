#include "support/FrameModel.h"

namespace {

constexpr int kInput = 0;

}  // namespace

FrameModel::FrameModel(const ModelChain& chain, const Frame& input, std::uint64_t failing, vysim_fault fault)
    : HostModel(chain, failing, fault),
      chain_(chain),
      format_(static_cast<int>(vysim::call(vy_frame_get_format, input.get()))),
      pixelType_(static_cast<int>(vysim::call(vy_video_frame_get_pixel_type, input.get()))),
      frames_{{kInput, 0}} {
  run();
}

int FrameModel::makeFrame(int maker) {
  frames_.push_back({maker, 1});
  return static_cast<int>(frames_.size()) - 1;
}

void FrameModel::release(int frame, ErrorOrigin& slot) {
  auto& product = frames_[static_cast<std::size_t>(frame)];
  const bool isDead = frame != kInput && product.references == 0;
  if (call("vy_delete_frame", frameName(frame), slot, isDead ? kDeadObject : 0).done) --product.references;
}

bool FrameModel::isEnabled(const ModelLink& link, ErrorOrigin& slot) {
  if (link.isOwn()) return find(link, slot) && link.enabled;
  return call("vy_filter_is_enabled", link.label, slot).done && link.enabled;
}

bool FrameModel::admitsInput(const ModelLink& link, ErrorOrigin& slot) {
  const int format = call("vy_frame_get_format", frameName(kInput), slot).done ? format_ : 0;
  const int pixelType = call("vy_video_frame_get_pixel_type", frameName(kInput), slot).done ? pixelType_ : 0;
  if (link.isOwn()) {
    if (!find(link, slot)) slot = {"getPrivateFilterName", kInvalidValue};
    return true;  // the library's own filters have no format rule
  }
  if (!call("vy_filter_get_name", link.label, slot).done) return true;
  const std::string name = link.hostName();
  if (name == "FrameUnpacker" || name == "TalonFrameUnpacker") {
    return (format >= 10 && format <= 12) || format == 21 || format == 24;
  }
  return name != "CorvidPixelOffsetFix" || (format == 8 && pixelType == 0);
}

int FrameModel::process(const ModelLink& link, int maker, int frame, ErrorOrigin& slot) {
  if (link.isOwn()) return find(link, slot) ? processByOwn(link, maker, frame, slot) : kNone;
  return call("vy_filter_process", link.label + " " + frameName(frame), slot).done ? makeFrame(maker) : kNone;
}

int FrameModel::processByOwn(const ModelLink& link, int maker, int frame, ErrorOrigin& slot) {
  if (link.isResize()) {
    call("vy_video_frame_get_width", frameName(frame), slot);
    call("vy_video_frame_get_height", frameName(frame), slot);
    if (!chain_.resizeIsConfigured) call("vy_filter_update_config", link.label);
  }
  const bool done = call("vy_filter_process", link.label + " " + frameName(frame), slot).done;
  const int product = done ? makeFrame(maker) : kNone;
  ErrorOrigin ignored;
  if (slot.isSet() && done) release(product, ignored);
  if (slot.isSet()) return kNone;
  if (link.isResize()) stamp(product, slot);
  return product;
}

/// Writes the colour geometry to a frame's profile. The first failure ends it, and the profile's handle is not given
/// back.
void FrameModel::stamp(int frame, ErrorOrigin& slot) {
  const bool obtained =
      call("vy_frame_get_stream_profile", frameName(frame), slot, frame == kNone ? kInvalidValue : 0).done;
  if (obtained) ++profilesLeft;
  if (slot.isSet()) return;
  const std::string profile = obtained ? "profile" : "null";
  for (const char* const function :
       {"vy_video_stream_profile_get_intrinsic", "vy_video_stream_profile_set_intrinsic",
        "vy_video_stream_profile_set_distortion", "vy_stream_profile_set_extrinsic_to_type"}) {
    call(function, profile, slot, obtained ? 0 : kInvalidValue);
    if (slot.isSet()) return;
  }
  if (call("vy_delete_stream_profile", profile, slot).done) --profilesLeft;
}

void FrameModel::run() {
  ErrorOrigin slot;
  if (call("vy_frame_add_ref", frameName(kInput), slot).done) ++frames_[kInput].references;
  int current = kInput;
  int last = kNone;
  bool failed = false;
  for (std::size_t i = 0; i < chain_.links.size() && !failed; ++i) {
    const ModelLink& link = chain_.links[i];
    if (!isEnabled(link, slot) || !admitsInput(link, slot)) continue;
    if (last != kNone) {
      release(current, slot);
      failed = slot.isSet();
      if (failed) break;
      current = last;
    }
    call("vy_frame_get_format", frameName(current), slot);
    last = process(link, static_cast<int>(i) + 1, current, slot);
    failed = slot.isSet() || last == kNone;
  }
  if (failed) error = slot;
  release(current, slot);
  if (last == kNone) {
    error = slot;
    if (!slot.isSet() && call("vy_create_frame_from_other_frame", frameName(kInput)).done) last = makeFrame(kCopy);
  }

  inputReferences = frames_[kInput].references;
  if (last != kNone) {
    const Product& product = frames_[static_cast<std::size_t>(last)];
    result = product.maker;
    resultReferences = product.references;
  }
  for (std::size_t frame = 1; frame < frames_.size(); ++frame) {
    const int taken = static_cast<int>(frame) == last ? 1 : 0;
    if (frames_[frame].references > taken) ++framesLeft;
  }
  calls = canonicalCalls(splitLines(calls));
}
