#include "view/Messages.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "Selection.h"

namespace vycam {
namespace {

using Json = nlohmann::json;

constexpr std::pair<const char*, vysim_fault> kFaults[] = {
    {"error", VYSIM_FAULT_ERROR}, {"null", VYSIM_FAULT_NULL}, {"error with result", VYSIM_FAULT_ERROR_WITH_RESULT}};
constexpr std::pair<const char*, Role> kRoles[] = {
    {"before", Role::before}, {"after", Role::after}, {"truth", Role::truth}};

constexpr unsigned kMostStreams = 0xFFFF;
constexpr uint64_t kLargestNth = 1000000;

// ---- Reading --------------------------------------------------------------------------------------------------------

const Json& member(const Json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end()) {
    throw BadMessage(fmt::format("\"{}\" is missing", name));
  }
  return *found;
}

uint64_t wholeNumber(const Json& object, const char* name, uint64_t most) {
  const Json& number = member(object, name);
  if (!number.is_number_unsigned() || number.get<uint64_t>() > most) {
    throw BadMessage(fmt::format("\"{}\" is no whole number from 0 to {}", name, most));
  }
  return number.get<uint64_t>();
}

unsigned index(const Json& object, const char* name) {
  return static_cast<unsigned>(wholeNumber(object, name, kMostStreams));
}

bool truthValue(const Json& object, const char* name) {
  const Json& value = member(object, name);
  if (!value.is_boolean()) {
    throw BadMessage(fmt::format("\"{}\" is neither true nor false", name));
  }
  return value.get<bool>();
}

std::string text(const Json& object, const char* name) {
  const Json& value = member(object, name);
  if (!value.is_string()) {
    throw BadMessage(fmt::format("\"{}\" is no text", name));
  }
  return value.get<std::string>();
}

const Json& objectMember(const Json& object, const char* name) {
  const Json& value = member(object, name);
  if (!value.is_object()) {
    throw BadMessage(fmt::format("\"{}\" is no object", name));
  }
  return value;
}

template <class Value, size_t kCount>
Value named(const std::pair<const char*, Value> (&names)[kCount], const Json& name) {
  const auto* const found = std::find_if(std::begin(names), std::end(names), [&](const auto& entry) {
    return name.is_string() && name.get_ref<const std::string&>() == entry.first;
  });
  if (found == std::end(names)) {
    throw BadMessage(fmt::format("{} is not known", name.dump()));
  }
  return found->second;
}

unsigned streamIndex(const std::string& key) {
  const bool isNumber = !key.empty() && key.size() <= 5 &&
                        std::all_of(key.begin(), key.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
  if (!isNumber) {
    throw BadMessage("a key of \"streams\" is no stream's number");
  }
  return static_cast<unsigned>(std::stoul(key));
}

WatchWish readWatch(const Json& message) {
  WatchWish wish;
  for (const auto& [key, names] : objectMember(message, "streams").items()) {
    if (!names.is_array()) {
      throw BadMessage("a stream's planes are no list");
    }
    Roles& roles = wish.roles[streamIndex(key)];
    for (const Json& name : names) {
      roles |= bitOf(named(kRoles, name));
    }
  }
  return wish;
}

SetWish readSet(const Json& message) {
  SetWish wish{index(message, "stream"), {}};
  for (const auto& [key, value] : objectMember(message, "values").items()) {
    if (!value.is_string()) {
      throw BadMessage("a value is no text");
    }
    wish.settings.push_back(key + "=" + value.get<std::string>());
  }
  return wish;
}

AlignWish readAlign(const Json& message) {
  AlignWish wish{index(message, "stream"), truthValue(message, "on"), ""};
  for (const char* const name : {"scale", "left", "top", "right", "bottom"}) {
    const Json& number = member(message, name);
    if (!number.is_number()) {
      throw BadMessage(fmt::format("\"{}\" is no number", name));
    }
    wish.parameters += fmt::format("{}={},", name, number.dump());
  }
  wish.parameters += fmt::format("apply={}", truthValue(message, "apply") ? 1 : 0);
  return wish;
}

FailWish readFail(const Json& message) {
  return {text(message, "function"), wholeNumber(message, "nth", kLargestNth), named(kFaults, member(message, "kind"))};
}

// ---- Writing --------------------------------------------------------------------------------------------------------

/// The text of a message. What is no valid UTF-8, which a library's texts may be, is replaced.
std::string write(const Json& message) {
  return message.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The thing itself, or null.
template <class Value>
Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json(nullptr);
}

const char* kindOf(const vysim_stream& stream) {
  return stream.sensor == VY_SENSOR_DEPTH ? "depth" : stream.sensor == VY_SENSOR_COLOR ? "colour" : "infrared";
}

Json chainOf(const StreamFacts& facts) {
  Json chain = Json::array();
  for (const ChainLink& link : facts.chain) {
    const std::string key = link.name + "#255";
    chain.push_back({{"name", link.name},
                     {"wraps", link.isWrapper() ? Json(link.hostName) : Json(nullptr)},
                     {"arguments", link.arguments},
                     {"switch", findRow(facts.schema, key) != nullptr ? Json(key) : Json(nullptr)}});
  }
  return chain;
}

Json settingsOf(const StreamFacts& facts, const StreamState& state) {
  Json settings = Json::array();
  for (size_t i = 0; i < facts.schema.size(); ++i) {
    const SchemaRow& row = facts.schema[i];
    settings.push_back({{"key", row.key},
                        {"filter", row.filter()},
                        {"type", row.type},
                        {"min", row.min},
                        {"max", row.max},
                        {"step", row.step},
                        {"start", row.value},
                        {"value", state.values[i]},
                        {"description", row.description}});
  }
  return settings;
}

Json alignmentOf(const StreamFacts& facts, const StreamState& state) {
  if (!facts.canAlign) {
    return nullptr;
  }
  const HardwareD2C& parameters = state.alignment.parameters;
  return {{"on", state.alignment.isOn}, {"scale", parameters.scale}, {"left", parameters.left},
          {"top", parameters.top},      {"right", parameters.right}, {"bottom", parameters.bottom},
          {"apply", parameters.apply}};
}

Json toColourOf(const StreamFacts& facts) {
  if (!facts.colourStream) {
    return nullptr;
  }
  Json rotation = Json::array();
  for (const float number : facts.toColour.rot) {
    rotation.push_back(number);
  }
  Json translation = Json::array();
  for (const float number : facts.toColour.trans) {
    translation.push_back(number);
  }
  return {{"stream", *facts.colourStream}, {"rotation", rotation}, {"translation", translation}};
}

Json describe(const StreamFacts& facts, const StreamState& state) {
  const bool isDisparity = facts.stream.pixel_type == VY_PIXEL_DISPARITY;
  return {{"id", facts.id},
          {"camera", facts.camera},
          {"sensor", sensorName(facts.stream.sensor)},
          {"kind", kindOf(facts.stream)},
          {"width", facts.stream.width},
          {"height", facts.stream.height},
          {"format", vysim_format_name(facts.stream.format)},
          {"chain", chainOf(facts)},
          {"settings", settingsOf(facts, state)},
          {"d2c", alignmentOf(facts, state)},
          {"toColour", toColourOf(facts)},
          {"baseline", isDisparity ? facts.family->baseline_mm : 0.0F},
          {"subPixelBits", isDisparity ? facts.family->sub_pixel_bits : 0}};
}

}  // namespace

ClientMessage parseClientMessage(std::string_view text) {
  const Json message = Json::parse(text, nullptr, false);
  if (!message.is_object()) {
    throw BadMessage("the message is no JSON object");
  }
  const Json& type = member(message, "type");
  ClientMessage read;
  if (message.contains("request")) {
    read.request = wholeNumber(message, "request", UINT32_MAX);
  }
  if (type == "watch") {
    read.wish = readWatch(message);
  } else if (type == "set") {
    read.wish = readSet(message);
  } else if (type == "reset") {
    read.wish = ResetWish{index(message, "stream")};
  } else if (type == "d2c") {
    read.wish = readAlign(message);
  } else if (type == "pause") {
    read.wish = PauseWish{index(message, "camera"), truthValue(message, "on")};
  } else if (type == "step") {
    read.wish = StepWish{index(message, "camera")};
  } else if (type == "fail") {
    read.wish = readFail(message);
  } else {
    throw BadMessage("\"type\" is not known");
  }
  const bool isAnswered = type == "set" || type == "reset" || type == "d2c" || type == "fail";
  if (isAnswered && !read.request) {
    throw BadMessage("\"request\" is missing");
  }
  return read;
}

const std::vector<std::string>& faultFunctions() {
  static const std::vector<std::string> functions = {"vy_filter_process",
                                                     "vy_filter_is_enabled",
                                                     "vy_filter_enable",
                                                     "vy_filter_set_config_value",
                                                     "vy_filter_update_config",
                                                     "vy_frame_get_format",
                                                     "vy_frame_add_ref",
                                                     "vy_frame_get_stream_profile",
                                                     "vy_video_stream_profile_set_intrinsic",
                                                     "vy_video_stream_profile_set_distortion",
                                                     "vy_stream_profile_set_extrinsic_to_type",
                                                     "vy_delete_stream_profile"};
  return functions;
}

std::string helloText(const std::vector<CameraFacts>& cameras, const std::vector<StreamFacts>& streams,
                      const std::vector<StreamState>& states) {
  Json kinds = Json::array();
  for (const auto& [name, fault] : kFaults) {
    kinds.push_back(name);
  }
  Json hello = {{"type", "hello"},
                {"version", VYCAM_VERSION},
                {"cameras", Json::array()},
                {"faults", {{"functions", faultFunctions()}, {"kinds", kinds}}},
                {"streams", Json::array()}};
  for (const CameraFacts& camera : cameras) {
    hello["cameras"].push_back({{"name", camera.name}, {"rate", camera.rate}, {"paused", camera.isPaused}});
  }
  for (size_t i = 0; i < streams.size(); ++i) {
    hello["streams"].push_back(describe(streams[i], states[i]));
  }
  return write(hello);
}

std::string stateText(const StreamFacts& facts, const StreamState& state) {
  Json values = Json::object();
  for (size_t i = 0; i < facts.schema.size(); ++i) {
    values[facts.schema[i].key] = state.values[i];
  }
  return write({{"type", "state"}, {"stream", facts.id}, {"values", values}, {"d2c", alignmentOf(facts, state)}});
}

std::string cameraText(unsigned camera, bool isPaused) {
  return write({{"type", "camera"}, {"camera", camera}, {"paused", isPaused}});
}

std::string statsText(unsigned stream, const StreamStats& stats, uint32_t dropped) {
  Json error = nullptr;
  if (stats.error) {
    error = {{"median", orNull(stats.error->median)},
             {"p95", orNull(stats.error->p95)},
             {"valid", stats.error->valid},
             {"ofScene", stats.error->ofScene},
             {"pixels", stats.error->pixels}};
  }
  return write({{"type", "stats"},
                {"stream", stream},
                {"frame", stats.frame},
                {"rate", stats.rate},
                {"lost", stats.lost},
                {"dropped", dropped},
                {"failed", stats.failed},
                {"lastError", orNull(stats.lastError)},
                {"milliseconds",
                 {{"camera", stats.times.camera},
                  {"chain", stats.times.chain},
                  {"library", stats.times.library},
                  {"filters", stats.times.filters}}},
                {"error", error}});
}

std::string answerText(uint64_t request, const std::optional<std::string>& refusal) {
  if (refusal) {
    return write({{"type", "refused"}, {"request", request}, {"text", *refusal}});
  }
  return write({{"type", "done"}, {"request", request}});
}

}  // namespace vycam
