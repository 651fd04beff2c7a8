// The filters that the command demands of a host, against those that the library asks for.
#include "KnownFilters.h"

#include <map>
#include <sstream>

#include "support/CommandTest.h"

namespace {

using KnownFiltersTest = CommandTest;

/// What a chain says of one of the host's filters.
struct Demand {
  bool isPrivate = false;
  std::set<std::uint32_t> published;
  std::set<std::string> initialArguments;

  bool operator==(const Demand& other) const {
    return isPrivate == other.isPrivate && published == other.published && initialArguments == other.initialArguments;
  }
};

using Demands = std::map<std::string, Demand>;

void PrintTo(const Demands& demands, std::ostream* out) {
  for (const auto& [name, demand] : demands) {
    *out << "\n  " << name << (demand.isPrivate ? " (private)" : "");
    for (const std::uint32_t item : demand.published) *out << ' ' << item;
    for (const std::string& arguments : demand.initialArguments) *out << " (" << arguments << ')';
  }
}

TEST_F(KnownFiltersTest, AreThoseOfEveryChain) {
  Demands asked;
  std::istringstream chains(shell("'" VYHOST_VYCAM "' families --csv | tr -d '\"' | tail -n +2").out);
  std::map<std::string, std::map<std::string, std::string>>
      hostNames;  // by "FAMILY SENSOR", then by the library's name
  for (std::string line; std::getline(chains, line);) {
    std::vector<std::string> cells;
    std::istringstream row(line + ",-");
    for (std::string cell; std::getline(row, cell, ',');) cells.push_back(cell);
    ASSERT_EQ(cells.size(), 10U) << line;
    asked[cells[6]].isPrivate = cells[5] != cells[6];
    if (!cells[8].empty()) asked[cells[6]].initialArguments.insert(cells[8]);
    hostNames[cells[0] + " --sensor " + cells[2]][cells[5]] = cells[6];
  }
  ASSERT_EQ(hostNames.size(), 36U);
  for (auto& [stream, names] : hostNames) {
    std::istringstream items(shell("'" VYHOST_VYCAM "' schema --raw --camera " + stream).out);
    for (std::string line; std::getline(items, line);) {
      const unsigned long item = std::stoul(line.substr(line.find('#') + 1));
      // 255 is the switch that every filter has.
      if (item != 255)
        asked[names.at(line.substr(0, line.find('#')))].published.insert(static_cast<std::uint32_t>(item));
    }
  }
  // Given for each frame size, not when the filter is made.
  asked["DepthResize"].initialArguments = {"960 720 1.500000000 0 0 0 0"};

  Demands known;
  for (const vyhost::KnownFilter& filter : vyhost::knownFilters()) {
    Demand& demand = known[filter.name];
    demand.isPrivate = filter.isPrivate;
    demand.published.insert(filter.published.begin(), filter.published.end());
    for (const auto& arguments : filter.initialArguments) {
      std::string text;
      for (const char* argument : arguments) text += (text.empty() ? "" : " ") + std::string(argument);
      demand.initialArguments.insert(text);
    }
    EXPECT_EQ(vyhost::findKnownFilter(filter.name), &filter);
  }
  EXPECT_EQ(known, asked);
  EXPECT_EQ(known.size(), vyhost::knownFilters().size());
  EXPECT_EQ(vyhost::findKnownFilter("HardwareD2CProcessor"), nullptr);
}

}  // namespace
