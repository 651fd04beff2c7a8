// The catalogue: which filters the frames of each camera family pass, sensor by sensor.
#include "device/ChainCatalogue.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "device/deviceInfoConfig.h"

namespace {

/// Rows of a constant table.
template <typename Row>
class TableView {
 public:
  constexpr TableView() = default;
  template <std::size_t count>
  constexpr TableView(const Row (&rows)[count]) : first_(rows), last_(rows + count) {}  // NOLINT: a table is its view

  constexpr const Row* begin() const { return first_; }
  constexpr const Row* end() const { return last_; }
  constexpr std::size_t size() const { return static_cast<std::size_t>(last_ - first_); }

 private:
  const Row* first_ = nullptr;
  const Row* last_ = nullptr;
};

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

struct FilterRow {
  const char* name;
  std::int8_t enabled;
  std::int8_t kind;
  TableView<const char*> initialArgs;
  ItemList exposedItems;
};

/// The chain of one sensor: its own filters, then those of its orientation tail.
struct SensorChain {
  int sensorType;
  TableView<FilterRow> filters;
  TableView<FilterRow> tail;
};

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

TableView<SensorChain> findFamily(unsigned vid, unsigned pid) {
  using namespace deviceInfoConfig;
  // The lists that the host fills come before the fixed ones: it may move nearly any camera into their families.
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

FilterConfig makeRecord(const FilterRow& row) {
  FilterConfig record;
  record.name = row.name;
  record.enabled = row.enabled;
  record.kind = row.kind;
  record.initialArgs.assign(row.initialArgs.begin(), row.initialArgs.end());
  record.exposedItems.assign(row.exposedItems.items, row.exposedItems.items + row.exposedItems.count);
  return record;
}

}  // namespace

std::map<VYSensorType, std::vector<FilterConfig>> deviceInfoConfig::makeFamilyChains(unsigned vid, unsigned pid) {
  std::map<VYSensorType, std::vector<FilterConfig>> chains;
  for (const SensorChain& sensor : findFamily(vid, pid)) {
    std::vector<FilterConfig>& chain = chains[static_cast<VYSensorType>(sensor.sensorType)];
    chain.reserve(sensor.filters.size() + sensor.tail.size());
    for (const FilterRow& row : sensor.filters) chain.push_back(makeRecord(row));
    for (const FilterRow& row : sensor.tail) chain.push_back(makeRecord(row));
  }
  return chains;
}
