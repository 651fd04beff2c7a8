#include "camera/Measurement.h"

#include <cmath>

namespace tavrix {
namespace {

// The filters of the chains drop what is farther, unless they are set otherwise.
constexpr double kFarthestMm = 10000;

}  // namespace

Measurement::Measurement(const Family& family, const Calibration& calibration)
    : calibration_(calibration),
      isStereo_(calibration.baselineMm > 0),
      scale_(calibration.focalLengthPx * calibration.baselineMm * (1 << calibration.subPixelBits)),
      raw_(65536) {
  for (int depth = 1; depth < 65536; ++depth) raw_[static_cast<size_t>(depth)] = convert(depth, family.largestRaw);
}

double Measurement::believedDepth(double depthMm) const {
  return (depthMm - calibration_.depthOffsetMm) / calibration_.depthScale;
}

uint16_t Measurement::convert(int depthMm, int largestRaw) const {
  if (depthMm > kFarthestMm) return 0;
  if (!isStereo_) return static_cast<uint16_t>(depthMm);
  const double believed = believedDepth(depthMm);
  if (believed < 1) return 0;
  const double raw = std::floor(scale_ / believed + 0.5);
  if (raw < 1 || raw > largestRaw) return 0;
  // The rounded disparity may stand for a depth beyond what the filters keep.
  const double back = std::floor(scale_ / raw + 0.5);
  return back > kFarthestMm ? uint16_t{0} : static_cast<uint16_t>(raw);
}

void Measurement::measure(const uint16_t* depthMm, uint16_t* raw, size_t count) const {
  const uint16_t* table = raw_.data();
  for (size_t i = 0; i < count; ++i) raw[i] = table[depthMm[i]];
}

void Measurement::keepMeasurable(uint16_t* depthMm, size_t count) const {
  for (size_t i = 0; i < count; ++i) depthMm[i] = raw_[depthMm[i]] == 0 ? uint16_t{0} : depthMm[i];
}

double Measurement::toleranceMm(uint16_t depthMm) const {
  constexpr double kRounding = 0.5;
  if (!isStereo_) return kRounding;
  const double believed = believedDepth(depthMm);
  if (believed < 1) return kRounding;
  // Half a step less of disparity makes a larger difference than half a step more, and may mean infinitely far.
  const double raw = scale_ / believed;
  const double farthest = raw > 0.5 ? scale_ / (raw - 0.5) : 65535;
  const double measured = farthest - believed + kRounding;
  const bool isCorrected = calibration_.depthScale != 1 || calibration_.depthOffsetMm != 0;
  return isCorrected ? measured * calibration_.depthScale + kRounding : measured;
}

}  // namespace tavrix
