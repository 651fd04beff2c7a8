// The registry itself: its one instance, making filters and finding them again.
#include "privfilter/FilterFactory.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "d2c/HardwareD2CProcessor.h"
#include "host/HostErrorSlot.h"
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
  return getInstanceInLine();
}

/// Called with the lock held. Out of line, as it is rarely run.
VY_RARELY_RUN void FilterFactory::makeInstance(std::shared_ptr<FilterFactory>& instance) {
  instance = std::make_shared<FilterFactory>();
  instanceWeakPtr_ = instance;
}

/// Every filter is asked its name, in order, whatever its handle; as that is the name the host reports for its handle,
/// the host is asked at once. The two handles are then the cheaper thing to compare; both must agree.
inline const FilterFactory::RegisteredFilter* FilterFactory::findNamed(const vy_filter_t* handle,
                                                                       const char* name) const {
  HostErrorSlot ignored;
  return privateFilters_.find([name, &ignored, handle](const RegisteredFilter& registered) {
    const char* const filterName = vy_filter_get_name(registered.handle, ignored.out());
    if (ignored.isSet()) {
      ignored.clear();
      return false;
    }
    return registered.handle == handle && filterName != nullptr && std::strcmp(name, filterName) == 0;
  });
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

  std::shared_ptr<IPrivFilter> filter = known->make();
  HostErrorSlot slot;
  vy_filter_t* const handle = filter->get_filter(slot.out());
  if (slot.isSet()) return {};
  privateFilters_.append({filter, handle});
  return filter;
}

// The host's text need not outlive the next host call, and the walk is one call after the other: the name is copied.
// Only one too long for any filter of the host takes memory from the heap.

const FilterFactory::RegisteredFilter* FilterFactory::findRegistered(const vy_filter_t* handle,
                                                                     vy_error** error) const {
  const char* const reported = vy_filter_get_name(handle, error);
  if (*error != nullptr || reported == nullptr) return nullptr;
  alignas(256) char copy[256];  // comparing is slow at the end of a page
  const std::size_t size = std::strlen(reported) + 1;
  if (size > sizeof copy) return findLongNamed(handle, reported);
  std::memcpy(copy, reported, size);
  return findNamed(handle, copy);
}

VY_RARELY_RUN const FilterFactory::RegisteredFilter* FilterFactory::findLongNamed(const vy_filter_t* handle,
                                                                                  const std::string& name) const {
  return findNamed(handle, name.c_str());
}

std::shared_ptr<IPrivFilter> FilterFactory::getPrivateFilter(const vy_filter_t* handle, vy_error** error) const {
  const RegisteredFilter* const found = findRegistered(handle, error);
  return found != nullptr ? found->filter : nullptr;
}
