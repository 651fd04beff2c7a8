#include "Processor.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>

#include "Failure.h"
#include "Selection.h"

namespace vycam {

void ContextDelete::operator()(vy_frame_processor_context_t* context) const {
  functions->destroyContext(context, ErrorSlot());
}

void ProcessorDelete::operator()(vy_frame_processor_t* processor) const {
  functions->destroyProcessor(processor, ErrorSlot());
}

Processor::Processor(const Library& library, vy_frame_processor_t* handle, std::string schemaText, Chain chain)
    : functions_(&library.functions()),
      handle_(handle, ProcessorDelete{functions_}),
      schemaText_(std::move(schemaText)),
      schema_(parseSchema(schemaText_)),
      chain_(std::move(chain)) {}

void Processor::apply(const std::vector<std::string>& settings) {
  if (settings.empty()) {
    return;
  }
  const std::vector<std::string> values = valuesFor(schema_, settings);
  std::vector<const char*> arguments;
  arguments.reserve(values.size());
  for (const std::string& value : values) {
    arguments.push_back(value.c_str());
  }
  call("apply the settings", functions_->updateConfig, handle_.get(), static_cast<uint8_t>(arguments.size()),
       arguments.data());
}

void Processor::setHardwareD2C(const VYCameraIntrinsic& intrinsic, const HardwareD2C& p) {
  call("set the depth-to-colour parameters", functions_->setHardwareD2CParams, handle_.get(), intrinsic, uint8_t{0},
       p.scale, p.left, p.top, p.right, p.bottom, p.apply, false);
}

Frame Processor::process(vy_frame_t* frame) {
  Frame output;
  call("process a frame",
       [&](vy_error** error) { output.reset(functions_->processFrame(handle_.get(), frame, error)); });
  if (output == nullptr) {
    throw Failure("cannot process a frame: the library returned neither a frame nor an error");
  }
  return output;
}

Context::Context(const Library& library, vy_device_t* device)
    : library_(&library),
      handle_(call("open the camera in the library", library->createContext, device),
              ContextDelete{&library.functions()}) {}

std::optional<Processor> Context::findProcessor(VYSensorType sensor) const {
  const CallRecording recording;
  vy_frame_processor_t* const handle =
      call("make a frame processor", (*library_)->createProcessor, handle_.get(), sensor);
  std::unique_ptr<vy_frame_processor_t, ProcessorDelete> owner(handle, ProcessorDelete{&library_->functions()});
  ErrorSlot slot;
  const char* const text = (*library_)->getConfigSchema(handle, slot);
  if (slot.isSet() || text == nullptr) {
    return std::nullopt;  // a sensor without a chain gets a handle with nothing in it, which only shows here
  }
  Chain chain = chainFromCalls(CallRecording::calls(), parseSchema(text));
  return Processor(*library_, owner.release(), text, std::move(chain));
}

Processor Context::makeProcessor(const std::string& family, VYSensorType sensor) const {
  if (std::optional<Processor> processor = findProcessor(sensor)) {
    return std::move(*processor);
  }
  std::vector<std::string> names;
  for (const VYSensorType other : allSensors()) {
    if (findProcessor(other)) {
      names.push_back(sensorName(other));
    }
  }
  throw Failure(fmt::format("{} cameras have no chain for sensor {}; they have one for {}", family, sensorName(sensor),
                            names.empty() ? std::string("none") : fmt::format("{}", fmt::join(names, ", "))));
}

Device makeDevice(const vysim_family& family) {
  if (family.pid_count == 0) {
    throw Failure(fmt::format("the host knows no product of family {}", family.name));
  }
  return Device(vysim_create_device(family.vid, family.pids[0]));
}

}  // namespace vycam
