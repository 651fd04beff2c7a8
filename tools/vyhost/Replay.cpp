#include "Replay.h"

#include <cxxabi.h>
#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <typeinfo>
#include <utility>

#include <unistd.h>

namespace vyhost {
namespace {

using nlohmann::json;

/// How many host calls are told that went before a difference.
constexpr std::size_t kToldCalls = 6;

/// The replay that the host's functions lead to, and the calling thread's part in it.
Replay* theReplay = nullptr;
thread_local void* ownPlayer = nullptr;

/// An exception of the host's whose type is unknown here.
struct HostException : std::exception {
  explicit HostException(std::string type) : typeName(std::move(type)) {}
  const char* what() const noexcept override { return "an exception of the recorded host"; }
  std::string typeName;
};

[[noreturn]] void throwLike(const std::string& type) {
  if (type == typeid(std::bad_alloc).name()) throw std::bad_alloc();
  throw HostException(type);
}

/// The type of the exception that is being handled, as a recording names it.
std::string currentException() {
  try {
    throw;
  } catch (const HostException& exception) {
    return exception.typeName;
  } catch (...) {
    const std::type_info* const type = abi::__cxa_current_exception_type();
    return type != nullptr ? type->name() : "unknown";
  }
}

json slotOf(const std::optional<std::uint64_t>& number) {
  return number ? json(*number) : json();
}

/// Where two texts part, if they are long.
std::string partingOf(const json& expected, const json& got) {
  constexpr std::size_t kContext = 40;
  if (!expected.is_string() || !got.is_string()) return {};
  const auto& a = expected.get_ref<const std::string&>();
  const auto& b = got.get_ref<const std::string&>();
  const auto parting = static_cast<std::size_t>(
      std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(std::min(a.size(), b.size())), b.begin()).first -
      a.begin());
  const std::size_t from = parting > kContext ? parting - kContext : 0;
  const auto piece = [&](const std::string& text) {
    return json(text.substr(from, 2 * kContext)).dump(-1, ' ', true, json::error_handler_t::replace);
  };
  return fmt::format("the texts part after {} characters: expected {}, got {}", parting, piece(a), piece(b));
}

// ---- Crashes --------------------------------------------------------------------------------------------------------

/// What is told if the library crashes; written anew whenever a thread gets its turn.
char crashPlace[256] = "";

[[noreturn]] void tellCrash(int signal) {
  char text[400];
  const int size = std::snprintf(text, sizeof text, "the library crashed (%s)%s\n", strsignal(signal), crashPlace);
  if (size > 0) static_cast<void>(!::write(STDOUT_FILENO, text, std::min(sizeof text, static_cast<std::size_t>(size))));
  ::_exit(1);
}

}  // namespace

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
  ownPlayer = &player;
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

void Replay::finish(int exitCode) const {
  if (differences_ == 0 && exitCode == 0) {
    fmt::print("the same: {} calls into the library and {} out of it, on {} {}\n", incomingCount_, hostCallCount_,
               players_.size(), players_.size() == 1 ? "thread" : "threads");
  } else if (options_.goesOn) {
    fmt::print("{} {}\n", differences_, differences_ == 1 ? "difference" : "differences");
  } else {
    fmt::print("not replayed after that; --all goes on\n");
  }
  std::fflush(stdout);
  std::_Exit(exitCode);
}

// ---- Incoming calls -------------------------------------------------------------------------------------------------

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

template <typename Result, typename... Types, typename Function>
void Replay::callTyped(const Call& call, Function function, Result (* /*signature*/)(Types...), bool hasSlot) {
  Player& player = *static_cast<Player*>(ownPlayer);
  Lock lock(mutex_);
  auto argument = call.arguments.begin();
  const auto next = [&argument]() -> const json& { return *argument++; };
  static_cast<void>(next);
  const std::tuple<Types...> arguments{values_.read<Types>(next())...};
  auto* error = call.errorBefore ? values_.read<vy_error*>(*call.errorBefore) : nullptr;
  vy_error** const slot = call.errorBefore ? &error : nullptr;
  lock.unlock();

  std::string exception;
  const auto act = [&] {
    if constexpr (std::is_invocable_v<Function, Types..., vy_error**>) {
      return std::apply([&](auto... each) { return function(each..., slot); }, arguments);
    } else {
      return std::apply(function, arguments);
    }
  };
  const auto settle = [&](const json& result) {
    const Call& ended = awaitReturn(lock, player);
    compareOutcome(ended, result, hasSlot ? slot : nullptr, exception);
    player.incoming.pop_back();
    advance(lock, player);
  };
  if constexpr (std::is_void_v<Result>) {
    try {
      act();
    } catch (...) {
      exception = currentException();
    }
    lock.lock();
    settle(json());
  } else {
    Result result = {};
    try {
      result = act();
    } catch (...) {
      exception = currentException();
    }
    lock.lock();
    identify(result, call.result);
    settle(values_.write(result));
  }
}

/// A number that has not come up yet is the object's that the library hands out in its place: one that it has made, or
/// one that the recording numbers anew as it takes it for released.
template <typename Type>
void Replay::identify(Type value, const json& recorded) {
  if constexpr (isHandleType<Type>) {
    if (value == nullptr || !recorded.is_number()) return;
    const recording::Kind kind = recording::kindOf(value);
    const auto number = recorded.get<std::uint64_t>();
    if (!handles_.knows(kind, number))
      handles_.bind(kind, number, const_cast<std::remove_const_t<std::remove_pointer_t<Type>>*>(value));
  }
}

const Call& Replay::awaitReturn(Lock& lock, Player& player) {
  Incoming& place = player.incoming.back();
  waitForTurn(lock, player);
  const std::vector<std::size_t>& expected = hostCalls_[place.call];
  for (; place.next < expected.size(); ++place.next) {
    const Call& missing = recording_.calls[expected[place.next]];
    report(place, {"the library returned where the recording has one call more",
                   text_.call(missing),
                   "the return of " + text_.call(recording_.calls[place.call]),
                   {}});
    skip(expected[place.next]);
  }
  if (isGone_[steps_[step_].call]) {
    --step_;  // on to the next step that is left
    do {
      ++step_;
    } while (step_ < steps_.size() && isGone_[steps_[step_].call]);
    waitForTurn(lock, player);
  }
  return recording_.calls[place.call];
}

void Replay::compareOutcome(const Call& call, const json& result, const vy_error* const* slot,
                            const std::string& exception) {
  const Incoming& place = static_cast<Player*>(ownPlayer)->incoming.back();
  const auto nameOf = [](const std::string& type) {
    return type.empty() ? "a return" : "an exception of type " + type;
  };
  if (exception != call.exception) {
    report(place, {"the call ended in another way", nameOf(call.exception), nameOf(exception), {}});
    return;
  }
  if (!exception.empty()) return;
  const ValueKind kind = call.function->result;
  const json expected = canonical(kind, call.result);
  // The commit differs from library to library, and is told apart from this. No text is recorded beside a new error.
  const bool isRecorded =
      call.function->name != "vy_get_commit_hash" && (kind != ValueKind::text || call.errorAfter == call.errorBefore);
  if (kind != ValueKind::none && isRecorded && expected != result) {
    Difference difference{"the result differs", text_.value(kind, expected), text_.value(kind, result), {}};
    if (const std::string parting = partingOf(expected, result); !parting.empty()) difference.details = {parting};
    report(place, difference);
  }
  if (slot == nullptr || !call.errorAfter) return;
  const json error = values_.write(const_cast<vy_error*>(*slot));
  if (error != json(*call.errorAfter)) {
    report(place, {"the error in the caller's slot differs",
                   text_.value(ValueKind::error, *call.errorAfter),
                   text_.value(ValueKind::error, error),
                   {}});
  }
}

void Replay::callLibrary(const Call& call) {
  using Caller = void (*)(Replay&, const Call&);
#define VY_CALLER(result, name, parameters, arguments, names, effect)                         \
  {#name, [](Replay& replay, const Call& each) {                                              \
     replay.callTyped(each, replay.library_.name, static_cast<result(*) parameters>(nullptr), \
                      each.function->hasErrorSlot);                                           \
   }},
  static const std::unordered_map<std::string_view, Caller> callers = {
      VY_LIBRARY_FUNCTIONS(VY_CALLER) VY_BARE_LIBRARY_FUNCTIONS(VY_CALLER) VY_PRIVATE_FILTER_FUNCTIONS(VY_CALLER)};
  callers.at(call.function->name)(*this, call);
}

// ---- Host calls -----------------------------------------------------------------------------------------------------

template <typename Result>
Result Replay::neutral() {
  if constexpr (std::is_same_v<Result, const char*>) {
    return "";
  } else if constexpr (std::is_same_v<Result, VYFilterConfigSchemaItem>) {
    VYFilterConfigSchemaItem item = {};
    item.name = "";
    item.desc = "";
    return item;
  } else if constexpr (isHandleType<Result>) {
    return static_cast<Result>(handles_.makeUnknown(recording::kindOf(Result())));
  } else {
    return Result();
  }
}

template <typename Result, typename... Types>
Result Replay::answerCall(const FunctionInfo& function, vy_error** slot, Types... arguments) {
  Lock lock(mutex_);
  auto* const player = static_cast<Player*>(ownPlayer);
  // Calls of a thread that the library made for itself are in no recording.
  if (player == nullptr || player->incoming.empty()) return neutral<Result>();
  waitForTurn(lock, *player);
  if (const Call* const next = nextOf(player->incoming.back()); next != nullptr && next->function == &function) {
    auto argument = next->arguments.begin();
    (identify(arguments, *argument++), ...);
  }
  const json slotContent = slot != nullptr ? values_.write(*slot) : json();
  const json written = values_.writeAll(arguments...);
  const Call* const call = match(lock, *player, function, written, slotContent);
  if (call == nullptr) {
    const Call* const model = findModel(player->incoming.back(), function, written);
    if constexpr (!std::is_void_v<Result>)
      return model != nullptr ? values_.read<Result>(model->result) : neutral<Result>();
    return Result();
  }
  serveUntilReturn(lock, *player, *call);
  if (!call->exception.empty()) {
    advance(lock, *player);
    throwLike(call->exception);
  }
  if (slot != nullptr && call->errorAfter) *slot = values_.read<vy_error*>(*call->errorAfter);
  if constexpr (std::is_void_v<Result>) {
    advance(lock, *player);
  } else {
    const auto result = values_.read<Result>(call->result);
    advance(lock, *player);
    return result;
  }
}

bool Replay::isSame(const Call& call, const FunctionInfo& function, const json& arguments) {
  if (call.function != &function) return false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (canonical(function.arguments[i].kind, call.arguments[i]) != arguments[i]) return false;
  }
  return true;
}

/// The last of the same calls that the recording has before; one that failed is no model.
const Call* Replay::findModel(const Incoming& place, const FunctionInfo& function, const json& arguments) {
  const std::vector<std::size_t>& made = hostCalls_[place.call];
  for (std::size_t i = place.next; i-- > 0;) {
    const Call& call = recording_.calls[made[i]];
    const bool isGood = call.hasReturned() && call.exception.empty() && call.errorAfter == call.errorBefore;
    if (isGood && isSame(call, function, arguments)) return &call;
  }
  return nullptr;
}

const Call* Replay::match(Lock& lock, Player& player, const FunctionInfo& function, const json& arguments,
                          const json& slot) {
  Incoming& place = player.incoming.back();
  const std::vector<std::size_t>& expected = hostCalls_[place.call];
  const Call* const next = nextOf(place);
  if (next != nullptr && isSame(*next, function, arguments)) {
    if (slot != slotOf(next->errorBefore)) {
      const auto inWords = [this](const json& number) {
        return number.is_null() ? std::string("no error slot") : text_.value(ValueKind::error, number);
      };
      report(place, {"the call is the same, the content of its error slot is not",
                     inWords(slotOf(next->errorBefore)),
                     inWords(slot),
                     {"in " + text_.call(*next)}});
    }
    ++place.next;
    advance(lock, player);
    return next;
  }

  Difference difference;
  difference.got = text_.call(function, arguments);
  if (next == nullptr) {
    difference.what = "the library made a call more than the recording has";
    difference.expected = "the return of " + text_.call(recording_.calls[place.call]);
  } else {
    difference.expected = text_.call(*next);
    difference.what = "the library made another call";
    if (next->function == &function) {
      difference.what = "an argument differs";
      for (std::size_t i = 0; i < arguments.size(); ++i) {
        const Argument& argument = function.arguments[i];
        const json right = canonical(argument.kind, next->arguments[i]);
        if (right == arguments[i]) continue;
        difference.details.push_back(fmt::format("{}: expected {}, got {}", argument.name,
                                                 text_.value(argument.kind, right),
                                                 text_.value(argument.kind, arguments[i])));
      }
    }
  }
  report(place, difference);

  const auto from = expected.begin() + static_cast<std::ptrdiff_t>(place.next);
  const auto found = std::find_if(
      from, expected.end(), [&](std::size_t each) { return isSame(recording_.calls[each], function, arguments); });
  if (found == expected.end()) return nullptr;
  std::for_each(from, found, [this](std::size_t each) { skip(each); });
  place.next = static_cast<std::size_t>(found - expected.begin()) + 1;
  while (isGone_[steps_[step_].call]) ++step_;
  waitForTurn(lock, player);
  advance(lock, player);
  return &recording_.calls[*found];
}

const Call* Replay::nextOf(const Incoming& place) {
  const std::vector<std::size_t>& expected = hostCalls_[place.call];
  return place.next < expected.size() ? &recording_.calls[expected[place.next]] : nullptr;
}

/// Waits for the recorded return of a host call. What the host called in the library meanwhile is called now.
void Replay::serveUntilReturn(Lock& lock, Player& player, const Call& call) {
  for (;;) {
    waitForTurn(lock, player);
    const Event& step = steps_[step_];
    if (&callOf(step) == &call || callOf(step).function->isHost || step.isReturn) return;
    perform(lock, player);
  }
}

void Replay::answer(HostFunctions& host) {
  theReplay = this;
#define VY_ANSWER(result, name, parameters, arguments, names, effect)        \
  host.name = [](VY_UNPACK parameters, vy_error** slot) -> result {          \
    static const FunctionInfo& called = *findFunction(#name);                \
    return theReplay->answerCall<result>(called, slot, VY_UNPACK arguments); \
  };
#define VY_BARE_ANSWER(result, name, parameters, arguments, names, effect)      \
  host.name = [] parameters -> result {                                         \
    static const FunctionInfo& called = *findFunction(#name);                   \
    return theReplay->answerCall<result>(called, nullptr, VY_UNPACK arguments); \
  };
  VY_HOST_FUNCTIONS(VY_ANSWER)
  VY_BARE_HOST_FUNCTIONS(VY_BARE_ANSWER)
}

// ---- Differences ----------------------------------------------------------------------------------------------------

void Replay::report(const Incoming& place, const Difference& difference) {
  ++differences_;
  const Call& call = recording_.calls[place.call];
  const std::uint64_t start = recording_.calls.front().beginTime;
  const auto seconds = static_cast<double>(call.beginTime - start) / 1e9;
  fmt::print("difference {}: {}\n", differences_, difference.what);
  fmt::print("  in call {} on thread {}, {:.3f} s after the first: {}\n", call.number, call.thread, seconds,
             text_.call(call));
  const std::vector<std::size_t>& made = hostCalls_[place.call];
  const std::size_t first = place.next > kToldCalls ? place.next - kToldCalls : 0;
  for (std::size_t i = first; i < place.next; ++i) {
    const Call& before = recording_.calls[made[i]];
    if (isGone_[made[i]]) continue;
    fmt::print("  {} call {}, {}{}\n", i == first ? "before it:" : "          ", before.number, text_.call(before),
               text_.outcome(before));
  }
  fmt::print("  expected:  {}\n  got:       {}\n", difference.expected, difference.got);
  for (const std::string& detail : difference.details) fmt::print("  {}\n", detail);
  if (const std::string overlap = overlapOf(place.call); !overlap.empty()) fmt::print("  {}\n", overlap);
  std::fflush(stdout);
  if (!options_.goesOn) finish(1);
}

/// Which other threads were in the library during a call. The recording does not tell in which order they came to what
/// they share.
std::string Replay::overlapOf(std::size_t call) const {
  std::set<unsigned> open;
  std::set<unsigned> others;
  bool isInside = false;
  for (const Event& step : steps_) {
    const unsigned thread = callOf(step).thread;
    if (step.call == call) {
      if (step.isReturn) break;
      isInside = true;
      others = open;
    } else if (thread != recording_.calls[call].thread) {
      if (isInside) others.insert(thread);
      if (!callOf(step).function->isHost) step.isReturn ? open.erase(thread) : open.insert(thread).second;
    }
  }
  if (others.empty()) return {};
  return fmt::format("calls of {} {} overlapped with this one, and the order of what they share is not recorded",
                     others.size() == 1 ? "thread" : "threads", fmt::join(others, ", "));
}

}  // namespace vyhost
