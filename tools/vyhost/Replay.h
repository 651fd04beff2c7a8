#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "CallText.h"
#include "Recording.h"
#include "ReplayValues.h"
#include "replayhost/Borders.h"

namespace vyhost {

/// Plays the host's part of a recording against a library. Each recorded thread is a thread; one of them runs at a
/// time, in the recorded order of calls and returns on both borders, so that calls overlap as they did.
class Replay {
 public:
  struct Options {
    bool goesOn = false;  ///< after the first difference
    std::chrono::seconds patience{5};
  };

  Replay(const Recording& recording, const LibraryFunctions& library, Options options);

  /// Ends the process as soon as it is clear how: with 0 if all was the same, else 1. Threads that wait inside of the
  /// library cannot be ended otherwise.
  [[noreturn]] void run();

  /// Leads the functions of the replaying host here. There is one replay in a process.
  void answer(HostFunctions& host);

 private:
  /// A call of the library's that is under way.
  struct Incoming {
    std::size_t call;
    std::size_t next = 0;  ///< the next of its host calls
  };
  struct Player {
    unsigned thread;
    std::size_t lastStep = 0;
    bool isStarted = false;
    std::vector<Incoming> incoming;  ///< outermost first
  };
  using Lock = std::unique_lock<std::mutex>;

  // ---- The recording, as far as it is replayed ----
  void plan();
  bool isReplayed(std::size_t call) const { return isReplayed_[call]; }
  const Call& callOf(const Event& step) const { return recording_.calls[step.call]; }
  void reportUnfinished() const;

  // ---- Who runs ----
  void waitForTurn(Lock& lock, Player& player);
  void advance(Lock& lock, Player& player);
  void skip(std::size_t call);
  void play(Player& player);
  [[noreturn]] void finish(int exitCode) const;

  template <typename Type>
  void identify(Type value, const nlohmann::json& recorded);

  // ---- Incoming calls ----
  void perform(Lock& lock, Player& player);
  void callLibrary(const Call& call);
  template <typename Result, typename... Types, typename Function>
  void callTyped(const Call& call, Function function, Result (*signature)(Types...), bool hasSlot);
  /// Waits until the recording has this return, too.
  const Call& awaitReturn(Lock& lock, Player& player);
  void compareOutcome(const Call& call, const nlohmann::json& result, const vy_error* const* slot,
                      const std::string& exception);

  // ---- Host calls ----
  template <typename Result, typename... Types>
  Result answerCall(const FunctionInfo& function, vy_error** slot, Types... arguments);
  template <typename Result>
  Result neutral();
  /// The next host call that the recording has; null if it has none any more.
  const Call* nextOf(const Incoming& place);
  static bool isSame(const Call& call, const FunctionInfo& function, const nlohmann::json& arguments);
  /// Where an answer for a call that the recording does not have may come from; null if it is to be neutral.
  const Call* findModel(const Incoming& place, const FunctionInfo& function, const nlohmann::json& arguments);
  /// The recorded call that this one is; null if there is none.
  const Call* match(Lock& lock, Player& player, const FunctionInfo& function, const nlohmann::json& arguments,
                    const nlohmann::json& slot);
  void serveUntilReturn(Lock& lock, Player& player, const Call& call);

  // ---- Differences ----
  struct Difference {
    std::string what, expected, got;
    std::vector<std::string> details;
  };
  void report(const Incoming& place, const Difference& difference);
  std::string overlapOf(std::size_t call) const;

  static thread_local Player* ownPlayer_;  ///< the calling thread's part; null for threads of the library's own

  const Recording& recording_;
  const LibraryFunctions& library_;
  const Options options_;
  const CallText text_;
  Handles handles_;
  Values values_{handles_};

  std::vector<bool> isReplayed_;                                         ///< by call
  std::unordered_map<std::size_t, std::vector<std::size_t>> hostCalls_;  ///< by incoming call, in order
  std::vector<Event> steps_;
  std::unordered_map<unsigned, Player> players_;
  std::size_t hostCallCount_ = 0;
  std::size_t incomingCount_ = 0;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t step_ = 0;       ///< the next of the steps
  std::vector<bool> isGone_;   ///< by call: given up, as the library does not make it
  Player* running_ = nullptr;  ///< who has the turn
  std::uint64_t turns_ = 0;
  std::size_t differences_ = 0;
};

/// A number that has not come up yet is the object's that the library hands out in its place: one that it has made, or
/// one that the recording numbers anew as it takes it for released.
template <typename Type>
void Replay::identify(Type value, const nlohmann::json& recorded) {
  if constexpr (isHandleType<Type>) {
    if (value == nullptr || !recorded.is_number()) return;
    const recording::Kind kind = recording::kindOf(value);
    const auto number = recorded.get<std::uint64_t>();
    if (!handles_.knows(kind, number))
      handles_.bind(kind, number, const_cast<std::remove_const_t<std::remove_pointer_t<Type>>*>(value));
  }
}

}  // namespace vyhost
