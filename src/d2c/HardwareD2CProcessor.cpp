#include "d2c/HardwareD2CProcessor.h"

#include "host/HostErrorSlot.h"
#include "host/commonTypes.h"

namespace {

/// The colour stream by the host's number: the name that a host header gives it is its own.
constexpr auto kColorStream = static_cast<VYStreamType>(2);

constexpr VYCameraDistortion kNoDistortion = {};
constexpr VYExtrinsic kIdentity = {{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}};

}  // namespace

HardwareD2CProcessor::HardwareD2CProcessor() : WrappedHostFilter("DepthResize") {}

void HardwareD2CProcessor::set_hardware_d2c_params(VYCameraIntrinsic intrinsic, std::uint8_t reservedByte, float scale,
                                                   std::int16_t padLeft, std::int16_t padTop, std::int16_t padRight,
                                                   std::int16_t padBottom, bool applyScale, bool reservedFlag,
                                                   vy_error** /*error*/) {
  params_.intrinsic = intrinsic;
  params_.reservedByte = reservedByte;
  params_.scale = scale;
  params_.padLeft = padLeft;
  params_.padTop = padTop;
  params_.padRight = padRight;
  params_.padBottom = padBottom;
  params_.applyScale = applyScale;
  params_.reservedFlag = reservedFlag;
  paramsApplied_ = false;
}

const char* HardwareD2CProcessor::get_name() {
  return "HardwareD2CProcessor";
}

const char* HardwareD2CProcessor::get_filter_config_schema(vy_error** error) {
  create_error(error, kErrorStatus, "the function does not support parameter retrieval", __func__,
               kExceptionUnsupported);
  return nullptr;
}

void HardwareD2CProcessor::update_filter_config(std::uint32_t /*argc*/, const char** /*argv*/, vy_error** error) {
  create_error(error, kErrorStatus, "the number of params error", __func__, kExceptionUnsupported);
}

double HardwareD2CProcessor::get_config_value(const char* /*name*/, vy_error** /*error*/) {
  return 0.0;
}

void HardwareD2CProcessor::set_config_value(const char* /*name*/, double /*value*/, vy_error** /*error*/) {}

vy_frame_t* HardwareD2CProcessor::filter_process(const vy_frame_t* frame, vy_error** error) {
  if (frame == nullptr) return nullptr;
  if (!checkArgument(filter_ != nullptr, "device or filter is nullptr", __func__, error)) return nullptr;
  // An error of the two queries is seen after the host filter's work.
  HostErrorSlot slot;
  const std::uint32_t width = slot.call(vy_video_frame_get_width, frame);
  const std::uint32_t height = slot.call(vy_video_frame_get_height, frame);
  if (!paramsApplied_) {
    // Marked before the work: parameters that arrive meanwhile make the next frame derive again.
    paramsApplied_ = true;
    preProcessParams(width, height);
  }

  vy_frame_t* const result = processByHost(frame, slot);
  if (slot.isSet()) {
    *error = slot.release();
    return nullptr;
  }
  modifyFrameIntrinsicParams(result, error);
  return result;
}

void HardwareD2CProcessor::reset_filter(vy_error** /*error*/) {
  paramsApplied_ = false;
  params_ = {};
}

std::uint32_t HardwareD2CProcessor::get_config_schema_list_count(const vy_filter_config_schema_list_t* /*list*/,
                                                                 vy_error** /*error*/) {
  return 0;
}

VYFilterConfigSchemaItem HardwareD2CProcessor::get_config_schema_list_item(
    const vy_filter_config_schema_list_t* /*list*/, std::uint32_t /*index*/, vy_error** /*error*/) {
  return {};
}

/// Configures the host filter for the stored parameters; an error of that is absorbed.
void HardwareD2CProcessor::preProcessParams(std::uint32_t width, std::uint32_t height) {
  params_.derive(width, height);
  const ResizeArguments arguments = params_.resizeArguments();
  HostErrorSlot().call(vy_filter_update_config, filter_, ResizeArguments::kCount, arguments.texts().data());
}

/// Stamps the colour geometry on a frame. An early stop leaves the profile handle as it is.
void HardwareD2CProcessor::modifyFrameIntrinsicParams(const vy_frame_t* frame, vy_error** error) const {
  vy_stream_profile_t* const profile = vy_frame_get_stream_profile(frame, error);
  if (*error != nullptr) return;
  vy_video_stream_profile_get_intrinsic(profile, error);  // only has to succeed
  if (*error != nullptr) return;
  vy_video_stream_profile_set_intrinsic(profile, params_.intrinsic, error);
  if (*error != nullptr) return;
  vy_video_stream_profile_set_distortion(profile, kNoDistortion, error);
  if (*error != nullptr) return;
  vy_stream_profile_set_extrinsic_to_type(profile, kColorStream, kIdentity, error);
  if (*error != nullptr) return;
  vy_delete_stream_profile(profile, error);
}
