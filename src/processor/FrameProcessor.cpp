// A processor's chain: how it is built, searched and taken down.
#include "processor/FrameProcessor.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "host/HostErrorSlot.h"

namespace {

/// Filters that the host offers through its private creation function only.
constexpr std::string_view kPrivateHostFilters[] = {"DepthResize", "OpenNIDisparityTransform"};

bool isPrivateHostFilter(const std::string& name) {
  return std::find(std::begin(kPrivateHostFilters), std::end(kPrivateHostFilters), name) !=
         std::end(kPrivateHostFilters);
}

void configure(const ChainLink& link, HostErrorSlot& slot) {
  const FilterConfig& config = link.config();
  std::vector<const char*> arguments = config.initialArgs;  // the host's to change
  const auto count = static_cast<std::uint8_t>(arguments.size() & 0xFFU);
  slot.call(config.update_config, link.filter(), count, arguments.data());
}

}  // namespace

BasicFrameProcessor::BasicFrameProcessor(vy_device_info_t* /*deviceInfo*/, std::vector<FilterConfig> configs) {
  registerFunctionPtrs(configs);
  filters_.reserve(configs.size());
  for (FilterConfig& config : configs) addFilter(std::move(config));
}

BasicFrameProcessor::~BasicFrameProcessor() {
  for (ChainLink& link : filters_) link.destroyFilter();
}

/// Appends one filter to the chain and its lines to the schema, or leaves no trace of it.
void BasicFrameProcessor::addFilter(FilterConfig&& config) {
  HostErrorSlot slot;
  const auto create = isPrivateHostFilter(config.name) ? config.create_private_filter : config.create_filter;
  vy_filter_t* const filter = slot.call(create, config.name.c_str());
  // What a host hands out together with an error is not ours to delete.
  if (slot.isSet()) return;

  // Into its place at once: from here on the chain owns the filter.
  ChainLink& link = filters_.emplace_back(filter, std::move(config));
  if (!link.config().initialArgs.empty()) configure(link, slot);
  if (!slot.isSet()) slot.call(link.config().enable, filter, link.config().enabled == 1);
  if (slot.isSet()) {
    link.destroyFilter(slot);
    filters_.pop_back();
    return;
  }

  // After the initial configuration: the schema text tells the values in force.
  configSchema_ += generateFilterConfigSchemaCsv(filter, link.config());
}

const char* BasicFrameProcessor::getConfigSchema(vy_error** /*error*/) {
  return configSchema_.c_str();
}

std::pair<vy_filter_t*, const FilterConfig&> BasicFrameProcessor::getFilter(const std::string& name) const {
  static const FilterConfig kBlank;
  for (const ChainLink& link : filters_) {
    HostErrorSlot slot;
    const char* const reported = slot.call(link.config().get_name, link.filter());
    if (slot.isSet() || reported == nullptr) continue;
    if (name == reported) return {link.filter(), link.config()};
  }
  return {nullptr, kBlank};
}
