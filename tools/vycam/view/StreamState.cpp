#include "view/StreamState.h"

#include "Failure.h"

namespace vycam {
namespace {

size_t rowOf(const StreamFacts& facts, std::string_view key) {
  return static_cast<size_t>(findRow(facts.schema, key) - facts.schema.data());
}

}  // namespace

StreamState startOf(const StreamFacts& facts) {
  StreamState state;
  for (const SchemaRow& row : facts.schema) {
    state.values.push_back(row.value);
  }
  return state;
}

StreamState withSettings(const StreamFacts& facts, StreamState state, const std::vector<std::string>& settings) {
  const std::vector<std::string> values = valuesFor(facts.schema, settings);
  for (const std::string& setting : settings) {
    const std::string key = setting.substr(0, setting.find('='));
    const size_t row = rowOf(facts, key);
    state.values[row] = values[row];
    if (key == kAlignmentSwitch) {
      state.alignment.isOn = values[row] == "1";
    }
  }
  return state;
}

StreamState withAlignment(const StreamFacts& facts, StreamState state, bool isOn, const std::string& parameters) {
  if (!facts.canAlign) {
    throw Failure("the chain of this stream has no HardwareD2CProcessor");
  }
  state.alignment = {isOn, parseHardwareD2C(parameters)};
  state.values[rowOf(facts, kAlignmentSwitch)] = isOn ? "1" : "0";
  return state;
}

}  // namespace vycam
