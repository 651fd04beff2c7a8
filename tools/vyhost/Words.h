// Recorded values in words, as all outputs of the command have them.
#pragma once

#include <cstdint>
#include <string>

#include "Recording.h"

namespace vyhost {

/// An argument of a call; null where the recording has none.
const nlohmann::json& argumentOf(const Call& call, std::size_t index);
/// The number of a handle; 0 for what is none.
std::uint64_t handleOf(const nlohmann::json& value);
int integerOf(const nlohmann::json& value);
/// The bytes of a text; empty for what is none.
std::string textOf(const nlohmann::json& value);

/// "filter:3", "device-info:1": how handles are written, and asked for.
std::string handleText(ValueKind kind, std::uint64_t number);
/// A text that neither a terminal nor a page takes for anything else: valid UTF-8 without control characters. Other
/// bytes stand as \x1b.
std::string printable(const std::string& bytes);
/// A number with as few digits as say it fully.
std::string numberText(const nlohmann::json& number);
constexpr int kDepthSensor = 3;
/// "depth", "left infrared"; "sensor 9" for one without a name.
std::string sensorName(int sensor);
/// A duration of some nanoseconds: "12.453 ms".
std::string milliseconds(std::uint64_t nanoseconds);
/// A point in time: "0.012345 s".
std::string seconds(std::uint64_t nanoseconds);

}  // namespace vyhost
