#include "CallText.h"

#include <fmt/format.h>

#include "ReplayValues.h"

namespace vyhost {
namespace {

using nlohmann::json;

constexpr std::size_t kLongestText = 200;

std::string shortened(const json& value) {
  std::string text = value.dump(-1, ' ', true);
  if (text.size() > kLongestText) text = text.substr(0, kLongestText) + "...";
  return text;
}

}  // namespace

CallText::CallText(const Recording& recording) {
  for (const Call& call : recording.calls) {
    const std::string_view name = call.function->name;
    const bool createsFilter = call.function->result == ValueKind::filter;
    if (createsFilter && call.hasReturned() && call.result.is_number() && call.arguments[0].is_string()) {
      filterNames_[call.result.get<std::uint64_t>()] = shortened(call.arguments[0]);
    }
    if (name == "vy_create_error" && call.hasReturned() && call.result.is_number()) {
      errorTexts_[call.result.get<std::uint64_t>()] = shortened(call.arguments[1]);
    }
    if (call.newError && call.errorAfter) errorTexts_[*call.errorAfter] = shortened(call.newError->message);
  }
}

std::string CallText::error(std::uint64_t number) const {
  const auto text = errorTexts_.find(number);
  return fmt::format("error {}{}", number, text != errorTexts_.end() ? " " + text->second : "");
}

std::string CallText::value(ValueKind kind, const json& value) const {
  if (!isHandle(kind)) return shortened(value);
  const auto number = value.get<std::uint64_t>();
  if (number == 0) return fmt::format("no {}", handleName(kind));
  if (number >= Handles::kUnknown) return fmt::format("an unknown {}", handleName(kind));
  if (kind == ValueKind::error) return error(number);
  const auto name = filterNames_.find(number);
  const bool hasName = kind == ValueKind::filter && name != filterNames_.end();
  return fmt::format("{} {}{}", handleName(kind), number, hasName ? " " + name->second : "");
}

std::string CallText::call(const FunctionInfo& function, const json& arguments) const {
  std::string text(function.name);
  text += '(';
  for (std::size_t i = 0; i < function.arguments.size(); ++i) {
    const Argument& argument = function.arguments[i];
    if (i != 0) text += ", ";
    // "filter 3" says by itself what it is.
    if (argument.name != handleName(argument.kind)) text += fmt::format("{}: ", argument.name);
    text += value(argument.kind, arguments[i]);
  }
  return text + ')';
}

std::string CallText::outcome(const Call& call) const {
  if (!call.hasReturned()) return ", which never returned";
  if (!call.exception.empty()) return ", which threw " + call.exception;
  std::string text;
  if (call.function->result != ValueKind::none) text += " = " + value(call.function->result, call.result);
  if (call.errorAfter && *call.errorAfter != 0) text += ", " + error(*call.errorAfter) + " in the slot";
  return text;
}

}  // namespace vyhost
