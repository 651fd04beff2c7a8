// A processor's chain: how it is built, searched and taken down.
#include "processor/FrameProcessor.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "host/HostErrorSlot.h"
#include "processor/TextWriter.h"

namespace {

/// Filters that the host offers through its private creation function only.
constexpr const char* kPrivateHostFilters[] = {"DepthResize", "OpenNIDisparityTransform"};

bool isPrivateHostFilter(const char* name) {
  return std::any_of(std::begin(kPrivateHostFilters), std::end(kPrivateHostFilters),
                     [name](const char* each) { return name[0] == each[0] && std::strcmp(name, each) == 0; });
}

void configure(const ChainLink& link, HostErrorSlot& slot) {
  const FilterConfig& config = link.config();
  const auto count = static_cast<std::uint8_t>(config.initialArgs.size() & 0xFFU);
  const char* arguments[0xFF];  // the host's to change
  std::copy_n(config.initialArgs.begin(), count, arguments);
  slot.call(config.update_config, link.filter(), count, arguments);
}

}  // namespace

BasicFrameProcessor::BasicFrameProcessor(vy_device_info_t* /*deviceInfo*/, std::vector<FilterConfig> configs) {
  registerFunctionPtrs(configs);
  filters_.reserve(configs.size());
  TextWriter schema;
  for (const FilterConfig& config : configs) addFilter(config, schema);
  configSchema_ = schema.take();
}

BasicFrameProcessor::~BasicFrameProcessor() {
  for (ChainLink& link : filters_) link.destroyFilter();
  delete keys_.load(std::memory_order_relaxed);
}

/// Appends one filter to the chain and its lines to the schema, or leaves no trace of it.
void BasicFrameProcessor::addFilter(const FilterConfig& config, TextWriter& schema) {
  HostErrorSlot slot;
  const auto create = isPrivateHostFilter(config.name) ? config.create_private_filter : config.create_filter;
  vy_filter_t* const filter = slot.call(create, config.name);
  // What a host hands out together with an error is not ours to delete.
  if (slot.isSet()) return;

  // Into its place at once: from here on the chain owns the filter.
  ChainLink& link = filters_.emplace_back(filter, config);
  if (!config.initialArgs.empty()) configure(link, slot);
  if (!slot.isSet()) slot.call(config.enable, filter, config.enabled == 1);
  if (slot.isSet()) {
    link.destroyFilter(slot);
    filters_.pop_back();
    return;
  }

  // After the initial configuration: the schema text tells the values in force.
  generateFilterConfigSchemaCsv(filter, config, schema);
}

const char* BasicFrameProcessor::getConfigSchema(vy_error** /*error*/) {
  return configSchema_.c_str();
}

std::pair<vy_filter_t*, const FilterConfig&> BasicFrameProcessor::getFilter(std::string_view name) const {
  static const FilterConfig kBlank;
  for (const ChainLink& link : filters_) {
    HostErrorSlot slot;
    const char* const reported = slot.call(link.config().get_name, link.filter());
    if (slot.isSet() || reported == nullptr) continue;
    if (name == reported) return {link.filter(), link.config()};
  }
  return {nullptr, kBlank};
}
