#pragma once

#include <atomic>

#include "d2c/HardwareD2CParams.h"
#include "privfilter/WrappedHostFilter.h"

/// Finishes depth frames that the camera has aligned to colour: the host's private filter "DepthResize", configured
/// once per parameter set, and the stored intrinsics, a zero distortion and an identity extrinsic to colour stamped on
/// each output frame.
///
/// Parameters may be set on another thread than frames are processed on, but not while a frame is in flight.
class HardwareD2CProcessor : public WrappedHostFilter {
 public:
  HardwareD2CProcessor();

  /// Stores parameters; the next frame configures the host filter by them. Never reports an error.
  void set_hardware_d2c_params(VYCameraIntrinsic intrinsic, std::uint8_t reservedByte, float scale,
                               std::int16_t padLeft, std::int16_t padTop, std::int16_t padRight, std::int16_t padBottom,
                               bool applyScale, bool reservedFlag, vy_error** error);

  const char* get_name() override;
  const char* get_filter_config_schema(vy_error** error) override;
  void update_filter_config(std::uint32_t argc, const char** argv, vy_error** error) override;
  double get_config_value(const char* name, vy_error** error) override;
  void set_config_value(const char* name, double value, vy_error** error) override;
  vy_frame_t* filter_process(const vy_frame_t* frame, vy_error** error) override;
  void reset_filter(vy_error** error) override;
  std::uint32_t get_config_schema_list_count(const vy_filter_config_schema_list_t* list, vy_error** error) override;
  VYFilterConfigSchemaItem get_config_schema_list_item(const vy_filter_config_schema_list_t* list, std::uint32_t index,
                                                       vy_error** error) override;

 private:
  void preProcessParams(std::uint32_t width, std::uint32_t height);
  void modifyFrameIntrinsicParams(const vy_frame_t* frame, vy_error** error) const;

  std::atomic<bool> paramsApplied_{false};
  HardwareD2CParams params_;
};
