// The priv_ functions: each checks its handle, obtains the registry for the time of the call, and forwards.
#include <vy_private_filter.h>

#include <memory>

#include "host/commonTypes.h"
#include "privfilter/FilterFactory.h"

namespace {

constexpr const char* kNullFilter = "filter is nullptr";
constexpr const char* kNullList = "config schema list is nullptr";

vy_filter_t* createFilter(const char* name, const char* function, vy_error** error) {
  try {
    const std::shared_ptr<FilterFactory> registry = FilterFactory::getInstance();
    const std::shared_ptr<IPrivFilter> filter = registry->createFilter(name);
    if (filter != nullptr) return filter->get_filter(error);
  } catch (...) {
    reportInvalidArgument(error, "Create filter failed", function);
    return nullptr;
  }
  reportInvalidArgument(error, "Failed to create filter,filter not found", function);
  return nullptr;
}

}  // namespace

vy_filter_t* priv_create_filter(const char* name, vy_error** error) {
  return createFilter(name, __func__, error);
}

vy_filter_t* priv_create_private_filter(const char* name, vy_error** error) {
  return createFilter(name, __func__, error);
}

const char* priv_filter_get_name(const vy_filter_t* filter, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return nullptr;
  return FilterFactory::getInstance()->getPrivateFilterName(filter, error);
}

void priv_delete_filter(vy_filter_t* filter, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return;
  FilterFactory::getInstance()->deletePrivateFilter(filter, error);
}

vy_filter_config_schema_list_t* priv_filter_get_config_schema_list(const vy_filter_t* filter, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return nullptr;
  return FilterFactory::getInstance()->getPrivateFilterConfigSchemaList(filter, error);
}

void priv_filter_delete_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error) {
  FilterFactory::getInstance()->deleteFilterConfigSchemaList(list, error);
}

void priv_filter_update_config(vy_filter_t* filter, uint8_t argc, const char** argv, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return;
  FilterFactory::getInstance()->updatePrivateFilterConfig(filter, argc, argv, error);
}

double priv_filter_get_config_value(const vy_filter_t* filter, const char* name, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return 0.0;
  return FilterFactory::getInstance()->getPrivateFilterConfigValue(filter, name, error);
}

void priv_filter_set_config_value(vy_filter_t* filter, const char* name, double value, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return;
  FilterFactory::getInstance()->setPrivateFilterConfigValue(filter, name, value, error);
}

void priv_filter_reset(vy_filter_t* filter, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return;
  FilterFactory::getInstance()->resetPrivateFilter(filter, error);
}

void priv_filter_enable(vy_filter_t* filter, bool enable, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return;
  FilterFactory::getInstance()->enablePrivateFilter(filter, enable, error);
}

bool priv_filter_is_enabled(const vy_filter_t* filter, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return false;
  return FilterFactory::getInstance()->isPrivateFilterEnabled(filter, error);
}

vy_frame_t* priv_filter_process(vy_filter_t* filter, const vy_frame_t* frame, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return nullptr;
  return FilterFactory::getInstance()->privateFilterProcess(filter, frame, error);
}

uint32_t priv_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* list, vy_error** error) {
  if (!checkArgument(list != nullptr, kNullList, __func__, error)) return 0;
  return FilterFactory::getInstance()->getPrivateFilterConfigSchemaListCount(list, error);
}

VYFilterConfigSchemaItem priv_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* list,
                                                                 uint32_t index, vy_error** error) {
  if (!checkArgument(list != nullptr, kNullList, __func__, error)) return {};
  return FilterFactory::getInstance()->getPrivateFilterConfigSchemaListItem(list, index, error);
}

void priv_filter_set_hardware_d2c_params(vy_filter_t* filter, VYCameraIntrinsic intrinsic, uint8_t reserved_byte,
                                         float scale, int16_t pad_left, int16_t pad_top, int16_t pad_right,
                                         int16_t pad_bottom, bool apply_scale, bool reserved_flag, vy_error** error) {
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return;
  FilterFactory::getInstance()->setHardwareD2CParams(filter, intrinsic, reserved_byte, scale, pad_left, pad_top,
                                                     pad_right, pad_bottom, apply_scale, reserved_flag, error);
}
