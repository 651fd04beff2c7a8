#include "d2c/HardwareD2CProcessor.h"

#include <algorithm>

#include "api/HostErrorSlot.h"
#include "api/commonTypes.h"

namespace {

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
  if (filter_ == nullptr) {
    create_error(error, kErrorStatus, "device or filter is nullptr", __func__, kExceptionInvalidArgument);
    return nullptr;
  }
  HostErrorWatch watch(error);
  const std::uint32_t width = vy_video_frame_get_width(frame, error);
  watch.settle();
  const std::uint32_t height = vy_video_frame_get_height(frame, error);
  watch.settle();
  if (!paramsApplied_) {
    // Marked before the work: parameters that arrive meanwhile make the next frame derive again.
    paramsApplied_ = true;
    preProcessParams(width, height);
  }

  vy_frame_t* const result = processByHost(frame, error);
  watch.settle();
  if (*error == nullptr) modifyFrameIntrinsicParams(result, error);
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
  const auto texts = params_.resizeArguments();
  std::array<const char*, 7> arguments = {};
  std::transform(texts.begin(), texts.end(), arguments.begin(), [](const std::string& text) { return text.c_str(); });
  HostErrorSlot ignored;
  vy_filter_update_config(filter_, static_cast<std::uint8_t>(arguments.size()), arguments.data(), ignored.out());
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
  vy_stream_profile_set_extrinsic_to_type(profile, static_cast<VYStreamType>(kStreamColor), kIdentity, error);
  if (*error != nullptr) return;
  vy_delete_stream_profile(profile, error);
}
