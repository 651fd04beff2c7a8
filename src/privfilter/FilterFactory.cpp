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

const FilterFactory::RegisteredFilter* FilterFactory::findRegistered(const vy_filter_t* handle,
                                                                     vy_error** error) const {
  const char* const reported = vy_filter_get_name(handle, error);
  if (*error != nullptr || reported == nullptr) return nullptr;

  // The host's text need not outlive the next host call, so the name is copied; only one that is longer than any of the
  // host's own takes memory.
  const std::size_t size = std::strlen(reported) + 1;
  alignas(64) char shortName[256];  // comparing a text that crosses a cache line costs more
  const std::unique_ptr<char[]> longName(size > sizeof shortName ? new char[size] : nullptr);
  char* const name = longName != nullptr ? longName.get() : shortName;
  std::memcpy(name, reported, size);

  // Every filter is asked its name, in order, whatever its handle. That name is the one that the host reports for the
  // filter's handle, so the host is asked at once.
  HostErrorSlot ignored;
  return privateFilters_.find([name, handle, &ignored](const RegisteredFilter& registered) {
    const char* const filterName = vy_filter_get_name(registered.handle, ignored.out());
    if (ignored.isSet()) {
      ignored.clear();
      return false;
    }
    // The cheaper comparison first; both must hold.
    return registered.handle == handle && filterName != nullptr && std::strcmp(name, filterName) == 0;
  });
}

std::shared_ptr<IPrivFilter> FilterFactory::getPrivateFilter(const vy_filter_t* handle, vy_error** error) const {
  const RegisteredFilter* const found = findRegistered(handle, error);
  return found != nullptr ? found->filter : nullptr;
}
