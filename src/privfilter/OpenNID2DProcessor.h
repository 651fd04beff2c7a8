#pragma once

#include "privfilter/WrappedHostFilter.h"

/// Disparity to depth for cameras that speak the OpenNI protocol: the host's private filter "OpenNIDisparityTransform"
/// under the registry name "DisparityTransform".
class OpenNID2DProcessor : public WrappedHostFilter {
 public:
  OpenNID2DProcessor();

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
};
