#ifndef SRC_DEVICE_CHAINCATALOGUE_H
#define SRC_DEVICE_CHAINCATALOGUE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "processor/FilterConfig.h"

/// A view of rows of a constant table.
template <typename Row>
class TableView {
 public:
  constexpr TableView() = default;
  template <std::size_t count>
  constexpr TableView(const Row (&rows)[count]) : first_(rows), last_(rows + count) {}  // NOLINT: a table is its view
  constexpr const Row* begin() const { return first_; }
  constexpr const Row* end() const { return last_; }
  constexpr std::size_t size() const { return static_cast<std::size_t>(last_ - first_); }

 private:
  const Row* first_ = nullptr;
  const Row* last_ = nullptr;
};

struct FilterRow;

/// The chain of one sensor: the rows of the table in order, then those of its orientation tail.
struct SensorChain {
  int sensorType;
  TableView<FilterRow> filters;
  TableView<FilterRow> tail;
};

namespace deviceInfoConfig {

/// The chains of the family that a camera belongs to; no chains for an unknown camera.
TableView<SensorChain> findFamilyChains(unsigned vid, unsigned pid);

/// A chain as records whose function tables are still empty.
std::vector<FilterConfig> makeChain(const SensorChain& chain);

}  // namespace deviceInfoConfig

#endif  // SRC_DEVICE_CHAINCATALOGUE_H
