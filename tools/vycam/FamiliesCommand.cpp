#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "Commands.h"
#include "Families.h"

namespace vycam {
namespace {

constexpr size_t kSensorColumn = 12;
constexpr size_t kLineWidth = 110;

/// Prints the steps of a chain, broken into lines that fit a terminal.
void printChain(const SensorChain& entry) {
  std::string line = fmt::format("  {:<{}}", sensorName(entry.sensor), kSensorColumn - 3);
  for (size_t i = 0; i < entry.chain.size(); ++i) {
    const ChainLink& link = entry.chain[i];
    const std::string step = (i == 0 ? " " : " > ") + describe(link) + (link.enabled ? "" : " [off]");
    if (i > 0 && line.size() + step.size() > kLineWidth) {
      fmt::print("{}\n", line);
      line.assign(kSensorColumn - 1, ' ');
    }
    line += step;
  }
  fmt::print("{}\n", line);
}

void printTable(const std::vector<FamilyChains>& families) {
  for (const FamilyChains& entry : families) {
    fmt::print("{}\n", entry.family->name);
    for (const std::string& way : entry.recognisedBy) {
      fmt::print("  {:<{}}{}\n", "known by", kSensorColumn - 2, way);
    }
    for (const SensorChain& sensor : entry.sensors) {
      printChain(sensor);
    }
    fmt::print("\n");
  }
  fmt::print(
      "[off] marks filters that start switched off; (a, b, ...) are the arguments a filter is set up with;\n"
      "\"wraps\" names the host's filter inside a filter of the library's own.\n");
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char letter : text) {
    result += letter == '"' ? std::string("\"\"") : std::string(1, letter);
  }
  return result + "\"";
}

void printCsv(const std::vector<FamilyChains>& families) {
  fmt::print("family,recognised_by,sensor,sensor_type,position,filter,host_filter,enabled,arguments\n");
  for (const FamilyChains& entry : families) {
    const std::string ways = fmt::format("{}", fmt::join(entry.recognisedBy, "; "));
    for (const SensorChain& sensor : entry.sensors) {
      for (size_t i = 0; i < sensor.chain.size(); ++i) {
        const ChainLink& link = sensor.chain[i];
        fmt::print("{},{},{},{},{},{},{},{},{}\n", entry.family->name, quoted(ways), sensorName(sensor.sensor),
                   static_cast<int>(sensor.sensor), i + 1, link.name, link.hostName, link.enabled ? 1 : 0,
                   quoted(fmt::format("{}", fmt::join(link.arguments, " "))));
      }
    }
  }
}

}  // namespace

void showFamilies(const Library& library, bool asCsv) {
  const std::vector<FamilyChains> families = chainsOfAllFamilies(library);
  asCsv ? printCsv(families) : printTable(families);
}

}  // namespace vycam
