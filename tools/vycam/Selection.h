// Names that people type: camera families, sensors, frame sizes.
#pragma once

#include <TavrixSDK.h>
#include <tavrix_sim.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vycam {

struct FrameSize {
  uint32_t width = 0;
  uint32_t height = 0;
};

/// All families the host knows, in its order.
std::vector<const vysim_family*> allFamilies();
/// The family of that name; an unknown one is a Failure that lists the known ones.
const vysim_family& parseFamily(const std::string& name);

/// Every sensor type that the library may have a chain for.
std::vector<VYSensorType> allSensors();
/// The sensor of that name or number; an unknown one is a Failure that lists the known ones.
VYSensorType parseSensor(const std::string& name);
std::string sensorName(VYSensorType sensor);

/// Reads "640x480".
FrameSize parseFrameSize(const std::string& text);

/// The stream that a family's cameras deliver for a sensor, or null.
const vysim_stream* findStream(const vysim_family& family, VYSensorType sensor);

}  // namespace vycam
