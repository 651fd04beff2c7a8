#include "FilterNames.h"

#include "Words.h"

namespace vyhost {

FilterNames::FilterNames(const Recording& recording) {
  // A call comes after the one it is made within, whose name counts.
  for (const Call& call : recording.calls) {
    const std::uint64_t filter = makesFilter(*call.function) ? handleOf(call.result) : 0;
    if (filter != 0) names_.emplace(filter, textOf(argumentOf(call, 0)));
  }
}

std::string FilterNames::of(std::uint64_t filter) const {
  const auto found = names_.find(filter);
  return found != names_.end() ? found->second : std::string();
}

bool makesFilter(const FunctionInfo& function) {
  return function.result == ValueKind::filter;
}

std::string subjectOf(const Call& call, const FilterNames& names) {
  if (call.function->arguments.empty()) return {};
  const ValueKind kind = call.function->arguments[0].kind;
  const nlohmann::json& value = argumentOf(call, 0);
  if (kind == ValueKind::text) return textOf(value);
  if (!isHandle(kind)) return {};
  std::string text = handleText(kind, handleOf(value));
  const std::string name = kind == ValueKind::filter ? names.of(handleOf(value)) : std::string();
  return name.empty() ? text : text + " " + name;
}

}  // namespace vyhost
