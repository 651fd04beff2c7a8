// The texts that clients get, in JSON, and what they are made of. docs/viewer.md describes them.
#pragma once

#include <tavrix_sim.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "view/StreamState.h"

namespace vycam {

struct CameraFacts {
  std::string name;
  unsigned rate = 0;
  bool isPaused = false;
};

struct StreamTimes {
  double camera = 0;  ///< processor time
  double chain = 0, library = 0;
  std::map<std::string, double> filters;
};

struct StreamError {
  std::optional<int> median, p95;
  double valid = 0, ofScene = 0;
  uint64_t pixels = 0;
};

/// What is told of a stream twice a second; times are means over that half second, in milliseconds.
struct StreamStats {
  uint32_t frame = 0;
  double rate = 0;
  uint64_t lost = 0, failed = 0;
  std::optional<std::string> lastError;
  StreamTimes times;
  std::optional<StreamError> error;
};

/// The functions of the host that a fault can be ordered for: those that chains call while they run.
const std::vector<std::string>& faultFunctions();

std::string helloText(const std::vector<CameraFacts>& cameras, const std::vector<StreamFacts>& streams,
                      const std::vector<StreamState>& states);
std::string stateText(const StreamFacts& facts, const StreamState& state);
std::string cameraText(unsigned camera, bool isPaused);
std::string statsText(unsigned stream, const StreamStats& stats, uint32_t dropped);
/// Without a refusal the request is done.
std::string answerText(uint64_t request, const std::optional<std::string>& refusal);

}  // namespace vycam
