// Any texts as settings of a running processor. The input is a character that picks a sensor, then texts that end with
// ";" and fill one command after the other; empty texts fill up the last one. The values in force afterwards must be
// what strtod() and strtol() read, up to the first value that a filter refuses.
#include <cmath>
#include <cstdlib>
#include <map>

#include "Support.h"

namespace {

constexpr int kCommandsAtMost = 3;

/// The host filters of the processor's chain, those inside the library's own filters included.
std::vector<vy_filter_t*> hostFilters;

/// The live value under each key ("filter#item", the switch as item 255).
using Settings = std::map<std::string, double>;

struct Range {
  double min, max, step;

  bool admits(double value) const {
    return value >= min && value <= max && (step == 0 || std::remainder(value - min, step) == 0);
  }
};

std::string keyOf(const std::string& filter, std::uint32_t item) {
  return filter + "#" + std::to_string(item);
}

/// Reads all values of the host, published or not, and the library's own switches.
Settings readSettings(std::map<std::string, Range>* ranges = nullptr) {
  Settings settings;
  for (vy_filter_t* const filter : hostFilters) {
    ErrorSlot notOwn;
    const char* const ownName = priv_filter_get_name(filter, notOwn);
    const std::string name = ownName != nullptr ? ownName : call(vy_filter_get_name, filter);
    settings[keyOf(name, 255)] =
        ownName != nullptr ? call(priv_filter_is_enabled, filter) : call(vy_filter_is_enabled, filter);
    const SchemaList list(call(vy_filter_get_config_schema_list, filter));
    for (std::uint32_t i = 0; i < call(vy_filter_config_schema_list_get_count, list.get()); ++i) {
      const VYFilterConfigSchemaItem item = call(vy_filter_config_schema_list_get_item, list.get(), i);
      settings[keyOf(name, i)] = call(vy_filter_get_config_value, filter, item.name);
      const bool isStepped = item.type != VY_FILTER_CONFIG_VALUE_TYPE_FLOAT;
      if (ranges != nullptr) (*ranges)[keyOf(name, i)] = {item.min, item.max, isStepped ? item.step : 0};
    }
  }
  return settings;
}

/// Applies a command to the settings. Returns whether a filter refuses a value.
bool apply(const std::vector<std::string>& keys, const std::vector<const char*>& texts,
           const std::map<std::string, Range>& ranges, Settings& settings) {
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const auto range = ranges.find(keys[i]);
    if (range == ranges.end()) {
      settings[keys[i]] = std::strtol(texts[i], nullptr, 10) == 1 ? 1 : 0;
    } else {
      const double value = std::strtod(texts[i], nullptr);
      if (!range->second.admits(value)) return true;
      settings[keys[i]] = value;
    }
  }
  return false;
}

/// Only this chain can be switched into refusing its frames: the host's correction of depths takes no disparities.
bool refusesFrames(const Settings& settings) {
  const auto correction = settings.find("HardwareD2DCorrectionFilter#255");
  return correction != settings.end() && correction->second == 1 && settings.at("DisparityTransform#255") == 0;
}

void runCommands(const SensorCase& sensor, const Processor& processor, const std::vector<std::string>& texts) {
  const std::string schema = schemaOf(processor);
  std::vector<std::string> keys;
  for (const Setting& setting : settingsOf(schema)) keys.push_back(setting.key);
  std::map<std::string, Range> ranges;
  Settings expected = readSettings(&ranges);

  std::size_t next = 0;
  for (int command = 0; command < kCommandsAtMost && (command == 0 || next < texts.size()); ++command) {
    std::vector<const char*> values(keys.size(), "");
    for (const char*& value : values) {
      if (next < texts.size()) value = texts[next++].c_str();
    }
    const bool isRefused = apply(keys, values, ranges, expected);
    EXPECT_EQ(updateConfig(processor, values).function, isRefused ? "vy_filter_set_config_value" : "");
    EXPECT_EQ(readSettings(), expected);
    EXPECT_EQ(schemaOf(processor), schema);

    const Frame& input = sensor.inputs[static_cast<std::size_t>(command) % sensor.inputs.size()];
    const Outcome outcome = process(processor, input);
    EXPECT_EQ(outcome.error.function, refusesFrames(expected) ? "vy_filter_process" : "");
    EXPECT_EQ(outcome.frame == nullptr, refusesFrames(expected));
    if (outcome.frame != input) EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 1);
  }
}

}  // namespace

// The library calls these in place of the host's (--wrap of the linker).
extern "C" {
vy_filter_t* __real_vy_create_filter(const char* name, vy_error** error);
vy_filter_t* __real_vy_create_private_filter(const char* name, vy_error** error);
vy_filter_t* __wrap_vy_create_filter(const char* name, vy_error** error) {
  return hostFilters.emplace_back(__real_vy_create_filter(name, error));
}
vy_filter_t* __wrap_vy_create_private_filter(const char* name, vy_error** error) {
  return hostFilters.emplace_back(__real_vy_create_private_filter(name, error));
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return -1;
  const SensorCase& sensor = allSensors()[data[0] % allSensors().size()];
  const std::string input(data + 1, data + size);
  std::vector<std::string> texts;
  for (std::size_t begin = 0; begin < input.size();) {
    const std::size_t end = std::min(input.find(';', begin), input.size());
    texts.push_back(input.substr(begin, end - begin));
    begin = end + 1;
  }

  const Balance balance;
  hostFilters.clear();
  {
    const Context context(call(vy_create_frame_processor_context, sensor.device.get()));
    runCommands(sensor, makeProcessor(context, sensor.sensor), texts);
  }
  balance.expectLevel();
  expectNothingRefused();
  return 0;
}
