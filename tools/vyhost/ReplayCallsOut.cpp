// Replaying the calls out of the library: finding each in the recording, and answering as the host did.
#include <fmt/format.h>

#include <algorithm>

#include "Replay.h"
#include "ReplayExceptions.h"

namespace vyhost {
namespace {

using nlohmann::json;

/// The replay that the host's functions lead to.
Replay* theReplay = nullptr;

json slotOf(const std::optional<std::uint64_t>& number) {
  return number ? json(*number) : json();
}

}  // namespace

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
  Player* const player = ownPlayer_;
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

}  // namespace vyhost
