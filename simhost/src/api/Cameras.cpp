// Exported functions of camera families and virtual cameras.
#include <fmt/core.h>

#include "api/Call.h"
#include "camera/Camera.h"
#include "camera/Families.h"

using tavrix::arg;
using tavrix::Camera;
using tavrix::ExceptionType;
using tavrix::Failure;
using tavrix::guarded;
using tavrix::Ref;
using tavrix::Refusal;
using tavrix::resolve;

namespace {

/// A const handle will do, as the camera locks itself.
Camera& cameraOf(const vysim_camera* camera) {
  return resolve<Camera>(camera, "camera");
}

const tavrix::Family& familyOf(const char* name) {
  if (name == nullptr) throw Refusal(ExceptionType::invalidValue, "NULL pointer passed for argument family");
  const tavrix::Family* family = tavrix::findFamily(name);
  if (family != nullptr) return *family;
  throw Failure(ExceptionType::notFound,
                fmt::format("there is no camera family \"{}\"; there are {}", name, tavrix::familyNames()));
}

}  // namespace

extern "C" {

size_t vysim_family_count(void) {
  return tavrix::families().size();
}

const vysim_family* vysim_family_at(size_t index) {
  const std::vector<tavrix::Family>& all = tavrix::families();
  return index < all.size() ? &all[index].shown : nullptr;
}

const vysim_family* vysim_find_family(const char* name) {
  const tavrix::Family* family = name != nullptr ? tavrix::findFamily(name) : nullptr;
  return family != nullptr ? &family->shown : nullptr;
}

int vysim_device_list(int list_type, const uint8_t** data) {
  const tavrix::DeviceList* const list = tavrix::findDeviceList(list_type);
  if (data != nullptr) *data = list != nullptr ? list->bytes : nullptr;
  return list != nullptr ? list->size : 0;
}

vysim_camera* vysim_open_camera(const char* family, const vysim_camera_options* options, vy_error** error) {
  return guarded(
      __func__, error,
      [&] {
        return Ref<Camera>::make(familyOf(family), options != nullptr ? *options : vysim_camera_options{}).detach();
      },
      arg("family", family));
}

void vysim_close_camera(vysim_camera* camera, vy_error** error) {
  guarded(
      __func__, error, [&] { Ref<Camera>::release(camera, "camera"); }, arg("camera", camera));
}

vy_device_t* vysim_camera_get_device(const vysim_camera* camera, vy_error** error) {
  return guarded(
      __func__, error, [&] { return cameraOf(camera).device().handle(); }, arg("camera", camera));
}

vy_frame_t* vysim_camera_next_frame(vysim_camera* camera, VYSensorType sensor, vy_error** error) {
  const auto sensorNumber = static_cast<int>(sensor);
  return guarded(
      __func__, error, [&] { return cameraOf(camera).nextFrame(sensor).detach(); }, arg("camera", camera),
      arg("sensor", sensorNumber));
}

vy_frame_t* vysim_camera_make_frame(vysim_camera* camera, VYSensorType sensor, uint32_t number, const uint8_t* data,
                                    size_t size, vy_error** error) {
  const auto sensorNumber = static_cast<int>(sensor);
  const auto bytes = static_cast<uint32_t>(size);
  return guarded(
      __func__, error,
      [&] {
        Camera& asked = cameraOf(camera);
        if (data == nullptr) throw Refusal(ExceptionType::invalidValue, "NULL pointer passed for argument data");
        return asked.frameOf(sensor, number, data, size).detach();
      },
      arg("camera", camera), arg("sensor", sensorNumber), arg("number", number), arg("size", bytes));
}

void vysim_camera_pause(vysim_camera* camera, bool paused, vy_error** error) {
  guarded(
      __func__, error, [&] { cameraOf(camera).pause(paused); }, arg("camera", camera), arg("paused", paused));
}

void vysim_camera_get_truth(vysim_camera* camera, const vy_frame_t* frame, uint16_t* depth_mm, vy_error** error) {
  guarded(
      __func__, error,
      [&] {
        Camera& asked = cameraOf(camera);
        const tavrix::Frame& shown = resolve<tavrix::Frame>(frame, "frame");
        if (depth_mm == nullptr)
          throw Refusal(ExceptionType::invalidValue, "NULL pointer passed for argument depth_mm");
        asked.truth(shown, depth_mm);
      },
      arg("camera", camera), arg("frame", frame));
}

double vysim_camera_get_depth_tolerance(const vysim_camera* camera, uint16_t depth_mm, vy_error** error) {
  const auto millimetres = static_cast<uint32_t>(depth_mm);
  return guarded(
      __func__, error, [&] { return cameraOf(camera).toleranceMm(depth_mm); }, arg("camera", camera),
      arg("depth_mm", millimetres));
}

}  // extern "C"
