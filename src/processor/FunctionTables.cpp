// Fills the function tables of filter records.
#include <vy_private_filter.h>

#include "processor/FrameProcessor.h"

namespace {

void driveByHost(FilterConfig& config) {
  config.create_filter = vy_create_filter;
  config.create_private_filter = vy_create_private_filter;
  config.get_name = vy_filter_get_name;
  config.delete_filter = vy_delete_filter;
  config.get_config_schema_list = vy_filter_get_config_schema_list;
  config.delete_config_schema_list = vy_delete_filter_config_schema_list;
  config.update_config = vy_filter_update_config;
  config.get_config_value = vy_filter_get_config_value;
  config.set_config_value = vy_filter_set_config_value;
  config.reset = vy_filter_reset;
  config.enable = vy_filter_enable;
  config.is_enabled = vy_filter_is_enabled;
  config.process = vy_filter_process;
  config.config_schema_list_get_count = vy_filter_config_schema_list_get_count;
  config.config_schema_list_get_item = vy_filter_config_schema_list_get_item;
  // The host has no function for set_hardware_d2c_params.
}

void driveByLibrary(FilterConfig& config) {
  config.create_filter = priv_create_filter;
  config.create_private_filter = priv_create_private_filter;
  config.get_name = priv_filter_get_name;
  config.delete_filter = priv_delete_filter;
  config.get_config_schema_list = priv_filter_get_config_schema_list;
  config.delete_config_schema_list = priv_filter_delete_config_schema_list;
  config.update_config = priv_filter_update_config;
  config.get_config_value = priv_filter_get_config_value;
  config.set_config_value = priv_filter_set_config_value;
  config.reset = priv_filter_reset;
  config.enable = priv_filter_enable;
  config.is_enabled = priv_filter_is_enabled;
  config.process = priv_filter_process;
  config.config_schema_list_get_count = priv_filter_config_schema_list_get_count;
  config.config_schema_list_get_item = priv_filter_config_schema_list_get_item;
  config.set_hardware_d2c_params = priv_filter_set_hardware_d2c_params;
}

}  // namespace

void BasicFrameProcessor::registerFunctionPtrs(std::vector<FilterConfig>& configs) {
  for (FilterConfig& config : configs) {
    if (config.kind == FilterConfig::kHostFilter) driveByHost(config);
    if (config.kind == FilterConfig::kPrivateFilter) driveByLibrary(config);
  }
}
