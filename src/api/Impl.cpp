// The exported functions: each checks its arguments and forwards to the objects.
#include <vy_frame_processor.h>

#include <memory>
#include <utility>

#include "CommitHash.h"
#include "api/FrameProcessorContext.h"
#include "device/deviceInfoConfig.h"
#include "host/commonTypes.h"
#include "processor/FrameProcessor.h"

/// The handles are these objects themselves.
struct vy_frame_processor_context_t {
  std::shared_ptr<FrameProcessorContext> context;
};

struct vy_frame_processor_t {
  std::shared_ptr<IFrameProcessor> processor;  ///< empty for a sensor without a chain
};

namespace {

constexpr const char* kNullArgument = "NULL pointer passed for argument";

bool hasProcessor(const vy_frame_processor_t* handle) {
  return handle != nullptr && handle->processor != nullptr;
}

}  // namespace

vy_frame_processor_context_t* vy_create_frame_processor_context(vy_device_t* device, vy_error** error) {
  if (!checkArgument(device != nullptr, kNullArgument, __func__, error)) return nullptr;
  auto context = std::make_shared<FrameProcessorContext>();
  if (!context->registerDeviceHandle(device, error)) return nullptr;
  return new vy_frame_processor_context_t{std::move(context)};
}

void vy_destroy_frame_processor_context(vy_frame_processor_context_t* context, vy_error** error) {
  if (!checkArgument(context != nullptr, kNullArgument, __func__, error)) return;
  delete context;
}

vy_frame_processor_t* vy_create_frame_processor(vy_frame_processor_context_t* context, VYSensorType sensor_type,
                                                vy_error** error) {
  if (!checkArgument(context != nullptr, kNullArgument, __func__, error)) return nullptr;
  auto handle = std::make_unique<vy_frame_processor_t>();
  handle->processor = context->context->createFrameProcessor(sensor_type);
  return handle.release();
}

void vy_destroy_frame_processor(vy_frame_processor_t* processor, vy_error** error) {
  if (!checkArgument(processor != nullptr, kNullArgument, __func__, error)) return;
  delete processor;
}

vy_frame_t* vy_frame_processor_process_frame(vy_frame_processor_t* processor, vy_frame_t* frame, vy_error** error) {
  if (!checkArgument(hasProcessor(processor) && frame != nullptr, kNullArgument, __func__, error)) return nullptr;
  return processor->processor->process(frame, error);
}

const char* vy_frame_processor_get_config_schema(vy_frame_processor_t* processor, vy_error** error) {
  if (!checkArgument(hasProcessor(processor), kNullArgument, __func__, error)) return nullptr;
  return processor->processor->getConfigSchema(error);
}

void vy_frame_processor_update_config(vy_frame_processor_t* processor, uint8_t argc, const char** argv,
                                      vy_error** error) {
  if (!checkArgument(hasProcessor(processor), kNullArgument, __func__, error)) return;
  processor->processor->updateConfig(argc, argv, error);
}

void vy_frame_processor_set_hardware_d2c_params(vy_frame_processor_t* processor, VYCameraIntrinsic intrinsic,
                                                uint8_t reserved_byte, float scale, int16_t pad_left, int16_t pad_top,
                                                int16_t pad_right, int16_t pad_bottom, bool apply_scale,
                                                bool reserved_flag, vy_error** error) {
  if (!checkArgument(hasProcessor(processor), kNullArgument, __func__, error)) return;
  // An owner of its own: a concurrent destroy must not free the processor in the middle of the call.
  const std::shared_ptr<IFrameProcessor> owner = processor->processor;
  auto* const depth = dynamic_cast<DepthFrameProcessor*>(owner.get());
  if (depth == nullptr) return;
  depth->setHardwareD2CParams(intrinsic, reserved_byte, scale, pad_left, pad_top, pad_right, pad_bottom, apply_scale,
                              reserved_flag);
}

void vy_set_device_info_data(int type, const uint8_t* data, int size, vy_error** error) {
  if (!checkArgument(data != nullptr && size != 0, "Fail to set device info data", __func__, error)) return;
  deviceInfoConfig::replaceList(type, data, size);
}

const char* vy_get_commit_hash(void) {
  return VY_COMMIT_HASH;
}
