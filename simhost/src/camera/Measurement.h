#pragma once

#include <cstdint>
#include <vector>

#include "camera/Families.h"
#include "core/StreamProfile.h"

namespace tavrix {

/// How a depth sensor turns true depth into the raw values of its frames.
class Measurement {
 public:
  Measurement(const Family& family, const Calibration& calibration);

  /// Gives 0 for depths that the sensor cannot measure.
  void measure(const uint16_t* depthMm, uint16_t* raw, size_t count) const;
  /// Clears depths that the sensor cannot measure.
  void keepMeasurable(uint16_t* depthMm, size_t count) const;

  /// See vysim_camera_get_depth_tolerance().
  double toleranceMm(uint16_t depthMm) const;

 private:
  uint16_t convert(int depthMm, int largestRaw) const;
  /// The depth that the sensor takes a true depth for, before the chain corrects it.
  double believedDepth(double depthMm) const;

  const Calibration calibration_;
  const bool isStereo_;
  const double scale_;         ///< depth in millimetres * raw disparity
  std::vector<uint16_t> raw_;  ///< by true depth in millimetres
};

}  // namespace tavrix
