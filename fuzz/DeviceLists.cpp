// Any data as product-id lists, then cameras: which family each is taken for
// must be what the order of the rules says.
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "Support.h"

namespace {

using Ids = std::pair<int, int>;  ///< vendor and product id
using List = std::vector<Ids>;

constexpr int kTypes[] = {0, 3, 6};
constexpr int kSensors = 11;

std::string schemaOfSensor(Ids camera, int sensor) {
  const OpenDevice device = openDevice(camera.second, camera.first);
  const Processor processor = makeProcessor(device.context, sensor);
  ErrorSlot noProcessor;
  const char* const schema = vy_frame_processor_get_config_schema(processor.get(), noProcessor);
  return schema != nullptr ? schema : "no processor";
}

/// A family, and how it looks: the schema text of every sensor.
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

/// What a camera is taken for, by the lists of the types in kTypes; null for an
/// unknown one.
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

  /// The ids of a camera: known to somebody, of a list at hand, or any; now and
  /// then with a bit more.
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
    const int type = choice < 3 ? kTypes[choice] : input_.ConsumeIntegral<int>();
    std::vector<std::uint8_t> bytes;
    for (std::size_t records = number(3); records > 0; --records) {
      const Ids ids = pickIds();
      for (const int byte : {ids.first, ids.first >> 8, ids.second, ids.second >> 8}) {
        bytes.push_back(static_cast<std::uint8_t>(byte & 0xFF));
      }
    }
    bytes.resize(bytes.size() + number(3));
    // Of its exact size, so that a byte read beyond it is found.
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
    const auto* const known = std::find(std::begin(kTypes), std::end(kTypes), type);
    EXPECT_EQ(error.take(), isRefused ? ownError("Fail to set device info data", "vy_set_device_info_data") : kNoError);
    EXPECT_EQ(hasThrown, !isRefused && known != std::end(kTypes) && isNegative);
    if (isRefused || isNegative || known == std::end(kTypes)) return;
    List& list = lists_[known - kTypes];
    list.clear();
    for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
      list.emplace_back(bytes[i] + 256 * bytes[i + 1], bytes[i + 2] + 256 * bytes[i + 3]);
    }
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
  for (const int type : kTypes) setDeviceList(type, {0});  // less than a record: empties the list
  const Balance balance;
  Run(data, size).run();
  balance.expectLevel();
  return 0;
}
