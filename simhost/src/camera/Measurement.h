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

  /// 0 for depths that the sensor cannot measure.
  uint16_t rawOf(uint16_t depthMm) const { return raw_[depthMm]; }
  void measure(const uint16_t* depthMm, uint16_t* raw, size_t count) const;
  /// Clears depths that the sensor cannot measure.
  void keepMeasurable(uint16_t* depthMm, size_t count) const;

  /// How far the depth that comes out of the family's chain may lie from a true depth, in millimetres.
  double toleranceMm(uint16_t depthMm) const;

 private:
  uint16_t convert(int depthMm, int largestRaw) const;
  /// What the sensor believes to measure.
  double believedDepth(double depthMm) const;

  const Calibration calibration_;
  const bool isStereo_;
  const double scale_;  ///< depth in millimetres * raw disparity
  std::vector<uint16_t> raw_;
};

}  // namespace tavrix
