// What a replay says of a difference.
#include <fmt/format.h>

#include <cstdio>
#include <set>

#include "Replay.h"

namespace vyhost {
namespace {

/// How many host calls are told that went before a difference.
constexpr std::size_t kToldCalls = 6;

}  // namespace

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
