#include "support/HardwareD2CModel.h"

#include <cmath>
#include <cstdio>

namespace {

std::int64_t clampedTruncation(float value, double lowest, double highest) {
  if (std::isnan(value)) return 0;
  return static_cast<std::int64_t>(std::fmin(std::fmax(std::trunc(static_cast<double>(value)), lowest), highest));
}
std::int64_t toU32(float value) {
  return clampedTruncation(value, 0, 4294967295.0);
}
/// The low bits of a number, as an unsigned or a signed one.
std::int64_t lowBits(std::int64_t value, int bits, bool isSigned) {
  const std::int64_t range = std::int64_t{1} << bits;
  const std::int64_t low = ((value % range) + range) % range;
  return isSigned && low >= range / 2 ? low - range : low;
}
std::int16_t toS16(float value) {
  return static_cast<std::int16_t>(lowBits(clampedTruncation(value, -2147483648.0, 2147483647.0), 16, true));
}
std::int64_t wrap32(std::int64_t value) {
  return lowBits(value, 32, false);
}

std::string format(const char* form, float value) {
  char text[64];
  std::snprintf(text, sizeof text, form, static_cast<double>(value));
  return text;
}

}  // namespace

std::string textOf(const VYCameraIntrinsic& intrinsic) {
  std::string text;
  for (const float number : {intrinsic.fx, intrinsic.fy, intrinsic.cx, intrinsic.cy}) {
    text += (std::isnan(number) ? "nan" : format("%.9g", number)) + " ";
  }
  return text + std::to_string(intrinsic.width) + " " + std::to_string(intrinsic.height);
}

std::string modelOfD2C(const D2CParameters& p, std::uint32_t width, std::uint32_t height) {
  std::int64_t outputWidth = wrap32(p.left + p.right + toU32(static_cast<float>(width) * p.scale));
  std::int64_t outputHeight = wrap32(p.top + p.bottom + toU32(static_cast<float>(height) * p.scale));
  std::int64_t left = p.left, top = p.top, right = p.right, bottom = p.bottom;
  float scale = p.scale;
  VYCameraIntrinsic intrinsic = p.intrinsic;

  const auto divided = [&p](std::int64_t value) { return static_cast<float>(value) / p.scale; };
  const std::int64_t w = toU32(divided(outputWidth)), h = toU32(divided(outputHeight));
  const std::int64_t l = toS16(divided(left)), t = toS16(divided(top));
  const std::int64_t r = toS16(divided(right)), b = toS16(divided(bottom));
  const auto isExact = [](std::uint32_t value) { return toU32(static_cast<float>(value)) == value; };
  const bool asked = !p.applyScale && !(p.scale == 1.0F);
  if (asked && static_cast<float>(width) == static_cast<float>(wrap32(w - l - r)) &&
      static_cast<float>(height) == static_cast<float>(wrap32(h - t - b)) && isExact(width) && isExact(height)) {
    outputWidth = w, outputHeight = h, left = l, top = t, right = r, bottom = b;
    scale = 1;
    const VYCameraIntrinsic& i = p.intrinsic;
    intrinsic = {i.fx / p.scale, i.fy / p.scale,          i.cx / p.scale,
                 i.cy / p.scale, toS16(divided(i.width)), toS16(divided(i.height))};
  }
  std::string text;
  for (const std::int64_t size : {outputWidth, outputHeight}) text += std::to_string(size) + " ";
  text += format("%.9f", scale) + " ";
  for (const std::int64_t border : {left, right, top, bottom}) text += std::to_string(border) + " ";
  return text + "| " + textOf(intrinsic);
}
