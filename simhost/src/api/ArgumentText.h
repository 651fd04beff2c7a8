#pragma once

#include <cstdint>
#include <string>

#include "tavrix_sim.h"

namespace tavrix {

/// An argument of an exported function and its name, for records and error objects.
template <typename Value>
struct Argument {
  const char* name;
  Value value;
};

template <typename Value>
Argument<Value> arg(const char* name, const Value& value) {
  return {name, value};
}

/// The argument vector of vy_filter_update_config().
struct TextList {
  size_t count;
  const char* const* texts;
};

/// The text of a handle: `FrameMirror#3`, `frame#1`, `frame#1 (dead)`, `null`.
std::string describeHandle(const void* handle);

inline std::string describe(const vy_error* value) {
  return describeHandle(value);
}
inline std::string describe(const vy_device_t* value) {
  return describeHandle(value);
}
inline std::string describe(const vy_device_info_t* value) {
  return describeHandle(value);
}
inline std::string describe(const vy_filter_t* value) {
  return describeHandle(value);
}
inline std::string describe(const vy_filter_config_schema_list_t* value) {
  return describeHandle(value);
}
inline std::string describe(const vy_frame_t* value) {
  return describeHandle(value);
}
inline std::string describe(const vy_stream_profile_t* value) {
  return describeHandle(value);
}
inline std::string describe(const vysim_camera* value) {
  return describeHandle(value);
}
std::string describe(const char* value);
std::string describe(bool value);
std::string describe(int value);
std::string describe(uint32_t value);
std::string describe(double value);
std::string describe(const TextList& value);
std::string describe(const VYCameraIntrinsic& value);
std::string describe(const VYCameraDistortion& value);
std::string describe(const VYExtrinsic& value);

/// Appends `name: value`, with a comma before it where the text is not empty.
void appendArgument(std::string& text, const char* name, const std::string& value);

template <typename... Value>
std::string argumentText(const Argument<Value>&... arguments) {
  std::string text;
  (appendArgument(text, arguments.name, describe(arguments.value)), ...);
  return text;
}

}  // namespace tavrix
