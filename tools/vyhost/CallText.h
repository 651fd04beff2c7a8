#pragma once

#include <string>
#include <unordered_map>

#include "Recording.h"

namespace vyhost {

/// Calls in words: `vy_filter_enable(filter 3 "FrameMirror", enable true)`.
class CallText {
 public:
  explicit CallText(const Recording& recording);

  /// A value; long texts are cut.
  std::string value(ValueKind kind, const nlohmann::json& value) const;
  std::string call(const FunctionInfo& function, const nlohmann::json& arguments) const;
  std::string call(const Call& call) const { return this->call(*call.function, call.arguments); }
  /// How a recorded call ended: ` = 4`, `, error 7 "..."`, or nothing to tell.
  std::string outcome(const Call& call) const;

 private:
  std::string error(std::uint64_t number) const;

  std::unordered_map<std::uint64_t, std::string> filterNames_;
  std::unordered_map<std::uint64_t, std::string> errorTexts_;
};

}  // namespace vyhost
