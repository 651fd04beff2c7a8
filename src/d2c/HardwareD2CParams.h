#pragma once

#include <TavrixSDK.h>

#include <array>
#include <cstdint>

/// The argument texts of the host's "DepthResize" filter, in its order: output width and height, scale, left, right,
/// top and bottom border.
class ResizeArguments {
 public:
  static constexpr std::uint8_t kCount = 7;

  ResizeArguments(std::uint32_t width, std::uint32_t height, float scale, std::int16_t left, std::int16_t right,
                  std::int16_t top, std::int16_t bottom);

  /// The texts; they live as long as this object.
  std::array<const char*, kCount> texts() const;

 private:
  /// Room for the longest: a sign, the 39 digits of the largest float, a separator of some bytes, nine digits, the end.
  std::array<char[80], kCount> texts_;
};

/// The hardware D2C parameters and the output size derived from them. Borders are signed: a negative one removes
/// columns or rows of the scaled image.
struct HardwareD2CParams {
  VYCameraIntrinsic intrinsic = {};  ///< stamped on output frames
  std::uint8_t reservedByte = 0;
  std::uint32_t outputWidth = 0;   ///< derived
  std::uint32_t outputHeight = 0;  ///< derived
  float scale = 0;                 ///< factor on the frame's width and height
  std::int16_t padLeft = 0;
  std::int16_t padTop = 0;
  std::int16_t padRight = 0;
  std::int16_t padBottom = 0;
  bool applyScale = false;  ///< false: a scale that divides out moves into the intrinsics and borders
  bool reservedFlag = false;

  /// Sets the output size for a frame size and, where applyScale is false and the numbers allow it, folds the scale
  /// away.
  void derive(std::uint32_t width, std::uint32_t height);

  ResizeArguments resizeArguments() const;

 private:
  void fold(std::uint32_t width, std::uint32_t height);
};
