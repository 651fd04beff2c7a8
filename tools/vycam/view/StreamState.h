// What a stream of the viewer is, and what is set on it.
#pragma once

#include <tavrix_sim.h>

#include <optional>
#include <string>
#include <vector>

#include "Chain.h"
#include "HardwareD2C.h"
#include "Schema.h"

namespace vycam {

/// What does not change about a stream while the viewer runs.
struct StreamFacts {
  unsigned id = 0, camera = 0;
  const vysim_family* family = nullptr;
  vysim_stream stream{};  ///< at the size that the camera delivers
  VYCameraIntrinsic intrinsic{};
  Chain chain;
  Schema schema;
  bool canAlign = false;
  std::optional<unsigned> colourStream;  ///< of the same camera
  VYExtrinsic toColour{};
};

/// The depth-to-colour alignment of a stream.
struct Alignment {
  bool isOn = false;
  HardwareD2C parameters;
};

/// What is set on a stream.
struct StreamState {
  std::vector<std::string> values;  ///< in the order of the schema
  Alignment alignment;
};

StreamState startOf(const StreamFacts& facts);

/// The state with these settings, each "FILTER#ITEM=VALUE". One that the schema lacks, or a value that is no number, is
/// a Failure.
StreamState withSettings(const StreamFacts& facts, StreamState state, const std::vector<std::string>& settings);

/// The state with the alignment on or off, and its switch with it. `parameters` as parseHardwareD2C() reads them; what
/// it cannot read is a Failure, and so is a chain that cannot align.
StreamState withAlignment(const StreamFacts& facts, StreamState state, bool isOn, const std::string& parameters);

}  // namespace vycam
