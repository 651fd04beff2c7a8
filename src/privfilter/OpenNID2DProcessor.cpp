#include "privfilter/OpenNID2DProcessor.h"

#include "host/commonTypes.h"

OpenNID2DProcessor::OpenNID2DProcessor() : WrappedHostFilter("OpenNIDisparityTransform") {}

const char* OpenNID2DProcessor::get_name() {
  return "DisparityTransform";
}

const char* OpenNID2DProcessor::get_filter_config_schema(vy_error** error) {
  if (!hasFilter(__func__, error)) return nullptr;
  return vy_filter_get_config_schema(filter_, error);
}

void OpenNID2DProcessor::update_filter_config(std::uint32_t argc, const char** argv, vy_error** error) {
  if (!hasFilter(__func__, error)) return;
  vy_filter_update_config(filter_, static_cast<std::uint8_t>(argc & 0xFFU), argv, error);
}

double OpenNID2DProcessor::get_config_value(const char* name, vy_error** error) {
  if (!hasFilter(__func__, error)) return 0.0;
  return vy_filter_get_config_value(filter_, name, error);
}

void OpenNID2DProcessor::set_config_value(const char* name, double value, vy_error** error) {
  if (!hasFilter(__func__, error)) return;
  vy_filter_set_config_value(filter_, name, value, error);
}

vy_frame_t* OpenNID2DProcessor::filter_process(const vy_frame_t* frame, vy_error** error) {
  if (frame == nullptr) return nullptr;
  if (!checkArgument(filter_ != nullptr, "device or depth filter is nullptr", __func__, error)) return nullptr;
  HostErrorSlot slot;
  vy_frame_t* const result = processByHost(frame, slot);
  if (slot.isSet()) *error = slot.release();
  return result;
}

void OpenNID2DProcessor::reset_filter(vy_error** error) {
  if (!hasFilter(__func__, error)) return;
  vy_filter_reset(filter_, error);
}

std::uint32_t OpenNID2DProcessor::get_config_schema_list_count(const vy_filter_config_schema_list_t* list,
                                                               vy_error** error) {
  if (list == nullptr) return 0;
  return vy_filter_config_schema_list_get_count(list, error);
}

VYFilterConfigSchemaItem OpenNID2DProcessor::get_config_schema_list_item(const vy_filter_config_schema_list_t* list,
                                                                         std::uint32_t index, vy_error** error) {
  if (list == nullptr) return {};
  return vy_filter_config_schema_list_get_item(list, index, error);
}
