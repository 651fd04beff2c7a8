#include "support/HostModel.h"

#include <algorithm>
#include <map>

HostModel::Outcome HostModel::call(const std::string& function, const std::string& object, int refusal) {
  calls += function + " " + object + "\n";
  const bool struck = ++callCount_ == failing_;
  if (struck && fault_ == VYSIM_FAULT_NULL) return {false, {}};
  if (struck && fault_ == VYSIM_FAULT_ERROR) return {false, {function, kInjected}};
  if (refusal != 0) {
    ++refused[function];
    return {false, {function, refusal}};
  }
  return {true, struck ? ErrorOrigin{function, kInjected} : ErrorOrigin{}};
}

HostModel::Outcome HostModel::call(const std::string& function, const std::string& object, ErrorOrigin& slot,
                                   int refusal) {
  Outcome outcome = call(function, object, refusal);
  if (outcome.error.isSet()) slot = outcome.error;
  return outcome;
}

bool HostModel::find(const ModelLink& link, ErrorOrigin& slot) {
  const bool named = call("vy_filter_get_name", link.label, slot).done;
  if (slot.isSet() || !named) return false;
  return std::any_of(registry_.begin(), registry_.end(), [&](const std::string& label) {
    return static_cast<bool>(call("vy_filter_get_name", label)) && label == link.label;
  });
}

std::string canonicalCalls(const std::vector<std::string>& records) {
  std::map<std::string, std::string> frames;
  std::string calls;
  for (const std::string& record : records) {
    if (record.find("_error") != std::string::npos) continue;
    // "function(name: object, name: value)" or "function object object"
    const std::size_t end = record.find_first_of("( ");
    const std::string function = record.substr(0, end);
    const bool isPair = function == "vy_filter_process" || function == "vy_filter_config_schema_list_get_item";
    calls += function;
    std::size_t position = end;
    for (int found = 0; found < (isPair ? 2 : 1); ++found) {
      const std::size_t colon = record.find(": ", position);
      const std::size_t begin = colon != std::string::npos ? colon + 2 : position + 1;
      position = record.find_first_of(" ,)", begin);
      std::string object = record.substr(begin, position - begin);
      if (object.compare(0, 6, "frame#") == 0) {
        object = frames.emplace(object, "frame " + std::to_string(frames.size())).first->second;
      }
      if (object.compare(0, 15, "stream_profile#") == 0) object = "profile";
      if (object.compare(0, 12, "schema_list#") == 0) object = "list";
      calls += " " + object;
    }
    calls += "\n";
  }
  return calls;
}
