#include "Support.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  testing::GTEST_FLAG(throw_on_failure) = true;  // nobody catches it: the program ends where the EXPECT stands
  setAllDeviceLists();
  return 0;
}

const std::vector<SensorCase>& allSensors() {
  static const auto& all = *[] {
    auto* const sensors = new std::vector<SensorCase>;
    for (std::size_t i = 0; i < vysim_family_count(); ++i) {
      for (SensorCase& sensor : openSensors(*vysim_family_at(i))) sensors->push_back(std::move(sensor));
    }
    return sensors;
  }();
  return all;
}

Balance::Balance() {
  for (int kind = 0; kind < VYSIM_KIND_COUNT; ++kind) before_[kind] = vysim_live_count(static_cast<vysim_kind>(kind));
}

long Balance::grown(vysim_kind kind) const {
  return static_cast<long>(vysim_live_count(kind)) - static_cast<long>(before_[kind]);
}

void Balance::expectLevel() const {
  for (int kind = 0; kind < VYSIM_KIND_COUNT; ++kind) {
    EXPECT_EQ(grown(static_cast<vysim_kind>(kind)), 0)
        << vysim_kind_name(static_cast<vysim_kind>(kind)) << " objects left over";
  }
}
