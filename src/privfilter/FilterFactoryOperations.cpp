// The registry's operations on a handle or a schema list: each finds the filter and lets it do the work.
#include "privfilter/FilterFactory.h"

#include <algorithm>
#include <utility>

#include "d2c/HardwareD2CProcessor.h"
#include "host/HostErrorSlot.h"
#include "host/commonTypes.h"

const char* FilterFactory::getPrivateFilterName(const vy_filter_t* handle, vy_error** error) const {
  const vy_error* const former = *error;
  IPrivFilter* const filter = findFilter(handle, error);
  if (filter != nullptr) return filter->get_name();
  if (*error != former) HostErrorSlot::discard(*error);  // the lookup's own error is written over
  reportInvalidArgument(error, "failed to get filter name", __func__);
  return nullptr;
}

void FilterFactory::updatePrivateFilterConfig(const vy_filter_t* handle, std::uint8_t argc, const char** argv,
                                              vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  if (filter != nullptr) filter->update_filter_config(argc, argv, error);
}

double FilterFactory::getPrivateFilterConfigValue(const vy_filter_t* handle, const char* name, vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  return filter != nullptr ? filter->get_config_value(name, error) : 0.0;
}

void FilterFactory::setPrivateFilterConfigValue(const vy_filter_t* handle, const char* name, double value,
                                                vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  if (filter != nullptr) filter->set_config_value(name, value, error);
}

void FilterFactory::resetPrivateFilter(const vy_filter_t* handle, vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  if (filter != nullptr) filter->reset_filter(error);
}

void FilterFactory::enablePrivateFilter(const vy_filter_t* handle, bool enable, vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  if (filter != nullptr) filter->enable_filter(enable, error);
}

bool FilterFactory::isPrivateFilterEnabled(const vy_filter_t* handle, vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  return filter != nullptr && filter->is_filter_enabled(error);
}

vy_frame_t* FilterFactory::privateFilterProcess(const vy_filter_t* handle, const vy_frame_t* frame,
                                                vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  return filter != nullptr ? filter->filter_process(frame, error) : nullptr;
}

void FilterFactory::setHardwareD2CParams(const vy_filter_t* handle, VYCameraIntrinsic intrinsic,
                                         std::uint8_t reservedByte, float scale, std::int16_t padLeft,
                                         std::int16_t padTop, std::int16_t padRight, std::int16_t padBottom,
                                         bool applyScale, bool reservedFlag, vy_error** error) const {
  IPrivFilter* const filter = findFilter(handle, error);
  if (filter == nullptr) return;
  auto* const processor = dynamic_cast<HardwareD2CProcessor*>(filter);
  if (processor == nullptr) {
    reportInvalidArgument(error, "failed to convert hardware d2c processor", __func__);
    return;
  }
  processor->set_hardware_d2c_params(intrinsic, reservedByte, scale, padLeft, padTop, padRight, padBottom, applyScale,
                                     reservedFlag, error);
}

vy_filter_config_schema_list_t* FilterFactory::getPrivateFilterConfigSchemaList(const vy_filter_t* handle,
                                                                                vy_error** error) {
  const RegisteredFilter* const found = findRegistered(handle, error);
  if (found == nullptr) return nullptr;
  // The entry is made before the list, so that nothing can fail once there is a list to keep track of.
  decltype(schemaListOwners_) fresh;
  auto entry = fresh.extract(fresh.emplace(nullptr, found->filter).first);
  SchemaList* const list = found->filter->get_config_schema_list(handle, error);
  entry.key() = list;
  const std::lock_guard<std::mutex> lock(schemaListMutex_);
  schemaListOwners_.insert(std::move(entry));  // an entry that is there already stays
  return list;
}

IPrivFilter* FilterFactory::findListOwner(const SchemaList* list) const {
  const std::lock_guard<std::mutex> lock(schemaListMutex_);
  const auto entry = schemaListOwners_.find(list);
  return entry != schemaListOwners_.end() ? entry->second.get() : nullptr;
}

std::uint32_t FilterFactory::getPrivateFilterConfigSchemaListCount(const SchemaList* list, vy_error** error) const {
  IPrivFilter* const owner = findListOwner(list);
  return owner != nullptr ? owner->get_config_schema_list_count(list, error) : 0;
}

VYFilterConfigSchemaItem FilterFactory::getPrivateFilterConfigSchemaListItem(const SchemaList* list,
                                                                             std::uint32_t index,
                                                                             vy_error** error) const {
  IPrivFilter* const owner = findListOwner(list);
  return owner != nullptr ? owner->get_config_schema_list_item(list, index, error) : VYFilterConfigSchemaItem{};
}

// An entry goes before its list is given back: from then on the host may hand out the same address again.

void FilterFactory::deleteFilterConfigSchemaList(SchemaList* list, vy_error** error) {
  std::unique_lock<std::mutex> lock(schemaListMutex_);
  const auto entry = schemaListOwners_.extract(list);
  lock.unlock();
  if (!entry.empty()) entry.mapped()->delete_config_schema_list(list, error);
}

void FilterFactory::deletePrivateFilter(const vy_filter_t* handle, vy_error** error) {
  const IPrivFilter* const filter = findFilter(handle, error);
  if (filter == nullptr) return;
  std::unique_lock<std::mutex> lock(schemaListMutex_);
  const auto first = std::find_if(schemaListOwners_.begin(), schemaListOwners_.end(),
                                  [filter](const auto& each) { return each.second.get() == filter; });
  if (first == schemaListOwners_.end()) return;
  const auto entry = schemaListOwners_.extract(first);
  lock.unlock();
  entry.mapped()->delete_config_schema_list(entry.key(), error);
}
