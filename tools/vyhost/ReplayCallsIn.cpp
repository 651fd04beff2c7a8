// Replaying the calls into the library: making them, and comparing how they end.
#include <fmt/format.h>

#include <algorithm>
#include <tuple>
#include <utility>

#include "Replay.h"
#include "ReplayExceptions.h"

namespace vyhost {
namespace {

using nlohmann::json;

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

}  // namespace

template <typename Result, typename... Types, typename Function>
void Replay::callTyped(const Call& call, Function function, Result (* /*signature*/)(Types...), bool hasSlot) {
  Player& player = *ownPlayer_;
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
    while (step_ < steps_.size() && isGone_[steps_[step_].call]) ++step_;
    waitForTurn(lock, player);
  }
  return recording_.calls[place.call];
}

void Replay::compareOutcome(const Call& call, const json& result, const vy_error* const* slot,
                            const std::string& exception) {
  const Incoming& place = ownPlayer_->incoming.back();
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

}  // namespace vyhost
