// The filters that the command demands of a host, against those that the library asks for.
#include "KnownFilters.h"

#include <fmt/format.h>

#include <map>
#include <sstream>

#include "support/CommandTest.h"

namespace {

using KnownFiltersTest = CommandTest;

/// What chains say of the host's filters, by name: "private", items, "(initial arguments)".
using Demands = std::map<std::string, std::set<std::string>>;

TEST_F(KnownFiltersTest, AreThoseOfEveryChain) {
  Demands asked;
  std::istringstream chains(shell("'" VYHOST_VYCAM "' families --csv | tr -d '\"' | tail -n +2").out);
  std::map<std::string, std::map<std::string, std::string>>
      hostNames;  // by "FAMILY SENSOR", then by the library's name
  for (std::string line; std::getline(chains, line);) {
    std::vector<std::string> cells;
    std::istringstream row(line + ",-");
    for (std::string cell; std::getline(row, cell, ',');) cells.push_back(cell);
    ASSERT_GE(cells.size(), 13U) << line;
    std::set<std::string>& demands = asked[cells[6]];
    if (cells[5] != cells[6]) demands.insert("private");
    if (!cells[8].empty()) demands.insert("(" + cells[8] + ")");
    hostNames[cells[0] + " --sensor " + cells[2]][cells[5]] = cells[6];
  }
  ASSERT_EQ(hostNames.size(), 36U);
  for (auto& [stream, names] : hostNames) {
    std::istringstream items(shell("'" VYHOST_VYCAM "' schema --raw --camera " + stream).out);
    for (std::string line; std::getline(items, line);) {
      const std::size_t end = line.find('#');
      const std::string item = line.substr(end + 1, line.find(',') - end - 1);
      if (item != "255") asked[names.at(line.substr(0, end))].insert(item);  // but for the switch that every filter has
    }
  }
  // Given for each frame size, not when the filter is made.
  asked["DepthResize"].insert("(960 720 1.500000000 0 0 0 0)");

  Demands known;
  for (const vyhost::KnownFilter& filter : vyhost::knownFilters()) {
    std::set<std::string>& demands = known[filter.name];
    if (filter.isPrivate) demands.insert("private");
    for (const std::uint32_t item : filter.published) demands.insert(std::to_string(item));
    for (const auto& arguments : filter.initialArguments)
      demands.insert(fmt::format("({})", fmt::join(arguments, " ")));
    EXPECT_EQ(vyhost::findKnownFilter(filter.name), &filter);
  }
  EXPECT_EQ(known, asked);
  EXPECT_EQ(known.size(), vyhost::knownFilters().size());
  EXPECT_EQ(vyhost::findKnownFilter("HardwareD2CProcessor"), nullptr);
}

}  // namespace
