#include "Replay.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "OutputFile.h"

namespace vyhost {
namespace {

/// What is told if the library crashes; written anew whenever a thread gets its turn.
char crashPlace[256] = "";

[[noreturn]] void tellCrash(int signal) {
  char text[400];
  const int size = std::snprintf(text, sizeof text, "the library crashed (%s)%s\n", strsignal(signal), crashPlace);
  if (size > 0) static_cast<void>(!::write(STDOUT_FILENO, text, std::min(sizeof text, static_cast<std::size_t>(size))));
  ::_exit(1);
}

}  // namespace

thread_local Replay::Player* Replay::ownPlayer_ = nullptr;

Replay::Replay(const Recording& recording, const LibraryFunctions& library, Options options)
    : recording_(recording), library_(library), options_(options), text_(recording) {
  plan();
}

// ---- The recording, as far as it is replayed ------------------------------------------------------------------------

/// Incoming calls are those of the host. Calls that the library makes of its own functions happen inside of it.
void Replay::plan() {
  const std::vector<Call>& calls = recording_.calls;
  isReplayed_.resize(calls.size());
  isGone_.resize(calls.size());
  std::vector<std::optional<std::size_t>> within(calls.size());  // the incoming call that each was made in
  for (std::size_t i = 0; i < calls.size(); ++i) {
    const auto parent = calls[i].parent;
    const bool isIncoming = !calls[i].function->isHost && (!parent || calls[*parent].function->isHost);
    if (isIncoming) {
      within[i] = i;
      ++incomingCount_;
    } else if (parent) {
      within[i] = within[*parent];
    }
    isReplayed_[i] = within[i] && (isIncoming || calls[i].function->isHost);
    if (!isIncoming && isReplayed_[i]) {
      hostCalls_[*within[i]].push_back(i);
      ++hostCallCount_;
    }
  }
  for (const Event& event : recording_.events) {
    if (!isReplayed_[event.call]) continue;
    const unsigned thread = calls[event.call].thread;
    players_.try_emplace(thread, Player{thread, 0, false, {}}).first->second.lastStep = steps_.size();
    steps_.push_back(event);
  }
}

void Replay::reportUnfinished() const {
  for (std::size_t i = 0; i < recording_.calls.size(); ++i) {
    const Call& call = recording_.calls[i];
    if (isReplayed_[i] && !call.hasReturned() && !isGone_[i]) {
      fmt::print("never returned in the recording: call {}, {} on thread {}\n", call.number, text_.call(call),
                 call.thread);
    }
  }
}

// ---- Who runs -------------------------------------------------------------------------------------------------------

/// Gives the turn away and waits until the next step is one of this thread's. A thread without further steps waits for
/// ever: the recording does not tell what becomes of it.
void Replay::waitForTurn(Lock& lock, Player& player) {
  if (running_ == &player) running_ = nullptr;
  changed_.notify_all();
  changed_.wait(lock, [&] {
    return running_ == nullptr && step_ < steps_.size() && callOf(steps_[step_]).thread == player.thread;
  });
  running_ = &player;
  ++turns_;
}

/// Takes a step. Does not return if the recording does not tell what this thread did after it.
void Replay::advance(Lock& lock, Player& player) {
  const bool isLast = step_ == player.lastStep;
  ++step_;
  while (step_ < steps_.size() && isGone_[steps_[step_].call]) ++step_;
  if (isLast && !player.incoming.empty()) waitForTurn(lock, player);
}

/// Gives up a call that the library does not make, with all that the host did in it.
void Replay::skip(std::size_t call) {
  isGone_[call] = true;
  for (const std::size_t child : recording_.calls[call].children) skip(child);
}

void Replay::play(Player& player) {
  ownPlayer_ = &player;
  Lock lock(mutex_);
  do {
    waitForTurn(lock, player);
    const Event& step = steps_[step_];
    if (step.isReturn || callOf(step).function->isHost) {
      advance(lock, player);  // the rest of a call that came to its end too early
    } else {
      perform(lock, player);
    }
  } while (step_ <= player.lastStep);
  running_ = nullptr;
  changed_.notify_all();
}

void Replay::run() {
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) std::signal(signal, tellCrash);
  Lock lock(mutex_);
  while (step_ < steps_.size()) {
    Player& next = players_.at(callOf(steps_[step_]).thread);
    if (!next.isStarted) {
      next.isStarted = true;
      std::thread([this, &next] { play(next); }).detach();
    }
    const std::uint64_t turns = turns_;
    const bool hasMoved = changed_.wait_for(lock, options_.patience, [&] {
      return step_ == steps_.size() || turns_ != turns || !players_.at(callOf(steps_[step_]).thread).isStarted;
    });
    if (hasMoved) continue;
    Player& stuck = running_ != nullptr ? *running_ : next;
    Difference difference;
    difference.what = fmt::format("for {} seconds the library has neither made the next call nor returned",
                                  options_.patience.count());
    const Call& call = callOf(steps_[step_]);
    difference.expected = steps_[step_].isReturn ? "the return of " + text_.call(call) : text_.call(call);
    difference.got = "nothing";
    if (!stuck.incoming.empty()) report(stuck.incoming.back(), difference);
    finish(1);
  }
  reportUnfinished();
  finish(differences_ == 0 ? 0 : 1);
}

void Replay::perform(Lock& lock, Player& player) {
  const std::size_t position = steps_[step_].call;
  const Call& call = recording_.calls[position];
  std::snprintf(crashPlace, sizeof crashPlace, " in call %llu, %.*s, on thread %u",
                static_cast<unsigned long long>(call.number), static_cast<int>(call.function->name.size()),
                call.function->name.data(), call.thread);
  player.incoming.push_back({position});
  advance(lock, player);
  lock.unlock();
  callLibrary(call);
  lock.lock();
}

void Replay::finish(int exitCode) const {
  if (differences_ == 0 && exitCode == 0) {
    fmt::print("the same: {} calls into the library and {} out of it, on {} {}\n", incomingCount_, hostCallCount_,
               players_.size(), players_.size() == 1 ? "thread" : "threads");
  } else if (options_.goesOn) {
    fmt::print("{} {}\n", differences_, differences_ == 1 ? "difference" : "differences");
  } else {
    fmt::print("not replayed after that; --all goes on\n");
  }
  std::_Exit(endOutput(exitCode));
}

}  // namespace vyhost
