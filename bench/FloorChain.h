#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "Floor.h"
#include "processor/FilterConfig.h"

/// A floor's list of the handles of the library's filters, with room for all that a case makes.
class FloorRegistry {
 public:
  explicit FloorRegistry(std::size_t capacity = 16) : handles_(capacity) { registry_.handles = handles_.data(); }
  FloorRegistry(const FloorRegistry&) = delete;
  FloorRegistry& operator=(const FloorRegistry&) = delete;

  floor_registry* get() { return &registry_; }
  void clear() { registry_.count = 0; }

 private:
  std::vector<vy_filter_t*> handles_;
  floor_registry registry_{};
};

/// A floor's chain, made from the library's records.
class FloorChain {
 public:
  /// `format` is that of the frames that go into the chain.
  FloorChain(std::vector<FilterConfig> records, FloorRegistry& registry, VYFormat format, VYPixelType pixelType);
  FloorChain(const FloorChain&) = delete;
  FloorChain& operator=(const FloorChain&) = delete;

  floor_chain* get() { return &chain_; }
  const std::vector<FilterConfig>& records() const { return records_; }

 private:
  std::vector<FilterConfig> records_;
  std::vector<floor_link> links_;
  floor_chain chain_{};
};
