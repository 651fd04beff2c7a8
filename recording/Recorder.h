#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string_view>

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
  static ErrorText of(const vy_error* error) noexcept;
};

/// Keeps what the recorder does from being noticed by the calling thread: it changes no errno, and a thread that is
/// cancelled ends in the host's or the library's own calls, not in the recorder's.
class Unnoticed {
 public:
  Unnoticed() noexcept;
  Unnoticed(const Unnoticed&) = delete;
  Unnoticed& operator=(const Unnoticed&) = delete;
  ~Unnoticed();

  /// Whether the calling thread is in the recorder: a signal handler may call the library from there.
  static bool isUnderWay() noexcept;

 private:
  const int errno_;
  int cancelState_ = 0;
};

/// Writes calls to the recording of this process, from any thread. Nothing it does is seen by the program: it throws
/// nothing, and what goes wrong ends the recording with one line on standard error.
class Recorder {
 public:
  Recorder() = default;
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// The process's recorder, which starts with the first call; null once the recording has ended, and in a child
  /// process after fork().
  static Recorder* active() noexcept;

  /// A child process shares the file with its parent, and leaves it alone.
  static void leaveToParent() noexcept;
  /// Ends the recording when the library is unloaded.
  static void unload() noexcept;

  /// Writes one record of a call: `encode` appends the fields that the kind of record has. The lock is held meanwhile,
  /// so that `encode` may use the numbers, and must not call the host.
  template <typename Encode>
  void write(Function function, bool isReturn, std::uint64_t call, const Encode& encode) noexcept {
    // Before the lock, which another thread may have held when this process was forked off, or this one now.
    if (!isOn() || Unnoticed::isUnderWay()) return;
    const Unnoticed unnoticed;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!isOn()) return;
    try {
      record_.restart(kMessageHead);
      record_.raw("{\"n\":").integer(static_cast<std::int64_t>(call));
      encode(record_, numbers_);
      append(function, isReturn, call);
    } catch (...) {
      end("out of memory");
    }
  }

  /// A number for a new call.
  std::uint64_t nextCall() noexcept { return ++calls_; }

 private:
  enum class State { unused, starting, on, off };

  static constexpr std::size_t kMessageHead = kRecordHead + 2 + 4 + 8 + 8;  ///< channel, sequence and two times

  static bool isOn() noexcept { return state_.load(std::memory_order_relaxed) == State::on; }
  static void end(const char* reason) noexcept;

  bool start() noexcept;
  bool open();
  void append(Function function, bool isReturn, std::uint64_t call);
  void writeChannels(Function function);
  void put(std::string_view records);
  void writeNote();
  std::uint64_t now() const;

  static std::atomic<State> state_;

  std::mutex mutex_;
  std::atomic<std::uint64_t> calls_{0};
  McapFile file_;
  HandleNumbers numbers_;
  JsonText record_;                         ///< room for the record that is written
  std::uint64_t limit_ = 0;                 ///< bytes that the file may have
  const char* limitName_ = nullptr;         ///< what sets the limit
  std::chrono::nanoseconds epochOffset_{};  ///< from the monotonic clock to the time since 1970
  bool hasChannels_[static_cast<std::size_t>(Function::count)] = {};
};

/// The number of the calling thread, from 1.
unsigned threadNumber() noexcept;

}  // namespace recording
