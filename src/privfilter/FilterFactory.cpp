// The registry itself: its one instance, making filters and finding them again.
#include "privfilter/FilterFactory.h"

#include <algorithm>

#include "api/HostErrorSlot.h"
#include "d2c/HardwareD2CProcessor.h"
#include "privfilter/OpenNID2DProcessor.h"

std::weak_ptr<FilterFactory> FilterFactory::instanceWeakPtr_;
std::mutex FilterFactory::instanceMutex_;

FilterFactory::FilterFactory()
    : knownFilters_{{"HardwareD2CProcessor", "DepthResize"}, {"DisparityTransform", "OpenNIDisparityTransform"}} {}

std::shared_ptr<FilterFactory> FilterFactory::getInstance() {
  const std::lock_guard<std::mutex> lock(instanceMutex_);
  std::shared_ptr<FilterFactory> instance = instanceWeakPtr_.lock();
  if (instance == nullptr) {
    instance = std::make_shared<FilterFactory>();
    instanceWeakPtr_ = instance;
  }
  return instance;
}

std::int32_t FilterFactory::getFilterCount() const {
  return static_cast<std::int32_t>(knownFilters_.size());
}

const char* FilterFactory::getFilterName(int index) const {
  const auto position = static_cast<unsigned>(index);  // a negative index is far out of range, too
  return position < knownFilters_.size() ? knownFilters_[position].first.c_str() : "UnknownFilter";
}

std::shared_ptr<IPrivFilter> FilterFactory::createFilter(int index) {
  const auto position = static_cast<unsigned>(index);
  return createFilter(position < knownFilters_.size() ? knownFilters_[position].first.c_str() : nullptr);
}

std::shared_ptr<IPrivFilter> FilterFactory::createFilter(const char* name) {
  if (name == nullptr) return {};
  const auto known = std::find_if(knownFilters_.begin(), knownFilters_.end(),
                                  [name](const auto& filter) { return filter.first == name; });
  if (known == knownFilters_.end()) return {};

  FilterOwner filter;
  if (known->first == "HardwareD2CProcessor") {
    filter = std::make_shared<HardwareD2CProcessor>();
  } else {
    filter = std::make_shared<OpenNID2DProcessor>();
  }

  HostErrorSlot slot;
  vy_filter_t* const handle = filter->get_filter(slot.out());
  if (slot.isSet()) return {};
  privateFilters_.emplace_back(filter, handle);
  return filter;
}

std::shared_ptr<IPrivFilter> FilterFactory::getPrivateFilter(const vy_filter_t* handle, vy_error** error) const {
  const char* const reported = vy_filter_get_name(handle, error);
  if (*error != nullptr || reported == nullptr) return {};
  const std::string name = reported;  // the host's text may not outlive the next call

  for (const auto& [filter, registeredHandle] : privateFilters_) {
    const char* const filterName = filter->get_filter_name(error);
    if (*error != nullptr) {
      vy_delete_error(*error);
      *error = nullptr;
      continue;
    }
    if (filterName != nullptr && name == filterName && registeredHandle == handle) return filter;
  }
  return {};
}
