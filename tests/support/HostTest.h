#pragma once

#include <gtest/gtest.h>
#include <vy_private_filter.h>
#include <tavrix_sim.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "support/HardwareD2CModel.h"
#include "support/SchemaText.h"

using vysim::call;
using vysim::Camera;
using vysim::Device;
using vysim::Error;
using vysim::ErrorSlot;
using vysim::Filter;
using vysim::Frame;
using vysim::SchemaList;
using vysim::StreamProfile;

using Context = vysim::Owner<vy_destroy_frame_processor_context>;
using Processor = vysim::Owner<vy_destroy_frame_processor>;

// ---- Errors -------------------------------------------------------------------------------------

namespace vysim {
/// Arguments do not count: they hold running numbers.
bool operator==(const Error& a, const Error& b);
std::ostream& operator<<(std::ostream& out, const Error& error);
}  // namespace vysim

const Error kNoError;
/// An error of the library's own.
Error ownError(const char* message, const char* function, int exceptionType = 4);
/// What the simulated host stores when failCall() strikes.
Error injectedError(const char* function);

/// Makes the test fail when the host refuses to take an owner's object back.
void expectNoRefusals();

// ---- The library as its host uses it ------------------------------------------------------------

constexpr int kMaker = 0x3E71;
// One product id each of some families.
constexpr int kHalden = 0x41A1;
constexpr int kVashti = 0x41F7;
constexpr int kSpecialOpenNI = 0x4166;

constexpr int kColor = 2;
constexpr int kDepth = 3;

/// A device and its context.
struct OpenDevice {
  Device device;
  Context context;
};
OpenDevice openDevice(int pid, int vid = kMaker);

Processor makeProcessor(const Context& context, int sensor);
std::string schemaOf(const Processor& processor);
/// Sends a configuration command.
Error updateConfig(const Processor& processor, std::vector<const char*> values);
void setHardwareD2C(const Processor& processor, const D2CParameters& parameters);

struct Outcome {
  Frame frame;
  Error error;
};
Outcome process(const Processor& processor, const Frame& input);

/// The types of product-id lists.
constexpr int kListTypes[] = {0, 3, 6};
void setDeviceList(int type, const std::vector<std::uint8_t>& bytes);
void emptyDeviceLists();
/// Hands the host's own lists to the library, so that it knows every family.
void setAllDeviceLists();
/// Vendor and product id.
using Ids = std::pair<int, int>;
/// A list as the host hands it over; ids are cut to 16 bits.
std::vector<std::uint8_t> deviceList(const std::vector<Ids>& devices);

// ---- The simulated host -------------------------------------------------------------------------

Frame makeFrame(int format = VY_FORMAT_Y16, int pixelType = VY_PIXEL_DISPARITY, std::uint32_t width = 4,
                std::uint32_t height = 2);

void defineFilter(const vysim_filter_definition& definition);
/// Adds a filter to the host that passes every frame on.
void definePassing(const char* name, const char* reportedName = nullptr, bool isPrivate = false);

/// A filter that makes a new frame of a format, with a stamp in its first byte, and counts its runs.
struct Stamper {
  std::uint8_t stamp = 0;
  VYFormat format = VY_FORMAT_Y16;
  int runs = 0;
};
void defineStamper(const char* name, Stamper& stamper, const char* reportedName = nullptr, bool isPrivate = false);
/// The first byte of a frame; 0 for no frame.
int stampOf(const Frame& frame);

/// The host calls that some work makes, one a line.
template <typename Work>
std::string recordCalls(Work work) {
  vysim_record_start();
  work();
  vysim_record_stop();
  std::string calls;
  for (std::size_t i = 0; i < vysim_record_count(); ++i) calls += std::string(vysim_record_at(i)) + "\n";
  return calls;
}
/// Those of the recorded calls that are of one function.
std::vector<std::string> callsOf(const std::string& function, const std::string& calls);

/// How often each host function has refused a call because of the handle, pointer or index that it was handed.
using Refusals = std::map<std::string, std::uint64_t>;
/// Those since the last vysim_reset().
Refusals refusals();

/// An order to let the nth call of a host function from now go wrong.
struct Fault {
  const char* function;
  std::uint64_t nth = 1;
  vysim_fault kind = VYSIM_FAULT_ERROR;
};
constexpr vysim_fault kNull = VYSIM_FAULT_NULL;
constexpr vysim_fault kWithResult = VYSIM_FAULT_ERROR_WITH_RESULT;

/// Compares the host's living objects with those at its construction.
class Balance {
 public:
  Balance();

  /// How many more objects of a kind are alive now; negative if fewer.
  long grown(vysim_kind kind) const;
  /// Counts objects as if they had lived before.
  void accept(vysim_kind kind, long count) { before_[kind] += count; }
  /// Demands that nothing is left over.
  void expectLevel() const;

 private:
  std::array<long, VYSIM_KIND_COUNT> before_ = {};
};

/// The base of all tests. Starts with a host without definitions, orders or lists, and fails the test unless all
/// objects of the host that it made are gone at its end: a leak or a double release fails the test that caused it. So
/// does a call that hands the host a null or dead object or reads past the end of a list, unless it was expected.
class HostTest : public testing::Test {
 protected:
  HostTest();
  ~HostTest() override;

  /// Orders host calls to fail. An order that is never carried out fails the test.
  void failCall(const char* function, std::uint64_t nth = 1, vysim_fault kind = VYSIM_FAULT_ERROR);
  void failCalls(const std::vector<Fault>& faults);
  /// Expects the host to refuse calls of a function because of what they hand over.
  void expectRefused(const char* function, std::uint64_t count = 1) { refused_[function] += count; }
  /// How many objects the test has made that are still alive.
  long alive(vysim_kind kind) const { return balance_.grown(kind); }
  /// Accepts objects that the library leaves behind on purpose.
  void expectLeftBehind(vysim_kind kind, long count) { balance_.accept(kind, count); }

 private:
  Balance balance_;
  std::uint64_t ordered_ = 0;
  Refusals refused_;
};
