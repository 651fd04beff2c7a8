#include "Support.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  testing::GTEST_FLAG(throw_on_failure) = true;  // nobody catches it, so the program ends at the EXPECT
  expectNoRefusals();
  setAllDeviceLists();
  return 0;
}

void expectNothingRefused() {
  EXPECT_EQ(refusals(), Refusals());
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
