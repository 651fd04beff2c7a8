#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/HostTest.h"

/// A sensor of a virtual camera, and a few tiny raw frames from it.
struct SensorCase {
  std::string family;
  VYSensorType sensor;
  Device device;
  std::vector<Frame> inputs;
};

/// Every sensor of a family.
std::vector<SensorCase> openSensors(const vysim_family& family, std::uint32_t width = 16, std::uint32_t height = 8);
/// Sweeps try every Nth fault only: N is VYFP_SWEEP_STEP of the environment, or 1.
std::uint64_t sweepStep();
/// A value for each line of a schema text: switches on, everything else as it is.
std::vector<std::string> valuesInForce(const std::string& schema);

/// Everything that a host does with one sensor: open, make processors, frames, schema, settings, hardware D2C
/// parameters twice, frames again, close. A derived class makes and watches the calls. A call that gives no object has
/// the later calls on it left out.
class Scenario {
 public:
  enum class Step { kOpen, kMake, kFrame, kSchema, kSettings, kHardwareD2C, kDestroy, kClose };

  explicit Scenario(const SensorCase& sensor) : sensor_(sensor) {}
  virtual ~Scenario() = default;
  void run();

 protected:
  using Work = std::function<void(vy_error**)>;
  /// Does one call of the library.
  virtual void call(Step step, const Work& work) = 0;
  /// Takes the frame that came out, or null.
  virtual void receive(const Frame& input, Frame output) = 0;

  const SensorCase& sensor() const { return sensor_; }
  const std::string& schema() const { return schema_; }

 private:
  void runFrames(std::size_t count);
  void setHardwareD2C(float scale, std::int16_t border, bool applyScale);

  const SensorCase& sensor_;
  vy_frame_processor_context_t* context_ = nullptr;
  vy_frame_processor_t* processors_[2] = {};
  std::string schema_;
};
