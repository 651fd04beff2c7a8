// A camera's context and the processors of its sensors, made through the library's functions.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Chain.h"
#include "HardwareD2C.h"
#include "Host.h"
#include "Library.h"
#include "Schema.h"

namespace vycam {

struct ContextDelete {
  const LibraryFunctions* functions;
  void operator()(vy_frame_processor_context_t* context) const;
};

struct ProcessorDelete {
  const LibraryFunctions* functions;
  void operator()(vy_frame_processor_t* processor) const;
};

/// The processor of one sensor, its chain and its settings.
class Processor {
 public:
  Processor(const Library& library, vy_frame_processor_t* handle, std::string schemaText, Chain chain);

  const Chain& chain() const { return chain_; }
  const Schema& schema() const { return schema_; }
  const std::string& schemaText() const { return schemaText_; }

  /// Sends `settings`, and the schema's values for all others. Sends nothing when `settings` is empty.
  void apply(const std::vector<std::string>& settings);
  void setHardwareD2C(const VYCameraIntrinsic& intrinsic, const HardwareD2C& parameters);
  Frame process(vy_frame_t* frame);

 private:
  const LibraryFunctions* functions_;
  std::unique_ptr<vy_frame_processor_t, ProcessorDelete> handle_;
  std::string schemaText_;
  Schema schema_;
  Chain chain_;
};

/// The context of one camera.
class Context {
 public:
  Context(const Library& library, vy_device_t* device);

  /// The processor of a sensor; none if the library has no chain for it.
  std::optional<Processor> findProcessor(VYSensorType sensor) const;
  /// As findProcessor(), but a sensor without a chain is a Failure that names those with one.
  Processor makeProcessor(const std::string& family, VYSensorType sensor) const;

 private:
  const Library* library_;
  std::unique_ptr<vy_frame_processor_context_t, ContextDelete> handle_;
};

/// A device with the ids of a family's first product but no camera: enough for the library to build the family's
/// chains.
Device makeDevice(const vysim_family& family);

}  // namespace vycam
