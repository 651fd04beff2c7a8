// Every camera family: how it is recognised, and its chains, against a table written for this test.
#include <map>

#include "support/HostFilters.h"
#include "support/HostTest.h"

namespace {

// ---- What is expected ---------------------------------------------------------------------------

// A filter reads: name, starts on or off, made by the host or (own) by the library, (its arguments), {published items}.

const std::string kTail = "FrameMirror off host {255}; FrameFlip off host {255}; FrameRotate on host {0}; ";
const std::string kMirroredTail = "FrameMirror on host {255}; FrameFlip off host {255}; FrameRotate on host {0}; ";
const std::string kUnpack = "FrameUnpacker on host {}; ";
const std::string kTransform = "DisparityTransform on host {2 255}; ";
const std::string kD2C = "HardwareD2CProcessor off own {255}; ";

std::string noise(const std::string& arguments, const std::string& state = "on") {
  return "NoiseRemovalFilter " + state + " host (" + arguments + ") {0 1 255}; ";
}

// clang-format off
struct Family {
  const char* name;
  int listType;           ///< type of the list with its product ids; -1 for fixed ids
  std::vector<int> pids;  ///< fixed product ids
  std::string depth;      ///< without kTail, which ends it; kTail alone is every colour chain
  std::map<int, std::string> others;
};
const Family kFamilies[] = {
    {"Talon", 0, {},
     "TalonFrameUnpacker on host {}; " + noise("80 256 848 480") + kTransform + kD2C +
     "HardwareD2DCorrectionFilter on host {255}; ",
     {{6, kUnpack + kTail}, {7, kUnpack + kTail}}},
    {"Mirel", 3, {},
     kUnpack + noise("240 512 1280 960") + kTransform + kD2C,
     {{6, kUnpack + kTail}, {7, kUnpack + kTail}}},
    {"Pellan", 6, {0x416B},
     "TiberonDecompress on host {}; " + noise("40 512 1280 800") + kTransform + kD2C,
     {{6, kTail}, {7, kTail}, {9, kTail}}},
    {"Corvid", -1, {0x414B, 0x413A},
     "CorvidPixelOffsetFix on host {}; " + kUnpack + noise("200 256 1280 800") + kTransform + kD2C,
     {{1, kUnpack + kMirroredTail}, {6, kUnpack + kMirroredTail}, {7, kUnpack + kMirroredTail}}},
    {"Halden", -1, {0x41A1},
     kUnpack + noise("1000 256 800 600") + kTransform + kD2C,
     {{1, kUnpack + kMirroredTail}}},
    {"Ostrel", -1, {0x4181, 0x41AB}, noise("50 10 640 576", "off") + kD2C, {{1, kTail}}},
    {"Vashti", -1, {0x41F7}, noise("50 10 640 576", "off"), {{1, kTail}}},
    {"Sorrel", -1, {0x41B5, 0x41F3}, kUnpack + kTransform + kD2C, {{1, kMirroredTail}}},
    {"SpecialOpenNI", -1,
     {0x4166, 0x4148, 0x4177, 0x4149, 0x41BC, 0x41DF, 0x41E7, 0x4113, 0x41BE, 0x41A7, 0x4196},
     kUnpack + noise("400 256 1280 800") + "DisparityTransform on own {2 255 3 4 5 6 7 8 9}; " + kD2C,
     {{1, kUnpack + kTail}}},
    {"NormalOpenNI", -1, {0x417D, 0x41AD, 0x4119, 0x419F, 0x4110},
     kUnpack + noise("400 256 1280 800") + kTransform + kD2C,
     {{1, kUnpack + kTail}}},
};
// clang-format on

std::map<int, std::string> chainsOf(const Family& family) {
  std::map<int, std::string> chains = family.others;
  chains[kColor] = kTail;
  chains[kDepth] = family.depth + kTail;
  return chains;
}

// ---- What the host sees -------------------------------------------------------------------------

/// The text between two marks.
std::string between(const std::string& text, const std::string& before, const std::string& after) {
  const std::size_t begin = text.find(before);
  if (begin == std::string::npos) return {};
  return text.substr(begin + before.size(), text.find(after, begin + before.size()) - begin - before.size());
}

/// The published items of a filter, as its schema lines name them.
std::string publishedItems(const std::string& schema, const std::string& name) {
  std::string items;
  for (const Setting& setting : settingsOf(schema)) {
    if (setting.filter() == name) items += (items.empty() ? "" : " ") + setting.item();
  }
  return items;
}

std::string chainByCalls(const Context& context, int sensor) {
  Processor processor;
  const std::string calls = recordCalls([&] { processor = makeProcessor(context, sensor); });
  ErrorSlot error;
  const char* const schema = vy_frame_processor_get_config_schema(processor.get(), error);
  if (schema == nullptr) return {};

  const std::map<std::string, std::string> ownFilters = {{"DepthResize", "HardwareD2CProcessor"},
                                                         {"OpenNIDisparityTransform", "DisparityTransform"}};
  std::string text, name, kind, state, arguments;
  const auto flush = [&] {
    if (name.empty()) return;
    // The host does not know whether one of the library's own filters is on; the schema does.
    if (kind == "own") {
      state = std::string(schema).find(name + "#255, boolean, 0, 1, 1, 1, ") != std::string::npos ? "on" : "off";
    }
    text += name + " " + state + " " + kind + " " + arguments + "{" + publishedItems(schema, name) + "}; ";
  };
  for (const std::string& call : splitLines(calls)) {
    const bool isPublic = call.find("vy_create_filter(") == 0;
    if (isPublic || call.find("vy_create_private_filter(") == 0) {
      flush();
      name = between(call, "name: \"", "\"");
      kind = isPublic ? "host" : "own";
      if (!isPublic) name = ownFilters.at(name);
      state = arguments = "";
    } else if (call.find("vy_filter_update_config(") == 0) {
      arguments = "(";
      for (const char c : between(call, "[", "]")) arguments += c == '"' || c == ',' ? "" : std::string(1, c);
      arguments += ") ";
    } else if (call.find("vy_filter_enable(") == 0) {
      state = between(call, "enable: ", ")") == "true" ? "on" : "off";
    }
  }
  flush();
  return text;
}

std::map<int, std::string> chainsByCalls(int vid, int pid) {
  const OpenDevice device = openDevice(pid, vid);
  std::map<int, std::string> chains;
  for (int sensor = 0; sensor <= 15; ++sensor) {
    const std::string chain = chainByCalls(device.context, sensor);
    if (!chain.empty()) chains[sensor] = chain;
  }
  return chains;
}

// ---- Tests --------------------------------------------------------------------------------------

constexpr int kListedPid = 0x0351;
const std::vector<std::uint8_t> kListedBytes = deviceList({{kMaker, kListedPid}});

class DeviceCatalogueTest : public HostTest {
 protected:
  DeviceCatalogueTest() {
    // Each filter has ten items, so that every published item has its line in the schema.
    static const std::vector<VYFilterConfigSchemaItem> kTenItems(
        10, VYFilterConfigSchemaItem{"item", VY_FILTER_CONFIG_VALUE_TYPE_INT, 0, 1, 1, 0, "Item"});
    for (const HostFilter& filter : kHostFilters) {
      defineFilter({filter.name, nullptr, filter.isPrivate, kTenItems.data(), 10, nullptr, nullptr});
    }
  }

  /// The family that has these chains; no two have the same.
  static std::string familyOf(int vid, int pid) {
    const auto chains = chainsByCalls(vid, pid);
    if (chains.empty()) return "none";
    for (const Family& family : kFamilies) {
      if (chainsOf(family) == chains) return family.name;
    }
    return "a chain of no family";
  }
};

TEST_F(DeviceCatalogueTest, EveryProductHasTheChainsOfItsFamily) {
  for (const Family& family : kFamilies) {
    std::vector<int> pids = family.pids;
    if (family.listType >= 0) {
      setDeviceList(family.listType, kListedBytes);
      pids.push_back(kListedPid);
    }
    for (const int pid : pids) {
      SCOPED_TRACE(std::string(family.name) + " " + std::to_string(pid));
      EXPECT_EQ(chainsByCalls(kMaker, pid), chainsOf(family));
    }
    if (family.listType >= 0) setDeviceList(family.listType, {0});
  }
}

TEST_F(DeviceCatalogueTest, NobodyElseHasChains) {
  setDeviceList(0, kListedBytes);
  EXPECT_EQ(familyOf(kMaker, kListedPid), "Talon");
  const Ids cases[] = {
      {kMaker, 0x41A2},
      {kMaker, 0},
      {0x1234, 0x41A1},
      {0x1234, 0x416B},
      {0x713E, 0x41A1},
      {-1, -1},
      {kMaker, kListedPid + 1},
      {kListedPid, kMaker},
      // Ids of more than 16 bits are not cut.
      {kMaker + 65536, 0x41A1},
      {kMaker, 0x141A1},
      {kMaker + 65536, kListedPid},
      {kMaker, kListedPid + 65536},
  };
  for (const auto& [vid, pid] : cases) EXPECT_EQ(familyOf(vid, pid), "none") << vid << ", " << pid;
}

TEST_F(DeviceCatalogueTest, ListsComeBeforeFixedProductsInTheirOrder) {
  constexpr int kTalonList = 1, kMirelList = 2, kPellanList = 4;
  const struct {
    int vid, pid, lists;
    const char* family;
  } cases[] = {
      {kMaker, 0x41A1, 0, "Halden"},
      {kMaker, 0x41A1, kTalonList | kMirelList | kPellanList, "Talon"},
      {kMaker, 0x41A1, kMirelList | kPellanList, "Mirel"},
      {kMaker, 0x41A1, kPellanList, "Pellan"},
      {0x1234, 0x41A1, kMirelList, "Mirel"},
      {kMaker, 0x416B, 0, "Pellan"},  // though Corvid's list has this id as well
      {kMaker, 0x416B, kTalonList, "Talon"},
      {kMaker, 0x416B, kMirelList, "Mirel"},
      {0x1234, 0x416B, kPellanList, "Pellan"},
      {0x1234, 0x416B, 0, "none"},
      {0x1234, 0x414B, 0, "none"},
  };
  for (const auto& each : cases) {
    const Ids stranger = {kMaker, 0xFFFF};
    const std::vector<std::uint8_t> other = deviceList({stranger});
    const std::vector<std::uint8_t> listed = deviceList({stranger, {each.vid, each.pid}});
    setDeviceList(0, (each.lists & kTalonList) != 0 ? listed : other);
    setDeviceList(3, (each.lists & kMirelList) != 0 ? listed : other);
    setDeviceList(6, (each.lists & kPellanList) != 0 ? listed : other);
    EXPECT_EQ(familyOf(each.vid, each.pid), each.family) << each.vid << ", " << each.pid << " in lists " << each.lists;
  }
}

}  // namespace
