#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <utility>

#include "recording/Functions.h"
#include "recording/HandleNumbers.h"
#include "recording/JsonText.h"
#include "recording/McapFile.h"

namespace recording {

/// The functions of the table, in its order.
enum class Function : std::uint16_t {
#define VY_ENUMERATOR(result, name, parameters, arguments, names, effect) name,
  VY_HOST_FUNCTIONS(VY_ENUMERATOR) VY_BARE_HOST_FUNCTIONS(VY_ENUMERATOR) VY_LIBRARY_FUNCTIONS(VY_ENUMERATOR)
      VY_BARE_LIBRARY_FUNCTIONS(VY_ENUMERATOR) VY_PRIVATE_FILTER_FUNCTIONS(VY_ENUMERATOR)
#undef VY_ENUMERATOR
          count
};

/// What a host's error object says.
struct ErrorText {
  int status = 0;
  int exceptionType = 0;
  const char* message = nullptr;
  const char* function = nullptr;
  const char* arguments = nullptr;

  /// Asks the host, where it has the functions for that.
  static ErrorText of(const vy_error* error);
};

/// Writes calls to the recording of this process, from any thread. Nothing it does is seen by the program: it throws
/// nothing, and what goes wrong ends the recording with one line on standard error.
class Recorder {
 public:
  /// The process's recorder; null once the recording has ended, and in a child process after fork().
  static Recorder* active();

  /// Writes one record of a call: `encode` appends the fields that the kind of record has. The lock is held meanwhile,
  /// so that `encode` may use the numbers, and must not call the host.
  template <typename Encode>
  void write(Function function, bool isReturn, std::uint64_t call, const Encode& encode) noexcept {
    try {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!isOn_.load(std::memory_order_relaxed)) return;
      JsonText payload;
      payload.raw("{\"n\":").integer(static_cast<std::int64_t>(call));
      encode(payload, numbers_);
      append(function, isReturn, call, payload);
    } catch (...) {
      end("out of memory");
    }
  }

  /// A number for a new call.
  std::uint64_t nextCall() noexcept { return ++calls_; }

 private:
  Recorder() noexcept;

  void start();
  void append(Function function, bool isReturn, std::uint64_t call, JsonText& payload);
  void writeChannels(Function function);
  void writeMessage(std::uint16_t channel, std::uint64_t call, const std::string& payload);
  void end(const char* reason) noexcept;
  std::uint64_t now() const;

  std::mutex mutex_;
  std::atomic<bool> isOn_{false};
  std::atomic<std::uint64_t> calls_{0};
  McapFile file_;
  HandleNumbers numbers_;
  std::uint64_t limit_ = 0;        ///< bytes; 0 = none
  std::uint64_t epochOffset_ = 0;  ///< nanoseconds from the monotonic clock to the time since 1970
  bool hasChannels_[static_cast<std::size_t>(Function::count)] = {};
};

/// The number of the calling thread, from 1.
unsigned threadNumber() noexcept;

}  // namespace recording
