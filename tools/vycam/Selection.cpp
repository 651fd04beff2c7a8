#include "Selection.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "Failure.h"
#include "Suggestion.h"

namespace vycam {
namespace {

struct SensorName {
  VYSensorType sensor;
  const char* name;
};

// Sensor type 9 has no published name, so its number stands for it.
const SensorName kSensorNames[] = {
    {VY_SENSOR_DEPTH, "depth"},     {VY_SENSOR_COLOR, "color"},       {VY_SENSOR_IR, "ir"},
    {VY_SENSOR_IR_LEFT, "ir-left"}, {VY_SENSOR_IR_RIGHT, "ir-right"}, {VY_SENSOR_9, "9"},
};

constexpr uint32_t kSmallestSide = 16;
constexpr uint32_t kLargestSide = 4096;

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

}  // namespace

std::vector<const vysim_family*> allFamilies() {
  std::vector<const vysim_family*> families;
  for (size_t i = 0; i < vysim_family_count(); ++i) {
    families.push_back(vysim_family_at(i));
  }
  return families;
}

const vysim_family& parseFamily(const std::string& name) {
  if (const vysim_family* family = vysim_find_family(name.c_str())) {
    return *family;
  }
  std::vector<std::string> names;
  for (const vysim_family* family : allFamilies()) {
    names.emplace_back(family->name);
  }
  throw Failure(fmt::format("unknown camera family \"{}\"{}; known are {}", name, didYouMean(name, names),
                            fmt::join(names, ", ")));
}

std::vector<VYSensorType> allSensors() {
  std::vector<VYSensorType> sensors;
  for (const SensorName& entry : kSensorNames) {
    sensors.push_back(entry.sensor);
  }
  return sensors;
}

VYSensorType parseSensor(const std::string& name) {
  const std::string wanted = lowerCase(name);
  if (wanted == "colour") {
    return VY_SENSOR_COLOR;
  }
  for (const SensorName& entry : kSensorNames) {
    if (wanted == entry.name || wanted == std::to_string(static_cast<int>(entry.sensor))) {
      return entry.sensor;
    }
  }
  std::vector<std::string> names;
  for (const SensorName& entry : kSensorNames) {
    names.push_back(fmt::format("{} ({})", entry.name, static_cast<int>(entry.sensor)));
  }
  throw Failure(fmt::format("unknown sensor \"{}\"; known are {}", name, fmt::join(names, ", ")));
}

std::string sensorName(VYSensorType sensor) {
  for (const SensorName& entry : kSensorNames) {
    if (entry.sensor == sensor) {
      return entry.name;
    }
  }
  return std::to_string(static_cast<int>(sensor));
}

FrameSize parseFrameSize(const std::string& text) {
  FrameSize size;
  const char* const end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, size.width);
  if (width.ec == std::errc() && width.ptr != end && *width.ptr == 'x') {
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    const auto [smaller, larger] = std::minmax(size.width, size.height);
    if (height.ec == std::errc() && height.ptr == end && smaller >= kSmallestSide && larger <= kLargestSide) {
      return size;
    }
  }
  throw Failure(fmt::format("\"{}\" is not a frame size; give WIDTHxHEIGHT in pixels, each {} to {}, as in 640x480",
                            text, kSmallestSide, kLargestSide));
}

const vysim_stream* findStream(const vysim_family& family, VYSensorType sensor) {
  const vysim_stream* const end = family.streams + family.stream_count;
  const vysim_stream* const found =
      std::find_if(family.streams, end, [&](const vysim_stream& stream) { return stream.sensor == sensor; });
  return found == end ? nullptr : found;
}

}  // namespace vycam
