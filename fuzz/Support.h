#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/Scenario.h"

// What the fuzz targets share. An EXPECT that fails ends the program, so that the fuzzer keeps the input.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Demands that since the program began the host was never handed a null or dead object, or an index past the end.
void expectNothingRefused();

/// All sensors of all families, each with a few tiny frames; they live as long as the program.
const std::vector<SensorCase>& allSensors();
