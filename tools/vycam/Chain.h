// The filters of a chain, seen from outside: through the host calls that the library makes while it builds the chain.
#pragma once

#include <string>
#include <vector>

#include "Schema.h"

namespace vycam {

struct ChainLink {
  std::string name;      ///< the library's name of the filter
  std::string hostName;  ///< the host filter that does the work; the library's own filters wrap one of another name
  std::vector<std::string> arguments;
  bool enabled = false;

  bool isWrapper() const { return name != hostName; }
};

using Chain = std::vector<ChainLink>;

/// Records host calls while it lives. Only one may live at a time, as the host has one record of calls.
class CallRecording {
 public:
  CallRecording();
  CallRecording(const CallRecording&) = delete;
  CallRecording& operator=(const CallRecording&) = delete;
  ~CallRecording();

  static std::vector<std::string> calls();
};

/// The chain that these host calls built; `schema` is that of the processor.
Chain chainFromCalls(const std::vector<std::string>& calls, const Schema& schema);

/// "NoiseRemovalFilter(200, 256, 1280, 800)", "HardwareD2CProcessor (wraps DepthResize)".
std::string describe(const ChainLink& link);

}  // namespace vycam
