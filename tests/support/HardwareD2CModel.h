#pragma once

#include <TavrixSDK.h>

#include <cstdint>
#include <string>

/// The hardware D2C parameters of a processor.
struct D2CParameters {
  VYCameraIntrinsic intrinsic;
  float scale;
  std::int16_t left, top, right, bottom;
  bool applyScale;
};

/// What "DepthResize" is told for frames of a size, and the intrinsics stamped on them, written a second time: in wide
/// integers, step by step. Reads "640 400 1.000000000 0 0 0 0 | 300 250 160 100 320 200".
std::string modelOfD2C(const D2CParameters& parameters, std::uint32_t width, std::uint32_t height);

/// Intrinsics as modelOfD2C() writes them: numbers that differ have different texts, and NaN is "nan".
std::string textOf(const VYCameraIntrinsic& intrinsic);
