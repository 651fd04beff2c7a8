#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "Commands.h"
#include "Families.h"
#include "Terminal.h"

namespace vycam {
namespace {

constexpr size_t kTextColumn = 12;

void printLine(const char* heading, const std::string& text) {
  printFolded(fmt::format("  {:<{}}{}", heading, kTextColumn - 2, text), kTextColumn);
}

/// The stream that a chain is for. A library may have chains for sensors that the cameras lack.
vysim_stream streamOf(const FamilyChains& entry, const SensorChain& sensor) {
  const vysim_stream* const stream = findStream(*entry.family, sensor.sensor);
  return stream != nullptr ? *stream : vysim_stream{sensor.sensor, 0, 0, VY_FORMAT_UNKNOWN, VY_PIXEL_DISPARITY, "none"};
}

/// The steps of a chain, broken into lines between them.
void printChain(const Chain& chain) {
  const size_t room = std::max(terminalWidth(STDOUT_FILENO), kTextColumn) - kTextColumn;
  std::string line;
  for (const ChainLink& link : chain) {
    const std::string step = describe(link) + (link.enabled ? "" : " [off]");
    if (line.empty()) {
      line = step;
    } else if (line.size() + step.size() + 3 <= room) {
      line += " > " + step;
    } else {
      printLine("", line);
      line = "> " + step;
    }
  }
  printLine("", line);
}

void printTable(const std::vector<FamilyChains>& families) {
  for (const FamilyChains& entry : families) {
    fmt::print("{}\n", entry.family->name);
    for (const std::string& way : entry.recognisedBy) {
      printLine("known by", way);
    }
    for (const SensorChain& sensor : entry.sensors) {
      const vysim_stream stream = streamOf(entry, sensor);
      printLine(sensorName(sensor.sensor).c_str(),
                fmt::format("{}x{}, {}", stream.width, stream.height, stream.packing));
      printChain(sensor.chain);
    }
    fmt::print("\n");
  }
  printFolded(
      "[off] marks filters that start switched off; (a, b, ...) are the arguments a filter is set up with; \"wraps\" "
      "names the host's filter inside a filter of the library's own.",
      0);
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char letter : text) {
    result += letter == '"' ? std::string("\"\"") : std::string(1, letter);
  }
  return result + "\"";
}

void printCsv(const std::vector<FamilyChains>& families) {
  fmt::print(
      "family,recognised_by,sensor,sensor_type,position,filter,host_filter,enabled,arguments,width,height,"
      "format,packing\n");
  for (const FamilyChains& entry : families) {
    const std::string ways = fmt::format("{}", fmt::join(entry.recognisedBy, "; "));
    for (const SensorChain& sensor : entry.sensors) {
      const vysim_stream stream = streamOf(entry, sensor);
      for (size_t i = 0; i < sensor.chain.size(); ++i) {
        const ChainLink& link = sensor.chain[i];
        fmt::print("{},{},{},{},{},{},{},{},{},{},{},{},{}\n", entry.family->name, quoted(ways),
                   sensorName(sensor.sensor), static_cast<int>(sensor.sensor), i + 1, link.name, link.hostName,
                   link.enabled ? 1 : 0, quoted(fmt::format("{}", fmt::join(link.arguments, " "))), stream.width,
                   stream.height, static_cast<int>(stream.format), quoted(stream.packing));
      }
    }
  }
}

}  // namespace

void showFamilies(const Library& library, const std::string& which, bool asCsv) {
  const std::vector<FamilyChains> families =
      chainsOf(library, which.empty() ? allFamilies() : std::vector{&parseFamilyOrId(which)});
  asCsv ? printCsv(families) : printTable(families);
}

}  // namespace vycam
