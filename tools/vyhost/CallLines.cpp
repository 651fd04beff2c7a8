#include "CallLines.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <algorithm>
#include <iterator>

#include "Failure.h"
#include "FilterNames.h"
#include "Words.h"

namespace vyhost {
namespace {

constexpr ValueKind kHandleKinds[] = {
    ValueKind::device,  ValueKind::deviceInfo, ValueKind::filter,  ValueKind::schemaList, ValueKind::frame,
    ValueKind::profile, ValueKind::error,      ValueKind::context, ValueKind::processor,
};

bool matches(const std::string& pattern, std::string_view name) {
  return ::fnmatch(pattern.c_str(), std::string(name).c_str(), 0) == 0;
}

void checkFunctions(const std::vector<std::string>& patterns) {
  for (const std::string& pattern : patterns) {
    const bool isKnown = std::any_of(functions().begin(), functions().end(),
                                     [&](const FunctionInfo& each) { return matches(pattern, each.name); });
    if (!isKnown) {
      throw Failure(
          fmt::format("no function is called {}; vy_filter_process or *_filter_* would be right", printable(pattern)));
    }
  }
}

class Lines {
 public:
  Lines(const Recording& recording, const CallFilter& filter)
      : recording_(recording), filter_(filter), names_(recording) {
    checkFunctions(filter.functions);
    for (const std::string& wanted : filter.handles) parseHandle(wanted);
  }

  std::string get() const {
    std::string lines;
    std::vector<unsigned> depths(recording_.calls.size());
    for (std::size_t i = 0; i < recording_.calls.size(); ++i) {
      const Call& call = recording_.calls[i];
      if (call.parent) depths[i] = depths[*call.parent] + 1;
      if (isWanted(call)) lines += line(call, depths[i]);
    }
    return lines;
  }

 private:
  struct Handle {
    ValueKind kind;
    std::uint64_t number;
  };

  void parseHandle(const std::string& wanted) {
    const std::size_t colon = wanted.find(':');
    if (colon == std::string::npos) {
      const bool isKnown = std::any_of(recording_.calls.begin(), recording_.calls.end(), [&](const Call& call) {
        return makesFilter(*call.function) && textOf(argumentOf(call, 0)) == wanted;
      });
      if (!isKnown) {
        throw Failure(fmt::format("the recording has no filter {}; the name of a filter, or filter:3, would be right",
                                  printable(wanted)));
      }
      filterNames_.push_back(wanted);
      return;
    }
    const auto kind = std::find_if(std::begin(kHandleKinds), std::end(kHandleKinds), [&](ValueKind each) {
      return handleText(each, 1) == wanted.substr(0, colon) + ":1";
    });
    const std::string digits = wanted.substr(colon + 1);
    const bool isNumber =
        !digits.empty() && digits.size() < 19 && digits.find_first_not_of("0123456789") == std::string::npos;
    if (kind == std::end(kHandleKinds) || !isNumber) {
      std::vector<std::string> kinds;
      for (const ValueKind each : kHandleKinds) kinds.push_back(handleText(each, 1));
      throw Failure(
          fmt::format("{} is no handle; {} and so on would be right", printable(wanted), fmt::join(kinds, ", ")));
    }
    handles_.push_back({*kind, std::stoull(digits)});
  }

  bool isWanted(const Call& call) const {
    const auto& [functions, handles, threads, from, to] = filter_;
    const double time = static_cast<double>(call.beginTime - recording_.calls.front().beginTime) / 1e9;
    if ((from && time < *from) || (to && time > *to)) return false;
    if (!threads.empty() && std::find(threads.begin(), threads.end(), call.thread) == threads.end()) return false;
    if (!functions.empty() && std::none_of(functions.begin(), functions.end(), [&](const std::string& pattern) {
          return matches(pattern, call.function->name);
        }))
      return false;
    return handles.empty() || concernsHandle(call);
  }

  bool concernsHandle(const Call& call) const {
    const auto concerns = [this](ValueKind kind, std::uint64_t number) {
      if (number == 0) return false;
      const std::string name = kind == ValueKind::filter ? names_.of(number) : std::string();
      return std::any_of(handles_.begin(), handles_.end(),
                         [&](const Handle& each) { return each.kind == kind && each.number == number; }) ||
             (!name.empty() && std::find(filterNames_.begin(), filterNames_.end(), name) != filterNames_.end());
    };
    const std::vector<Argument>& arguments = call.function->arguments;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      if (isHandle(arguments[i].kind) && concerns(arguments[i].kind, handleOf(argumentOf(call, i)))) return true;
    }
    // Also the filter that was not made.
    if (makesFilter(*call.function) &&
        std::find(filterNames_.begin(), filterNames_.end(), textOf(argumentOf(call, 0))) != filterNames_.end())
      return true;
    return (isHandle(call.function->result) && concerns(call.function->result, handleOf(call.result))) ||
           concerns(ValueKind::error, call.errorBefore.value_or(0)) ||
           concerns(ValueKind::error, call.errorAfter.value_or(0));
  }

  std::string valueText(ValueKind kind, const nlohmann::json& value) const {
    if (isHandle(kind)) {
      const std::string name = kind == ValueKind::filter ? names_.of(handleOf(value)) : std::string();
      return handleText(kind, handleOf(value)) + (name.empty() ? "" : " " + name);
    }
    if (value.is_null()) return "null";
    const bool isReal = kind == ValueKind::real32 || kind == ValueKind::real64;
    if (isReal) return numberText(value);
    if (kind == ValueKind::text) return "\"" + textOf(value) + "\"";
    if (!value.is_array()) return value.is_string() ? textOf(value) : value.dump();
    std::vector<std::string> parts;
    for (const nlohmann::json& each : value) {
      if (each.is_array())
        parts.push_back(valueText(ValueKind::none, each));
      else if (each.is_string() && (kind == ValueKind::texts || kind == ValueKind::schemaItem))
        parts.push_back(valueText(ValueKind::text, each));
      else
        parts.push_back(each.is_null() ? "null" : numberText(each));
    }
    return fmt::format("[{}]", fmt::join(parts, ", "));
  }

  std::string line(const Call& call, unsigned depth) const {
    const FunctionInfo& function = *call.function;
    std::vector<std::string> arguments;
    for (std::size_t i = 0; i < function.arguments.size(); ++i)
      arguments.push_back(valueText(function.arguments[i].kind, argumentOf(call, i)));
    std::string text =
        fmt::format("{} t{} {}{}({})", seconds(call.beginTime - recording_.calls.front().beginTime), call.thread,
                    std::string(depth * std::size_t{2}, ' '), function.name, fmt::join(arguments, ", "));
    if (!call.hasReturned()) {
      text += " never returned";
    } else {
      if (function.result != ValueKind::none && call.exception.empty())
        text += " = " + valueText(function.result, call.result);
      text += "  " + milliseconds(call.endTime - call.beginTime);
    }
    if (call.errorAfter.value_or(0) != 0) text += "  " + handleText(ValueKind::error, *call.errorAfter);
    if (call.newError) text += fmt::format(" \"{}\" of {}", call.newError->message, call.newError->function);
    if (!call.exception.empty()) text += "  exception " + call.exception;
    return printable(text) + "\n";
  }

  const Recording& recording_;
  const CallFilter& filter_;
  const FilterNames names_;
  std::vector<Handle> handles_;
  std::vector<std::string> filterNames_;
};

}  // namespace

std::string callLines(const Recording& recording, const CallFilter& filter) {
  return Lines(recording, filter).get();
}

}  // namespace vyhost
