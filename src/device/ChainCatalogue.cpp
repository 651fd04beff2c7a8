// The catalogue: which filters the frames of each camera family pass, sensor by sensor.
#include "device/ChainCatalogue.h"

#include <algorithm>
#include <initializer_list>

#include "device/deviceInfoConfig.h"

namespace {

/// Published items of a filter, few enough to stand inside a table row.
struct ItemList {
  std::uint8_t items[9] = {};
  std::uint8_t count = 0;

  constexpr ItemList(std::initializer_list<std::uint8_t> list) {
    for (const std::uint8_t item : list) items[count++] = item;
  }
};

constexpr std::int8_t kHost = FilterConfig::kHostFilter;
constexpr std::int8_t kOwn = FilterConfig::kPrivateFilter;

}  // namespace

struct FilterRow {
  const char* name;
  std::int8_t enabled;
  std::int8_t kind;
  TableView<const char*> initialArgs;
  ItemList exposedItems;
};

namespace {

// clang-format off

// ---- The end of every chain ----------------------------------------------------------------------------------------

constexpr FilterRow kTail[] = {
    // name          enabled  kind   initialArgs  exposedItems
    {"FrameMirror",  0,       kHost, {},          {255}},
    {"FrameFlip",    0,       kHost, {},          {255}},
    {"FrameRotate",  1,       kHost, {},          {0}},
};
/// The infrared sensors of some families deliver a mirrored image; the switch starts on there.
constexpr FilterRow kMirroredTail[] = {
    {"FrameMirror",  1,       kHost, {},          {255}},
    {"FrameFlip",    0,       kHost, {},          {255}},
    {"FrameRotate",  1,       kHost, {},          {0}},
};

// ---- What "NoiseRemovalFilter" starts with, family by family ------------------------------------------------------

constexpr const char* kTalonNoise[]          = {"80", "256", "848", "480"};
constexpr const char* kMirelNoise[]          = {"240", "512", "1280", "960"};
constexpr const char* kPellanNoise[]         = {"40", "512", "1280", "800"};
constexpr const char* kCorvidNoise[]         = {"200", "256", "1280", "800"};
constexpr const char* kHaldenNoise[]         = {"1000", "256", "800", "600"};
constexpr const char* kOstrelNoise[]         = {"50", "10", "640", "576"};
constexpr const char* kVashtiNoise[]         = {"50", "10", "640", "576"};
constexpr const char* kSpecialOpenNINoise[]  = {"400", "256", "1280", "800"};
constexpr const char* kNormalOpenNINoise[]   = {"400", "256", "1280", "800"};

// ---- What stands before the end -------------------------------------------------------------------------------------

constexpr FilterRow kUnpack[] = {
    {"FrameUnpacker",                1, kHost, {}, {}},
};
constexpr FilterRow kTalonDepth[] = {
    {"TalonFrameUnpacker",           1, kHost, {}, {}},
    {"NoiseRemovalFilter",           1, kHost, kTalonNoise, {0, 1, 255}},
    {"DisparityTransform",           1, kHost, {}, {2, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
    {"HardwareD2DCorrectionFilter",  1, kHost, {}, {255}},
};
constexpr FilterRow kMirelDepth[] = {
    {"FrameUnpacker",                1, kHost, {}, {}},
    {"NoiseRemovalFilter",           1, kHost, kMirelNoise, {0, 1, 255}},
    {"DisparityTransform",           1, kHost, {}, {2, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};
constexpr FilterRow kPellanDepth[] = {
    {"TiberonDecompress",            1, kHost, {}, {}},
    {"NoiseRemovalFilter",           1, kHost, kPellanNoise, {0, 1, 255}},
    {"DisparityTransform",           1, kHost, {}, {2, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};
constexpr FilterRow kCorvidDepth[] = {
    {"CorvidPixelOffsetFix",         1, kHost, {}, {}},
    {"FrameUnpacker",                1, kHost, {}, {}},
    {"NoiseRemovalFilter",           1, kHost, kCorvidNoise, {0, 1, 255}},
    {"DisparityTransform",           1, kHost, {}, {2, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};
constexpr FilterRow kHaldenDepth[] = {
    {"FrameUnpacker",                1, kHost, {}, {}},
    {"NoiseRemovalFilter",           1, kHost, kHaldenNoise, {0, 1, 255}},
    {"DisparityTransform",           1, kHost, {}, {2, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};
constexpr FilterRow kOstrelDepth[] = {
    {"NoiseRemovalFilter",           0, kHost, kOstrelNoise, {0, 1, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};
constexpr FilterRow kVashtiDepth[] = {
    {"NoiseRemovalFilter",           0, kHost, kVashtiNoise, {0, 1, 255}},
};
constexpr FilterRow kSorrelDepth[] = {
    {"FrameUnpacker",                1, kHost, {}, {}},
    {"DisparityTransform",           1, kHost, {}, {2, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};
constexpr FilterRow kSpecialOpenNIDepth[] = {
    {"FrameUnpacker",                1, kHost, {}, {}},
    {"NoiseRemovalFilter",           1, kHost, kSpecialOpenNINoise, {0, 1, 255}},
    {"DisparityTransform",           1, kOwn,  {}, {2, 255, 3, 4, 5, 6, 7, 8, 9}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};
constexpr FilterRow kNormalOpenNIDepth[] = {
    {"FrameUnpacker",                1, kHost, {}, {}},
    {"NoiseRemovalFilter",           1, kHost, kNormalOpenNINoise, {0, 1, 255}},
    {"DisparityTransform",           1, kHost, {}, {2, 255}},
    {"HardwareD2CProcessor",         0, kOwn,  {}, {255}},
};

// ---- The chains of each family -------------------------------------------------------------------------------------
// Sensors: 1 infrared, 2 colour, 3 depth, 6 left infrared, 7 right infrared, 9.

constexpr SensorChain kTalon[]         = {{2, {}, kTail}, {3, kTalonDepth, kTail},
                                          {6, kUnpack, kTail}, {7, kUnpack, kTail}};
constexpr SensorChain kMirel[]         = {{2, {}, kTail}, {3, kMirelDepth, kTail},
                                          {6, kUnpack, kTail}, {7, kUnpack, kTail}};
constexpr SensorChain kPellan[]        = {{2, {}, kTail}, {3, kPellanDepth, kTail},
                                          {6, {}, kTail}, {7, {}, kTail}, {9, {}, kTail}};
constexpr SensorChain kCorvid[]        = {{2, {}, kTail}, {3, kCorvidDepth, kTail}, {1, kUnpack, kMirroredTail},
                                          {6, kUnpack, kMirroredTail}, {7, kUnpack, kMirroredTail}};
constexpr SensorChain kHalden[]        = {{2, {}, kTail}, {3, kHaldenDepth, kTail}, {1, kUnpack, kMirroredTail}};
constexpr SensorChain kOstrel[]        = {{2, {}, kTail}, {3, kOstrelDepth, kTail}, {1, {}, kTail}};
constexpr SensorChain kVashti[]        = {{2, {}, kTail}, {3, kVashtiDepth, kTail}, {1, {}, kTail}};
constexpr SensorChain kSorrel[]        = {{2, {}, kTail}, {3, kSorrelDepth, kTail}, {1, {}, kMirroredTail}};
constexpr SensorChain kSpecialOpenNI[] = {{2, {}, kTail}, {3, kSpecialOpenNIDepth, kTail}, {1, kUnpack, kTail}};
constexpr SensorChain kNormalOpenNI[]  = {{2, {}, kTail}, {3, kNormalOpenNIDepth, kTail}, {1, kUnpack, kTail}};

// clang-format on

/// The families that are known by product id alone, in the order in which they are tried.
struct FixedFamily {
  TableView<std::uint16_t> productIds;
  TableView<SensorChain> chains;
};
constexpr FixedFamily kFixedFamilies[] = {
    {deviceInfoConfig::CorvidDevPids, kCorvid},
    {deviceInfoConfig::HaldenDevPids, kHalden},
    {deviceInfoConfig::OstrelDevPids, kOstrel},
    {deviceInfoConfig::VashtiDevPids, kVashti},
    {deviceInfoConfig::SorrelDevPids, kSorrel},
    {deviceInfoConfig::SpecialOpenNIDevPids, kSpecialOpenNI},
    {deviceInfoConfig::NormalOpenNIDevPids, kNormalOpenNI},
};

}  // namespace

namespace deviceInfoConfig {

TableView<SensorChain> findFamilyChains(unsigned vid, unsigned pid) {
  // The host's lists come first: it may move any camera into one of these families.
  if (isDeviceInContainer(TalonDevPids, vid, pid)) return kTalon;
  if (isDeviceInContainer(MirelDevPids, vid, pid)) return kMirel;
  if (pid == kFixedPellanPid && vid == kMakerVendorId) return kPellan;
  if (isDeviceInContainer(PellanDevPids, vid, pid)) return kPellan;
  if (vid != kMakerVendorId) return {};
  for (const FixedFamily& family : kFixedFamilies) {
    const auto& ids = family.productIds;
    if (std::find(ids.begin(), ids.end(), pid) != ids.end()) return family.chains;
  }
  return {};
}

std::vector<FilterConfig> makeChain(const SensorChain& chain) {
  std::vector<FilterConfig> records;
  records.reserve(chain.filters.size() + chain.tail.size());
  for (const TableView<FilterRow> rows : {chain.filters, chain.tail}) {
    for (const FilterRow& row : rows) {
      const auto& items = row.exposedItems;
      FilterConfig& record = records.emplace_back();
      record.name = row.name;
      record.enabled = row.enabled;
      record.kind = row.kind;
      record.initialArgs = row.initialArgs;
      record.exposedItems = TableView<std::uint8_t>(items.items, items.count);
    }
  }
  return records;
}

}  // namespace deviceInfoConfig
