// The texts that clients send, in JSON. docs/viewer.md describes them.
#pragma once

#include <tavrix_sim.h>

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "view/FrameMessage.h"

namespace vycam {

/// How the host's faults are called in messages.
constexpr std::pair<const char*, vysim_fault> kFaultKinds[] = {
    {"error", VYSIM_FAULT_ERROR}, {"null", VYSIM_FAULT_NULL}, {"error with result", VYSIM_FAULT_ERROR_WITH_RESULT}};

/// Replaces what the client watches: roles by stream.
struct WatchWish {
  std::map<unsigned, Roles> roles;
};

/// Values for some settings of a stream, each "FILTER#ITEM=VALUE".
struct SetWish {
  unsigned stream = 0;
  std::vector<std::string> settings;
};

/// All settings of a stream back to their start.
struct ResetWish {
  unsigned stream = 0;
};

/// Depth-to-colour alignment on or off.
struct AlignWish {
  unsigned stream = 0;
  bool isOn = false;
  std::string parameters;  ///< as parseHardwareD2C() reads them
};

struct PauseWish {
  unsigned camera = 0;
  bool isOn = false;
};

/// One frame of each stream of a paused camera.
struct StepWish {
  unsigned camera = 0;
};

/// A host call of a chain that is to go wrong.
struct FailWish {
  std::string function;
  uint64_t nth = 1;
  vysim_fault fault = VYSIM_FAULT_ERROR;
};

struct ClientMessage {
  std::optional<uint64_t> request;  ///< number that the answer carries; those that are answered have one
  std::variant<WatchWish, SetWish, ResetWish, AlignWish, PauseWish, StepWish, FailWish> wish;
};

/// Says what is wrong with a message.
class BadMessage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

constexpr size_t kLargestClientMessage = 16384;

/// Throws BadMessage for a text that is none of these messages.
ClientMessage parseClientMessage(std::string_view text);

}  // namespace vycam
