// Which filters the library put into a chain, seen from outside: by the host calls it makes while it builds one.
#pragma once

#include <string>
#include <vector>

#include "Schema.h"

namespace vycam {

struct ChainLink {
  std::string name;      ///< the filter as the library calls it
  std::string hostName;  ///< the host's filter that does the work: another one for the library's own filters
  std::vector<std::string> arguments;
  bool enabled = false;

  bool isWrapper() const { return name != hostName; }
};

using Chain = std::vector<ChainLink>;

/// Records host calls from its making until its end; one at a time, as the host has one record of calls.
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
