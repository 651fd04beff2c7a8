#include "pixel/Disparity.h"

#include <cmath>

namespace tavrix::pixel {
namespace {

constexpr int kRawValues = 65536;

double roundHalfUp(double value) {
  return std::floor(value + 0.5);
}

uint16_t convert(const DisparityParameters& parameters, int raw) {
  const int disparity = raw + parameters.disparityOffset;
  if (raw == 0 || raw < parameters.minDisparity || disparity <= 0) return parameters.holeValue;

  double depth = parameters.focalLengthPx * parameters.baselineMm * (1 << parameters.subPixelBits) / disparity;
  const double millimetres = roundHalfUp(depth);
  if (millimetres < parameters.minDepthMm) return parameters.holeValue;
  if (millimetres > parameters.maxDepthMm) {
    if (!parameters.keepFar) return parameters.holeValue;
    depth = parameters.maxDepthMm;
  }
  const double steps = roundHalfUp(depth / parameters.unitMm);
  return steps <= 65535 ? static_cast<uint16_t>(steps) : parameters.holeValue;
}

}  // namespace

bool DisparityParameters::operator==(const DisparityParameters& other) const {
  return focalLengthPx == other.focalLengthPx && baselineMm == other.baselineMm && subPixelBits == other.subPixelBits &&
         disparityOffset == other.disparityOffset && minDisparity == other.minDisparity && unitMm == other.unitMm &&
         minDepthMm == other.minDepthMm && maxDepthMm == other.maxDepthMm && holeValue == other.holeValue &&
         keepFar == other.keepFar;
}

void DisparityTable::update(const DisparityParameters& parameters) {
  if (!table_.empty() && parameters == parameters_) return;
  table_.resize(kRawValues);
  for (int raw = 0; raw < kRawValues; ++raw) table_[static_cast<size_t>(raw)] = convert(parameters, raw);
  parameters_ = parameters;
}

void DisparityTable::apply(const uint16_t* raw, uint16_t* depth, size_t count) const {
  const uint16_t* table = table_.data();
  for (size_t i = 0; i < count; ++i) depth[i] = table[raw[i]];
}

}  // namespace tavrix::pixel
