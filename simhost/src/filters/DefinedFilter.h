#pragma once

#include "filters/Filter.h"
#include "tavrix_sim.h"

namespace tavrix {

/// A filter from the definition of a test or a tool.
class DefinedFilter final : public Filter {
 public:
  explicit DefinedFilter(const vysim_filter_definition& definition);

  const char* reportedName() const override;
  /// Ignores the arguments, as the host does not know what they mean.
  void updateConfig(size_t count, const char* const* texts) override;
  FrameRef process(const FrameLoan& input, vy_error** error) override;

 private:
  const vysim_filter_definition definition_;
};

}  // namespace tavrix
