// The registry itself: its one instance, making filters and finding them again.
#include "privfilter/FilterFactory.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "api/HostErrorSlot.h"
#include "d2c/HardwareD2CProcessor.h"
#include "privfilter/NameCopy.h"
#include "privfilter/OpenNID2DProcessor.h"

std::weak_ptr<FilterFactory> FilterFactory::instanceWeakPtr_;
std::mutex FilterFactory::instanceMutex_;

namespace {

template <typename Filter>
std::shared_ptr<IPrivFilter> make() {
  return std::make_shared<Filter>();
}

/// The filters that can be made, each under the name that a chain asks for it by.
struct KnownFilter {
  const char* name;
  std::shared_ptr<IPrivFilter> (*make)();
};
constexpr KnownFilter knownFilters_[] = {
    {"HardwareD2CProcessor", make<HardwareD2CProcessor>},  // wraps the host's "DepthResize"
    {"DisparityTransform", make<OpenNID2DProcessor>},      // wraps the host's "OpenNIDisparityTransform"
};

/// Null for an index out of range, which every negative one is.
const KnownFilter* findKnown(int index) {
  const auto position = static_cast<unsigned>(index);
  return position < std::size(knownFilters_) ? &knownFilters_[position] : nullptr;
}

}  // namespace

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
  return static_cast<std::int32_t>(std::size(knownFilters_));
}

const char* FilterFactory::getFilterName(int index) const {
  const KnownFilter* const known = findKnown(index);
  return known != nullptr ? known->name : "UnknownFilter";
}

std::shared_ptr<IPrivFilter> FilterFactory::createFilter(int index) {
  const KnownFilter* const known = findKnown(index);
  return createFilter(known != nullptr ? known->name : nullptr);
}

std::shared_ptr<IPrivFilter> FilterFactory::createFilter(const char* name) {
  if (name == nullptr) return {};
  const auto* const known = std::find_if(std::begin(knownFilters_), std::end(knownFilters_),
                                         [name](const KnownFilter& row) { return std::strcmp(row.name, name) == 0; });
  if (known == std::end(knownFilters_)) return {};

  FilterOwner filter = known->make();
  HostErrorSlot slot;
  vy_filter_t* const handle = filter->get_filter(slot.out());
  if (slot.isSet()) return {};
  privateFilters_.append({filter, handle});
  return filter;
}

std::shared_ptr<IPrivFilter> FilterFactory::getPrivateFilter(const vy_filter_t* handle, vy_error** error) const {
  const char* const reported = vy_filter_get_name(handle, error);
  if (*error != nullptr || reported == nullptr) return {};
  const NameCopy name(reported);

  // The name is asked of every filter, in order, before its handle is looked at.
  const RegisteredFilter* const found = privateFilters_.find([&name, handle](const RegisteredFilter& registered) {
    HostErrorSlot ignored;
    const char* const filterName = registered.filter->get_filter_name(ignored.out());
    return !ignored.isSet() && filterName != nullptr && name == filterName && registered.handle == handle;
  });
  return found != nullptr ? found->filter : nullptr;
}
