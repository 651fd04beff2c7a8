// Exported functions of devices and device infos.
#include "api/Call.h"
#include "core/Device.h"

using tavrix::arg;
using tavrix::call;
using tavrix::Device;
using tavrix::DeviceInfo;
using tavrix::guarded;
using tavrix::Ref;
using tavrix::resolve;

extern "C" {

vy_device_info_t* vy_device_get_device_info(const vy_device_t* device, vy_error** error) {
  return call(
      __func__, error, [=] { return Ref<DeviceInfo>::make(resolve<Device>(device, "device").ids).detach(); },
      arg("device", device));
}

int vy_device_info_get_vid(const vy_device_info_t* info, vy_error** error) {
  return call(
      __func__, error, [=] { return resolve<DeviceInfo>(info, "info").ids.vendor; }, arg("info", info));
}

int vy_device_info_get_pid(const vy_device_info_t* info, vy_error** error) {
  return call(
      __func__, error, [=] { return resolve<DeviceInfo>(info, "info").ids.product; }, arg("info", info));
}

void vy_delete_device_info(const vy_device_info_t* info, vy_error** error) {
  call(
      __func__, error, [=] { Ref<DeviceInfo>::release(info, "info"); }, arg("info", info));
}

vy_device_t* vysim_create_device(int vid, int pid) {
  return guarded(__func__, nullptr, [=] { return Ref<Device>::make(tavrix::DeviceIds{vid, pid}).detach(); });
}

void vysim_delete_device(vy_device_t* device, vy_error** error) {
  guarded(
      __func__, error, [=] { Ref<Device>::release(device, "device"); }, arg("device", device));
}

}  // extern "C"
