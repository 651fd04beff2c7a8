#pragma once

#include <utility>

#include "host/HostErrorSlot.h"
#include "processor/FilterConfig.h"

/// A live filter of a chain with the record that drives it. Owns the filter and deletes it through the record, exactly
/// once. Whether there is a filter is the owner's knowledge, not the handle's: a host that hands out a null handle
/// without an error gets it back.
class ChainLink {
 public:
  /// Takes the record over, as a copy could run out of memory and leave the filter without an owner.
  ChainLink(vy_filter_t* filter, FilterConfig&& config) noexcept : filter_(filter), config_(std::move(config)) {}
  ChainLink(ChainLink&& other) noexcept
      : filter_(other.filter_), config_(std::move(other.config_)), owned_(std::exchange(other.owned_, false)) {}
  ChainLink& operator=(ChainLink&&) = delete;
  ~ChainLink() { destroyFilter(); }

  vy_filter_t* filter() const noexcept { return filter_; }
  const FilterConfig& config() const noexcept { return config_; }

  /// Deletes the filter; errors are absorbed.
  void destroyFilter() noexcept {
    HostErrorSlot ignored;
    try {
      destroyFilter(ignored);
    } catch (...) {  // NOLINT(bugprone-empty-catch): no memory to find a private filter; the registry keeps it anyway
    }
  }

  /// Deletes the filter; an error lands in the slot.
  void destroyFilter(HostErrorSlot& slot) {
    if (!std::exchange(owned_, false)) return;
    slot.call(config_.delete_filter, filter_);
  }

 private:
  vy_filter_t* filter_;
  FilterConfig config_;
  bool owned_ = true;
};
