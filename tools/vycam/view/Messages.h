// The texts that server and page exchange, in JSON. docs/viewer.md describes them.
#pragma once

#include <tavrix_sim.h>

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Chain.h"
#include "HardwareD2C.h"
#include "Schema.h"
#include "view/FrameMessage.h"

namespace vycam {

// ---- What clients send ----------------------------------------------------------------------------------------------

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

// ---- What clients get -----------------------------------------------------------------------------------------------

/// The depth-to-colour alignment of a stream.
struct Alignment {
  bool isOn = false;
  HardwareD2C parameters;
};

/// The setting that switches the alignment.
constexpr const char* kAlignmentSwitch = "HardwareD2CProcessor#255";

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

/// What is set on a stream.
struct StreamState {
  std::vector<std::string> values;  ///< in the order of the schema
  Alignment alignment;
};

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
