#include "support/Scenario.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::size_t kFrames = 3;

}  // namespace

std::vector<SensorCase> openSensors(const vysim_family& family, std::uint32_t width, std::uint32_t height) {
  vysim_camera_options options = {};
  options.width = width;
  options.height = height;
  const Camera camera(call(vysim_open_camera, family.name, &options));
  std::vector<SensorCase> sensors;
  for (std::size_t i = 0; i < family.stream_count; ++i) {
    const VYSensorType sensor = family.streams[i].sensor;
    SensorCase each = {family.name, sensor, Device(vysim_create_device(family.vid, family.pids[0])), {}};
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
      each.inputs.emplace_back(call(vysim_camera_next_frame, camera.get(), sensor));
    }
    sensors.push_back(std::move(each));
  }
  return sensors;
}

std::uint64_t sweepStep() {
  const char* const text = std::getenv("VYFP_SWEEP_STEP");
  return text != nullptr ? std::max(std::strtoull(text, nullptr, 10), 1ULL) : 1;
}

std::vector<std::string> valuesInForce(const std::string& schema) {
  std::vector<std::string> values;
  for (const Setting& setting : settingsOf(schema)) values.push_back(setting.isSwitch() ? "1" : setting.value);
  return values;
}

void Scenario::run() {
  call(Step::kOpen,
       [this](vy_error** error) { context_ = vy_create_frame_processor_context(sensor_.device.get(), error); });
  if (context_ == nullptr) return;
  for (vy_frame_processor_t*& processor : processors_) {
    call(Step::kMake,
         [&](vy_error** error) { processor = vy_create_frame_processor(context_, sensor_.sensor, error); });
  }
  if (processors_[0] != nullptr) {
    runFrames(kFrames);
    const char* schema = nullptr;
    call(Step::kSchema,
         [&](vy_error** error) { schema = vy_frame_processor_get_config_schema(processors_[0], error); });
    schema_ = schema != nullptr ? schema : "";
    const std::vector<std::string> texts = valuesInForce(schema_);
    std::vector<const char*> values = pointersTo(texts);
    call(Step::kSettings, [&](vy_error** error) {
      vy_frame_processor_update_config(processors_[0], static_cast<std::uint8_t>(values.size()), values.data(), error);
    });
    setHardwareD2C(1, 2, true);
    runFrames(1);
    setHardwareD2C(2, 0, false);
    runFrames(2);
  }
  for (vy_frame_processor_t* const processor : processors_) {
    if (processor == nullptr) continue;
    call(Step::kDestroy, [&](vy_error** error) { vy_destroy_frame_processor(processor, error); });
  }
  call(Step::kClose, [this](vy_error** error) { vy_destroy_frame_processor_context(context_, error); });
}

void Scenario::runFrames(std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const Frame& input = sensor_.inputs[i];
    vy_frame_t* output = nullptr;
    call(Step::kFrame,
         [&](vy_error** error) { output = vy_frame_processor_process_frame(processors_[0], input.get(), error); });
    receive(input, Frame(output));
  }
}

void Scenario::setHardwareD2C(float scale, std::int16_t border, bool applyScale) {
  const VYCameraIntrinsic intrinsic = {20, 20, 8, 4, 16, 8};
  call(Step::kHardwareD2C, [&](vy_error** error) {
    vy_frame_processor_set_hardware_d2c_params(processors_[0], intrinsic, 0, scale, border, border, 0, 0, applyScale,
                                               false, error);
  });
}
