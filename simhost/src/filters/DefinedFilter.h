#pragma once

#include "filters/Filter.h"
#include "tavrix_sim.h"

namespace tavrix {

/// A filter made from a definition that a test or a tool gave.
class DefinedFilter final : public Filter {
 public:
  explicit DefinedFilter(const vysim_filter_definition& definition);

  const char* reportedName() const override;
  /// The host does not know what the arguments mean: all are welcome, and none is kept.
  void updateConfig(size_t count, const char* const* texts) override;
  FrameRef process(const FrameLoan& input, vy_error** error) override;

 private:
  const vysim_filter_definition definition_;
};

}  // namespace tavrix
