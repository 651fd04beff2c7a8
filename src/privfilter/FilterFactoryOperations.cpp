// The registry's operations on a handle or a schema list: each finds the filter and lets it do the work.
#include <algorithm>

#include "api/HostErrorSlot.h"
#include "api/commonTypes.h"
#include "d2c/HardwareD2CProcessor.h"
#include "privfilter/FilterFactory.h"

const char* FilterFactory::getPrivateFilterName(const vy_filter_t* handle, vy_error** error) const {
  HostErrorWatch watch(error);
  const FilterOwner filter = getPrivateFilter(handle, error);
  if (filter != nullptr) return filter->get_name();
  watch.settle();
  create_error(error, kErrorStatus, "failed to get filter name", __func__, kExceptionInvalidArgument);
  watch.settle();
  return nullptr;
}

void FilterFactory::updatePrivateFilterConfig(const vy_filter_t* handle, std::uint8_t argc, const char** argv,
                                              vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  if (filter != nullptr) filter->update_filter_config(argc, argv, error);
}

double FilterFactory::getPrivateFilterConfigValue(const vy_filter_t* handle, const char* name, vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  return filter != nullptr ? filter->get_config_value(name, error) : 0.0;
}

void FilterFactory::setPrivateFilterConfigValue(const vy_filter_t* handle, const char* name, double value,
                                                vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  if (filter != nullptr) filter->set_config_value(name, value, error);
}

void FilterFactory::resetPrivateFilter(const vy_filter_t* handle, vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  if (filter != nullptr) filter->reset_filter(error);
}

void FilterFactory::enablePrivateFilter(const vy_filter_t* handle, bool enable, vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  if (filter != nullptr) filter->enable_filter(enable, error);
}

bool FilterFactory::isPrivateFilterEnabled(const vy_filter_t* handle, vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  return filter != nullptr && filter->is_filter_enabled(error);
}

vy_frame_t* FilterFactory::privateFilterProcess(const vy_filter_t* handle, const vy_frame_t* frame,
                                                vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  return filter != nullptr ? filter->filter_process(frame, error) : nullptr;
}

void FilterFactory::setHardwareD2CParams(const vy_filter_t* handle, VYCameraIntrinsic intrinsic,
                                         std::uint8_t reservedByte, float scale, std::int16_t padLeft,
                                         std::int16_t padTop, std::int16_t padRight, std::int16_t padBottom,
                                         bool applyScale, bool reservedFlag, vy_error** error) const {
  const FilterOwner filter = getPrivateFilter(handle, error);
  if (filter == nullptr) return;
  auto* const processor = dynamic_cast<HardwareD2CProcessor*>(filter.get());
  if (processor == nullptr) {
    create_error(error, kErrorStatus, "failed to convert hardware d2c processor", __func__, kExceptionInvalidArgument);
    return;
  }
  processor->set_hardware_d2c_params(intrinsic, reservedByte, scale, padLeft, padTop, padRight, padBottom, applyScale,
                                     reservedFlag, error);
}

vy_filter_config_schema_list_t* FilterFactory::getPrivateFilterConfigSchemaList(const vy_filter_t* handle,
                                                                                vy_error** error) {
  FilterOwner filter = getPrivateFilter(handle, error);
  if (filter == nullptr) return nullptr;
  vy_filter_config_schema_list_t* const list = filter->get_config_schema_list(handle, error);
  schemaListOwners_.emplace(list, std::move(filter));
  return list;
}

FilterFactory::FilterOwner FilterFactory::findListOwner(const vy_filter_config_schema_list_t* list) const {
  const auto entry = schemaListOwners_.find(list);
  return entry != schemaListOwners_.end() ? entry->second : nullptr;
}

std::uint32_t FilterFactory::getPrivateFilterConfigSchemaListCount(const vy_filter_config_schema_list_t* list,
                                                                   vy_error** error) const {
  const FilterOwner owner = findListOwner(list);
  return owner != nullptr ? owner->get_config_schema_list_count(list, error) : 0;
}

VYFilterConfigSchemaItem FilterFactory::getPrivateFilterConfigSchemaListItem(const vy_filter_config_schema_list_t* list,
                                                                             std::uint32_t index,
                                                                             vy_error** error) const {
  const FilterOwner owner = findListOwner(list);
  return owner != nullptr ? owner->get_config_schema_list_item(list, index, error) : VYFilterConfigSchemaItem{};
}

void FilterFactory::deleteFilterConfigSchemaList(vy_filter_config_schema_list_t* list, vy_error** error) {
  const auto entry = schemaListOwners_.find(list);
  if (entry == schemaListOwners_.end()) return;
  entry->second->delete_config_schema_list(list, error);
  schemaListOwners_.erase(entry);
}

void FilterFactory::deletePrivateFilter(const vy_filter_t* handle, vy_error** error) {
  const FilterOwner filter = getPrivateFilter(handle, error);
  if (filter == nullptr) return;
  const auto entry = std::find_if(schemaListOwners_.begin(), schemaListOwners_.end(),
                                  [&filter](const auto& list) { return list.second == filter; });
  if (entry == schemaListOwners_.end()) return;
  filter->delete_config_schema_list(entry->first, error);
  schemaListOwners_.erase(entry);
}
