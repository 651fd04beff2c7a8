#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/Scenario.h"

// What the fuzz targets share. An EXPECT that fails ends the program, so that the fuzzer keeps the input.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// All sensors of all families, each with a few tiny frames; they live as long as the program.
const std::vector<SensorCase>& allSensors();

/// The host's living objects, then and now.
class Balance {
 public:
  Balance();

  /// Objects of a kind that came to life since and are still alive; negative where more died.
  long grown(vysim_kind kind) const;
  /// Demands that nothing is left over.
  void expectLevel() const;

 private:
  std::size_t before_[VYSIM_KIND_COUNT];
};
