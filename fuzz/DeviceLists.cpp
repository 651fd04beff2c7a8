// Any data as product-id lists, then cameras: each must be taken for the family that the order of the rules says.
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "Support.h"

namespace {

using List = std::vector<Ids>;

constexpr int kSensors = 11;

std::string schemaOfSensor(Ids camera, int sensor) {
  const OpenDevice device = openDevice(camera.second, camera.first);
  const Processor processor = makeProcessor(device.context, sensor);
  ErrorSlot noProcessor;
  const char* const schema = vy_frame_processor_get_config_schema(processor.get(), noProcessor);
  return schema != nullptr ? schema : "no processor";
}

/// A family, recognised by the schema texts of its sensors.
struct Family {
  std::string name;
  List cameras;
  std::string schemas[kSensors];
};

std::vector<Family> readFamilies() {
  setAllDeviceLists();
  std::vector<Family> families;
  for (std::size_t i = 0; i < vysim_family_count(); ++i) {
    const vysim_family& family = *vysim_family_at(i);
    Family& look = families.emplace_back();
    look.name = family.name;
    for (std::size_t pid = 0; pid < family.pid_count; ++pid) look.cameras.emplace_back(kMaker, family.pids[pid]);
    for (int sensor = 0; sensor < kSensors; ++sensor) look.schemas[sensor] = schemaOfSensor(look.cameras[0], sensor);
    for (std::size_t other = 0; other < i; ++other) EXPECT_NE(families[other].schemas[kDepth], look.schemas[kDepth]);
  }
  return families;
}

const std::vector<Family>& families() {
  static const auto& all = *new std::vector<Family>(readFamilies());
  return all;
}

bool holds(const List& list, Ids camera) {
  return std::find(list.begin(), list.end(), camera) != list.end();
}

/// The family of a camera, given the lists in the order of kListTypes; null for an unknown camera.
const Family* familyOf(const List (&lists)[3], Ids camera) {
  const auto named = [](const char* name) {
    return &*std::find_if(families().begin(), families().end(), [name](const Family& f) { return f.name == name; });
  };
  if (holds(lists[0], camera)) return named("Talon");
  if (holds(lists[1], camera)) return named("Mirel");
  if (holds(lists[2], camera) || camera == Ids{kMaker, 0x416B}) return named("Pellan");
  for (const char* const name : {"Corvid", "Halden", "Ostrel", "Vashti", "Sorrel", "SpecialOpenNI", "NormalOpenNI"}) {
    if (holds(named(name)->cameras, camera)) return named(name);
  }
  return nullptr;
}

class Run {
 public:
  Run(const std::uint8_t* data, std::size_t size) : input_(data, size) {}

  void run() {
    for (int step = 0; step < 12 && input_.remaining_bytes() > 0; ++step) {
      if (input_.ConsumeBool()) {
        replaceList();
      } else {
        openCamera();
      }
    }
  }

 private:
  std::size_t number(std::size_t highest) { return input_.ConsumeIntegralInRange<std::size_t>(0, highest); }

  /// Ids that a family has, that a list has, or any; now and then with one bit changed.
  Ids pickIds() {
    const List& list = lists_[number(2)];
    Ids ids = {kMaker, input_.ConsumeIntegral<std::uint16_t>()};
    if (input_.ConsumeBool()) {
      const List& known = families()[number(families().size() - 1)].cameras;
      ids = known[number(known.size() - 1)];
    } else if (!list.empty()) {
      ids = list[number(list.size() - 1)];
    }
    if (number(7) == 0) ids.first ^= 1 << number(30);
    if (number(7) == 0) ids.second ^= 1 << number(30);
    return ids;
  }

  void replaceList() {
    const std::size_t choice = number(4);
    const int type = choice < 3 ? kListTypes[choice] : input_.ConsumeIntegral<int>();
    List devices;
    for (std::size_t records = number(3); records > 0; --records) devices.push_back(pickIds());
    std::vector<std::uint8_t> bytes = deviceList(devices);
    bytes.resize(bytes.size() + number(3));
    // An array of the exact size, so that the sanitizer finds a byte read beyond it.
    const auto data = std::make_unique<std::uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), data.get());
    const bool isNull = number(15) == 0;
    const bool isNegative = number(15) == 0;
    const int size = isNegative ? input_.ConsumeIntegralInRange(INT32_MIN, -1) : static_cast<int>(bytes.size());

    ErrorSlot error;
    bool hasThrown = false;
    try {
      vy_set_device_info_data(type, isNull ? nullptr : data.get(), size, error);
    } catch (const std::length_error&) {
      hasThrown = true;
    }
    const bool isRefused = isNull || size == 0;
    const auto* const known = std::find(std::begin(kListTypes), std::end(kListTypes), type);
    EXPECT_EQ(error.take(), isRefused ? ownError("Fail to set device info data", "vy_set_device_info_data") : kNoError);
    EXPECT_EQ(hasThrown, !isRefused && known != std::end(kListTypes) && isNegative);
    if (isRefused || isNegative || known == std::end(kListTypes)) return;
    List& list = lists_[known - kListTypes];
    list.clear();
    for (const auto& [vid, pid] : devices) list.emplace_back(vid & 0xFFFF, pid & 0xFFFF);
  }

  void openCamera() {
    const Ids camera = pickIds();
    const int sensor = input_.ConsumeBool() ? kDepth : static_cast<int>(number(kSensors - 1));
    const Family* const family = familyOf(lists_, camera);
    EXPECT_EQ(schemaOfSensor(camera, sensor), family != nullptr ? family->schemas[sensor] : "no processor")
        << "sensor " << sensor << " of camera " << camera.first << ":" << camera.second << ", "
        << (family != nullptr ? family->name : "of no family");
  }

  FuzzedDataProvider input_;
  List lists_[3];
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  families();
  emptyDeviceLists();
  const Balance balance;
  Run(data, size).run();
  balance.expectLevel();
  expectNothingRefused();
  return 0;
}
