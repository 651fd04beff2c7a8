#include "view/ServerMessage.h"

#include <nlohmann/json.hpp>

#include "Selection.h"
#include "view/ClientMessage.h"

namespace vycam {
namespace {

using Json = nlohmann::json;

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
          {"focalLength", isDisparity ? facts.intrinsic.fx : 0.0F},
          {"baseline", isDisparity ? facts.family->baseline_mm : 0.0F},
          {"subPixelBits", isDisparity ? facts.family->sub_pixel_bits : 0}};
}

}  // namespace

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
  for (const auto& [name, fault] : kFaultKinds) {
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
