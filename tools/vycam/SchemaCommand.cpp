#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "Commands.h"
#include "Processor.h"
#include "Selection.h"
#include "Terminal.h"

namespace vycam {
namespace {

constexpr size_t kColumns = 7;
constexpr size_t kBelow = 4;  // where a description begins that has no room beside its setting
using Cells = std::array<std::string, kColumns>;

void printTable(const Schema& schema) {
  std::vector<Cells> lines = {{"SETTING", "TYPE", "MIN", "MAX", "STEP", "VALUE", "DESCRIPTION"}};
  for (const SchemaRow& row : schema) {
    lines.push_back({row.key, row.type, row.min, row.max, row.step, row.value, row.description});
  }
  std::array<size_t, kColumns> widths{};
  for (const Cells& cells : lines) {
    for (size_t i = 0; i < kColumns; ++i) {
      widths[i] = std::max(widths[i], cells[i].size());
    }
  }
  const size_t width = terminalWidth(STDOUT_FILENO);
  for (const Cells& cells : lines) {
    std::string line = fmt::format("{:<{}}  {:<{}}", cells[0], widths[0], cells[1], widths[1]);
    for (size_t i = 2; i + 1 < kColumns; ++i) {
      line += fmt::format("  {:>{}}", cells[i], widths[i]);
    }
    const size_t column = line.size() + 2;
    if (column + kLeastColumns <= width) {
      printFolded(line + "  " + cells.back(), column);
    } else {
      printFolded(line, kBelow);
      printFolded(std::string(kBelow, ' ') + cells.back(), kBelow);
    }
  }
}

}  // namespace

void showSchema(const Library& library, const std::string& camera, const std::string& sensor, bool raw) {
  const vysim_family& family = parseFamily(camera);
  const VYSensorType type = parseSensor(sensor);
  const Device device = makeDevice(family);
  const Context context(library, device.get());
  const Processor processor = context.makeProcessor(family.name, type);
  if (raw) {
    fmt::print("{}", processor.schemaText());
    return;
  }
  printTable(processor.schema());
  const bool hasBooleans = std::any_of(processor.schema().begin(), processor.schema().end(),
                                       [](const SchemaRow& row) { return row.type == "boolean" && !row.isSwitch(); });
  if (hasBooleans) {
    fmt::print("\n");
    printFolded(
        "A boolean item shows 0 for its range and value whatever they are; only the switches (#255) show their state.",
        0);
  }
}

}  // namespace vycam
