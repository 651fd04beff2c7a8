#include "References.h"

#include <algorithm>
#include <map>

#include "Words.h"

namespace vyhost {
namespace {

class Ledger {
 public:
  void add(ValueKind kind, std::uint64_t number, int references, std::uint64_t time) {
    if (number == 0) return;
    Entry& entry = entries_.emplace(std::pair(kind, number), Entry{0, time}).first->second;
    entry.references += references;
  }

  std::vector<Leftover> leftovers(const FilterNames& names, std::uint64_t begin) const {
    std::vector<Leftover> found;
    for (const auto& [handle, entry] : entries_) {
      const auto& [kind, number] = handle;
      if (entry.references == 0) continue;
      found.push_back({handleText(kind, number), kind == ValueKind::filter ? names.of(number) : std::string(),
                       entry.references, entry.first - begin});
    }
    return found;
  }

 private:
  struct Entry {
    int references;
    std::uint64_t first;
  };
  // Numbers are not used again, so that the order of calls on several threads does not matter.
  std::map<std::pair<ValueKind, std::uint64_t>, Entry> entries_;
};

}  // namespace

std::vector<Leftover> findLeftovers(const Recording& recording, const FilterNames& names, std::uint64_t begin) {
  Ledger ledger;
  for (const Call& call : recording.calls) {
    const FunctionInfo& function = *call.function;
    const bool hasNewError = call.errorAfter.value_or(0) != 0 && call.errorAfter != call.errorBefore;
    const bool isOutermost = !call.parent.has_value();
    // A call that failed took no reference and gave none.
    if (!hasNewError && (function.takesReference || function.givesReference)) {
      ledger.add(function.arguments[0].kind, handleOf(argumentOf(call, 0)), function.takesReference ? 1 : -1,
                 call.beginTime);
    }
    const std::uint64_t result = isHandle(function.result) ? handleOf(call.result) : 0;
    const bool isMade =
        function.isHost || function.result == ValueKind::context || function.result == ValueKind::processor;
    // What comes together with an error does not exist for the library, but for frames, which it hands on.
    if (isMade && (!hasNewError || function.result == ValueKind::frame))
      ledger.add(function.result, result, 1, call.endTime);
    if (!function.isHost && isOutermost && function.result == ValueKind::frame)
      ledger.add(function.result, result, -1, call.endTime);
    if (function.isHost && call.newError) ledger.add(ValueKind::error, call.errorAfter.value_or(0), 1, call.endTime);
    if (!function.isHost && isOutermost && hasNewError)
      ledger.add(ValueKind::error, *call.errorAfter, -1, call.endTime);
  }
  return ledger.leftovers(names, begin);
}

}  // namespace vyhost
