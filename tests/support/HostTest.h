#pragma once

#include <gtest/gtest.h>
#include <tavrix_sim.h>
#include <vy_private_filter.h>

#include <array>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

// ---- Errors -------------------------------------------------------------------------------------

/// What an error object says; prints and compares by value.
struct ErrorText {
  int status = 0;
  std::string message;
  std::string function;
  int exceptionType = 0;

  friend bool operator==(const ErrorText& a, const ErrorText& b) {
    return a.status == b.status && a.message == b.message && a.function == b.function &&
           a.exceptionType == b.exceptionType;
  }
  friend std::ostream& operator<<(std::ostream& out, const ErrorText& error);
};

/// What take() says of an empty slot.
const ErrorText kNoError;

/// An error of the library's own.
ErrorText ownError(const char* message, const char* function, int exceptionType = 4);
/// What the simulated host stores when failCall() strikes.
ErrorText injectedError(const char* function);

/// An error slot that can be passed as it is, and deletes what is left in it.
class ErrorSlot {
 public:
  ErrorSlot() = default;
  ErrorSlot(const ErrorSlot&) = delete;
  ErrorSlot& operator=(const ErrorSlot&) = delete;
  ~ErrorSlot() { take(); }

  operator vy_error**() { return &error_; }
  bool isSet() const { return error_ != nullptr; }
  /// Empties the slot and tells what was in it.
  ErrorText take();

 protected:
  vy_error* error_ = nullptr;
};

/// A slot for calls that have to succeed: `f(frame, NoFailure())`.
class NoFailure : public ErrorSlot {
 public:
  ~NoFailure() { EXPECT_EQ(take(), kNoError); }
};

// ---- Owners -------------------------------------------------------------------------------------

template <auto destroy>
struct Destroy {
  template <typename Object>
  void operator()(Object* object) const {
    destroy(object, NoFailure());
  }
};
using Device = std::unique_ptr<vy_device_t, Destroy<vysim_delete_device>>;
using Context = std::unique_ptr<vy_frame_processor_context_t, Destroy<vy_destroy_frame_processor_context>>;
using Processor = std::unique_ptr<vy_frame_processor_t, Destroy<vy_destroy_frame_processor>>;
using Frame = std::unique_ptr<vy_frame_t, Destroy<vy_delete_frame>>;
using Camera = std::unique_ptr<vysim_camera, Destroy<vysim_close_camera>>;

// ---- The library as its host uses it ------------------------------------------------------------

constexpr int kMaker = 0x3E71;
// One product of some families.
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
ErrorText updateConfig(const Processor& processor, std::vector<const char*> values);

struct Outcome {
  Frame frame;
  ErrorText error;
};
Outcome process(const Processor& processor, const Frame& input);

void setDeviceList(int type, const std::vector<std::uint8_t>& bytes);

// ---- The simulated host -------------------------------------------------------------------------

Frame makeFrame(int format = VY_FORMAT_Y16, int pixelType = VY_PIXEL_DISPARITY, std::uint32_t width = 4,
                std::uint32_t height = 2);

/// Adds a filter to the host that passes every frame on. `definition` may say more; only its name is needed.
void defineFilter(const vysim_filter_definition& definition);
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

std::vector<std::string> splitLines(const std::string& text);

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
/// Of recorded calls, those of some function.
std::vector<std::string> callsOf(const std::string& function, const std::string& calls);

/// An order to let the nth call of a host function from now go wrong.
struct Fault {
  const char* function;
  std::uint64_t nth = 1;
  vysim_fault kind = VYSIM_FAULT_ERROR;
};
constexpr vysim_fault kNull = VYSIM_FAULT_NULL;
constexpr vysim_fault kWithResult = VYSIM_FAULT_ERROR_WITH_RESULT;

/// What is allocated while one of these lives does not count as a leak for the leak checker of a sanitized build.
class LeakTolerance {
 public:
  LeakTolerance();
  LeakTolerance(const LeakTolerance&) = delete;
  LeakTolerance& operator=(const LeakTolerance&) = delete;
  ~LeakTolerance();
};

/// The base of all tests: a host without definitions, orders or lists, and the demand that every object of the host
/// that came to life in the test is gone at its end. So a leak or a double release anywhere fails the test that caused
/// it.
class HostTest : public testing::Test {
 protected:
  HostTest();
  ~HostTest() override;

  /// Gives orders to fail. One that never strikes fails the test.
  void failCall(const char* function, std::uint64_t nth = 1, vysim_fault kind = VYSIM_FAULT_ERROR);
  void failCalls(const std::vector<Fault>& faults);
  /// Objects that came to life in the test and are still alive.
  std::size_t alive(vysim_kind kind) const { return vysim_live_count(kind) - aliveBefore_[kind]; }
  /// Objects that the library leaves behind on purpose, in the scope of a LeakTolerance.
  void expectLeftBehind(vysim_kind kind, std::size_t count) { aliveBefore_[kind] += count; }

 private:
  std::array<std::size_t, VYSIM_KIND_COUNT> aliveBefore_ = {};
  std::uint64_t ordered_ = 0;
};
