#include "RunSummary.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "Terminal.h"

namespace vycam {
namespace {

using Json = nlohmann::ordered_json;

/// The chain with its switches as they stood during the run.
Chain chainDuringRun(const StreamResult& result, const StreamOptions& options) {
  Chain chain = result.chain;
  for (ChainLink& link : chain) {
    link.enabled = link.enabled || (options.hardwareD2C && link.name == "HardwareD2CProcessor");
    const std::string key = link.name + "#255=";
    for (const std::string& setting : options.settings) {
      if (setting.compare(0, key.size(), key) == 0) {
        link.enabled = setting.substr(key.size()) == "1";
      }
    }
  }
  return chain;
}

void printChain(const Chain& chain, const TimeReport& time) {
  size_t width = 0;
  for (const ChainLink& link : chain) {
    width = std::max(width, describe(link).size());
  }
  for (const ChainLink& link : chain) {
    const FilterTime* const ran = timeOf(link, time);
    const std::string state = ran != nullptr ? fmt::format("{:7.3f} ms", ran->milliseconds)
                              : link.enabled ? "skipped: not for this raw format"
                                             : "off";
    printFolded(fmt::format("    {:<{}}  {}", describe(link), width, state), 6);
  }
}

void printLine(const char* heading, const std::string& text) {
  constexpr size_t kTextColumn = 17;
  printFolded(fmt::format("  {:<{}}{}", heading, kTextColumn - 2, text), kTextColumn);
}

void printAccuracy(const StreamResult& result) {
  const Accuracy& accuracy = *result.accuracy;
  printLine("valid", fmt::format("{:.1f} % of the output's pixels, {:.1f} % of the scene in range",
                                 100 * accuracy.validShare(), 100 * accuracy.validShareOfScene()));
  const std::optional<int> median = accuracy.medianError();
  if (result.outputFacts.pixelType != VY_PIXEL_DEPTH) {
    printLine("median error", "none: the output is not in millimetres");
  } else if (median) {
    printLine("median error",
              fmt::format("{} mm against the scene; 95 % are within {} mm", *median, *accuracy.percentileError(95)));
  } else {
    printLine("median error", "none: no pixel has both a measured and a true depth");
  }
}

void printTimes(const TimeReport& time) {
  printLine("time per frame", fmt::format("{:.3f} ms: filters {:.3f}, other host calls {:.3f},", time.total,
                                          time.filters, time.otherHostCalls));
  printLine("", fmt::format("clock about {:.3f},", time.clockCost));
  printLine("", fmt::format("the library's own part about {:.3f} ms ({:.1f} %)", time.library,
                            time.total > 0 ? 100 * time.library / time.total : 0.0));
  printLine("",
            fmt::format("(clock: about {:.0f} ns per host call, measured now and taken off)", time.nanosecondsPerCall));
  if (time.frames > 1) {
    printLine("", fmt::format("median {:.3f} ms, 95 % within {:.3f} ms, largest {:.3f} ms", time.median,
                              time.percentile95, time.largest));
    printLine("", fmt::format("all without the first frame, which took {:.3f} ms", time.first));
  }
}

/// "raw.png, output.png, 60 in frames/"
std::string fileList(const OutputFolder& folder) {
  std::vector<std::string> parts;
  std::map<std::string, size_t> below;
  for (const std::string& name : folder.names()) {
    const size_t slash = name.find('/');
    if (slash == std::string::npos) {
      parts.push_back(name);
    } else {
      ++below[name.substr(0, slash + 1)];
    }
  }
  for (const auto& [name, count] : below) {
    parts.push_back(fmt::format("{} in {}", count, name));
  }
  return fmt::format("{}", fmt::join(parts, ", "));
}

Json jsonOf(const FrameFacts& facts) {
  return {{"width", facts.width},
          {"height", facts.height},
          {"format", static_cast<int>(facts.format)},
          {"format_name", vysim_format_name(facts.format)},
          {"pixels", facts.meaning()}};
}

double seconds(double milliseconds) {
  return milliseconds / 1000;
}

Json jsonOf(const TimeReport& time) {
  return {{"first_s", seconds(time.first)},
          {"median_s", seconds(time.median)},
          {"p95_s", seconds(time.percentile95)},
          {"largest_s", seconds(time.largest)},
          {"mean_s", seconds(time.total)},
          {"filters_s", seconds(time.filters)},
          {"other_host_calls_s", seconds(time.otherHostCalls)},
          {"library_s", seconds(time.library)},
          {"clock_s", seconds(time.clockCost)}};
}

Json jsonOf(const Chain& chain, const TimeReport& time) {
  Json links = Json::array();
  for (const ChainLink& link : chain) {
    const FilterTime* const ran = timeOf(link, time);
    links.push_back({{"filter", link.name},
                     {"host_filter", link.hostName},
                     {"arguments", link.arguments},
                     {"enabled", link.enabled},
                     {"mean_s", ran != nullptr ? Json(seconds(ran->milliseconds)) : Json()}});
  }
  return links;
}

Json accuracyJson(const StreamResult& result) {
  if (!result.accuracy) {
    return {};
  }
  const bool isDepth = result.outputFacts.pixelType == VY_PIXEL_DEPTH;
  const auto error = [&](unsigned percent) {
    const std::optional<int> found = isDepth ? result.accuracy->percentileError(percent) : std::nullopt;
    return found ? Json(*found) : Json();
  };
  return {{"valid", result.accuracy->validShare()},
          {"valid_of_scene", result.accuracy->validShareOfScene()},
          {"median_mm", error(50)},
          {"p95_mm", error(95)}};
}

}  // namespace

const FilterTime* timeOf(const ChainLink& link, const TimeReport& time) {
  const auto ran = std::find_if(time.byFilter.begin(), time.byFilter.end(),
                                [&](const FilterTime& filter) { return filter.name == link.hostName; });
  return ran != time.byFilter.end() ? &*ran : nullptr;
}

void printSummary(const StreamResult& result, const StreamOptions& options, const OutputFolder& folder) {
  const bool isComplete = result.frames == options.frames;
  fmt::print("{} {}, {} frame{}\n", options.family->name, sensorName(options.sensor),
             isComplete ? fmt::to_string(result.frames) : fmt::format("{} of {}", result.frames, options.frames),
             options.frames == 1 ? "" : "s");
  printLine("in", result.rawFacts.describe());
  printLine("out", result.outputFacts.describe());
  printLine("chain", "(time in each filter per frame)");
  printChain(chainDuringRun(result, options), result.time);
  if (result.accuracy) {
    printAccuracy(result);
  }
  printTimes(result.time);
  printFolded(fmt::format("  written to {}: {}", folder.path().string(), fileList(folder)), 4);
}

void printJsonSummary(const StreamResult& result, const StreamOptions& options, const OutputFolder& folder) {
  const Json summary = {{"camera", options.family->name},
                        {"sensor", sensorName(options.sensor)},
                        {"frames", result.frames},
                        {"frames_wanted", options.frames},
                        {"in", jsonOf(result.rawFacts)},
                        {"out", jsonOf(result.outputFacts)},
                        {"chain", jsonOf(chainDuringRun(result, options), result.time)},
                        {"accuracy", accuracyJson(result)},
                        {"times", jsonOf(result.time)},
                        {"folder", folder.path().string()},
                        {"files", folder.names()}};
  fmt::print("{}\n", summary.dump(2, ' ', false, Json::error_handler_t::replace));
}

}  // namespace vycam
