#pragma once

#include <TavrixSDK.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "privfilter/AppendOnlyList.h"
#include "privfilter/IPrivFilter.h"

/// The process-wide registry of the library's own filters: makes them by name, keeps every one alive until it dies
/// itself, finds the filter behind a handle that the host passes back, and remembers which filter gave out which schema
/// list.
///
/// It lives as long as somebody owns it: every frame processor context does, and every call for its duration.
/// Operations on a handle that resolves to no filter return the neutral value and report nothing, except where noted.
///
/// Safe from any thread: a lookup takes no lock, filters being never removed, and no lock is held while the host is
/// called. What a filter itself does on two threads at once is another matter.
class FilterFactory {
 public:
  FilterFactory() = default;
  FilterFactory(const FilterFactory&) = delete;
  FilterFactory& operator=(const FilterFactory&) = delete;

  /// The registry, made anew when nobody owns one. Safe from any thread. In line, as every frame needs it.
  static std::shared_ptr<FilterFactory> getInstance() {
    const std::lock_guard<std::mutex> lock(instanceMutex_);
    std::shared_ptr<FilterFactory> instance = instanceWeakPtr_.lock();
    if (instance == nullptr) {
      instance = std::make_shared<FilterFactory>();
      instanceWeakPtr_ = instance;
    }
    return instance;
  }

  /// How many filters can be made.
  std::int32_t getFilterCount() const;
  /// The name of a filter that can be made; "UnknownFilter" for an index out of range.
  const char* getFilterName(int index) const;

  /// Makes and registers a filter. Empty for an unknown name or index, or when its handle cannot be had. What the
  /// filter's constructor throws passes through.
  std::shared_ptr<IPrivFilter> createFilter(int index);
  std::shared_ptr<IPrivFilter> createFilter(const char* name);

  /// The filter behind a handle: the first of which the host reports the handle's name and which was registered with
  /// this very handle. Empty if there is none, and when the host cannot name the handle, whose error stays in the slot.
  std::shared_ptr<IPrivFilter> getPrivateFilter(const vy_filter_t* handle, vy_error** error) const;

  /// Reports "failed to get filter name" when there is no such filter.
  const char* getPrivateFilterName(const vy_filter_t* handle, vy_error** error) const;
  void updatePrivateFilterConfig(const vy_filter_t* handle, std::uint8_t argc, const char** argv,
                                 vy_error** error) const;
  double getPrivateFilterConfigValue(const vy_filter_t* handle, const char* name, vy_error** error) const;
  void setPrivateFilterConfigValue(const vy_filter_t* handle, const char* name, double value, vy_error** error) const;
  void resetPrivateFilter(const vy_filter_t* handle, vy_error** error) const;
  void enablePrivateFilter(const vy_filter_t* handle, bool enable, vy_error** error) const;
  bool isPrivateFilterEnabled(const vy_filter_t* handle, vy_error** error) const;
  vy_frame_t* privateFilterProcess(const vy_filter_t* handle, const vy_frame_t* frame, vy_error** error) const;
  /// Reports "failed to convert hardware d2c processor" for a filter of another class.
  void setHardwareD2CParams(const vy_filter_t* handle, VYCameraIntrinsic intrinsic, std::uint8_t reservedByte,
                            float scale, std::int16_t padLeft, std::int16_t padTop, std::int16_t padRight,
                            std::int16_t padBottom, bool applyScale, bool reservedFlag, vy_error** error) const;

  vy_filter_config_schema_list_t* getPrivateFilterConfigSchemaList(const vy_filter_t* handle, vy_error** error);
  std::uint32_t getPrivateFilterConfigSchemaListCount(const vy_filter_config_schema_list_t* list,
                                                      vy_error** error) const;
  VYFilterConfigSchemaItem getPrivateFilterConfigSchemaListItem(const vy_filter_config_schema_list_t* list,
                                                                std::uint32_t index, vy_error** error) const;
  void deleteFilterConfigSchemaList(vy_filter_config_schema_list_t* list, vy_error** error);

  /// Gives back the filter's first schema list that is still out. The filter stays registered: its handle goes on
  /// working.
  void deletePrivateFilter(const vy_filter_t* handle, vy_error** error);

 private:
  using SchemaList = vy_filter_config_schema_list_t;

  struct RegisteredFilter {
    std::shared_ptr<IPrivFilter> filter;
    vy_filter_t* handle;
  };

  /// The entry behind a handle, under the rules of getPrivateFilter(); null if there is none. Entries last as long as
  /// the registry, so that who owns the registry needs no owner of the filter.
  const RegisteredFilter* findRegistered(const vy_filter_t* handle, vy_error** error) const;
  /// Its filter, or null.
  IPrivFilter* findFilter(const vy_filter_t* handle, vy_error** error) const {
    const RegisteredFilter* const found = findRegistered(handle, error);
    return found != nullptr ? found->filter.get() : nullptr;
  }

  /// The filter that gave out a list, or null.
  IPrivFilter* findListOwner(const SchemaList* list) const;

  static std::weak_ptr<FilterFactory> instanceWeakPtr_;
  static std::mutex instanceMutex_;

  AppendOnlyList<RegisteredFilter> privateFilters_;
  std::map<SchemaList*, std::shared_ptr<IPrivFilter>, std::less<>> schemaListOwners_;
  mutable std::mutex schemaListMutex_;  ///< for schemaListOwners_
};
