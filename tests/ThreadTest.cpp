// Cameras of all families at once, each on a thread of its own. Made for the thread sanitizer; in other builds each
// thread must still get what a lone thread got.
#include <stdexcept>

#include "support/AllThreads.h"
#include "support/Scenario.h"

namespace {

constexpr int kRounds = 4;

struct Family {
  std::string name;
  std::vector<SensorCase> sensors;
  std::vector<std::string> expected;  ///< by sensor: its transcript
};

/// All that a scenario gives, as a text: errors, widths and bytes of frames, the schema.
class Transcript : public Scenario {
 public:
  using Scenario::Scenario;

  std::string take() {
    run();
    return text_ + schema();
  }

 private:
  void call(Step /*step*/, const Work& work) override {
    ErrorSlot error;
    work(error);
    if (error.isSet()) text_ += error.take().message + "\n";
  }

  void receive(const Frame& /*input*/, Frame output) override {
    if (output == nullptr) {
      text_ += "no frame\n";
      return;
    }
    const auto* const bytes = reinterpret_cast<const char*>(vysim_frame_get_data(output.get(), nullptr));
    text_ += std::to_string(vy_video_frame_get_width(output.get(), nullptr)) + ":";
    text_.append(bytes, vysim_frame_get_size(output.get(), nullptr)) += "\n";
  }

  std::string text_;
};

class ThreadTest : public HostTest {
 protected:
  ThreadTest() {
    setAllDeviceLists();
    for (std::size_t i = 0; i < vysim_family_count(); ++i) {
      Family family = {vysim_family_at(i)->name, openSensors(*vysim_family_at(i)), {}};
      for (const SensorCase& sensor : family.sensors) family.expected.push_back(Transcript(sensor).take());
      families_.push_back(std::move(family));
    }
  }

  const Frame& depthInputOf(const std::string& name) const {
    for (const Family& family : families_) {
      for (const SensorCase& sensor : family.sensors) {
        if (family.name == name && sensor.sensor == VY_SENSOR_DEPTH) return sensor.inputs.front();
      }
    }
    throw std::logic_error("no family " + name);
  }

  std::vector<Family> families_;
};

TEST_F(ThreadTest, CamerasOfAllFamiliesDoNotDisturbEachOther) {
  // Each thread starts with another family, so that the registry is made, shared and dropped by ever other ones.
  onAllThreads([&](int number) {
    for (std::size_t turn = 0; turn < kRounds * families_.size(); ++turn) {
      const Family& family = families_[(turn + static_cast<std::size_t>(number)) % families_.size()];
      for (std::size_t i = 0; i < family.sensors.size(); ++i) {
        EXPECT_TRUE(Transcript(family.sensors[i]).take() == family.expected[i]) << family.name << " sensor " << i;
      }
    }
  });
}

// All threads share one context: its registry grows, and schema lists come and go, while other threads look filters up.
TEST_F(ThreadTest, ProcessorsOfOneContextAreMadeAndUsedOnAllThreads) {
  const OpenDevice camera = openDevice(kSpecialOpenNI);
  const std::string schema = schemaOf(makeProcessor(camera.context, kDepth));
  const std::vector<std::string> texts = valuesInForce(schema);
  const Frame& input = depthInputOf("SpecialOpenNI");
  onAllThreads([&](int number) {
    for (int round = 0; round < 5 * kRounds; ++round) {
      makeProcessor(camera.context, 100 + number);  // a sensor without a chain
      const Processor processor = makeProcessor(camera.context, kDepth);
      EXPECT_EQ(schemaOf(processor), schema);
      EXPECT_EQ(updateConfig(processor, pointersTo(texts)), kNoError);
      setHardwareD2C(processor, {{20, 20, 8, 4, 16, 8}, 1, 0, 0, 0, 0, true});
      const Outcome outcome = process(processor, input);
      EXPECT_EQ(outcome.error, kNoError);
      EXPECT_NE(outcome.frame, nullptr);
    }
  });
  EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 1);
}

}  // namespace
