#ifndef SRC_D2C_HARDWARED2CPARAMS_H
#define SRC_D2C_HARDWARED2CPARAMS_H

#include <TavrixSDK.h>

#include <array>
#include <cstdint>
#include <string>

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

  /// The argument texts of the host's "DepthResize" filter, in its order.
  std::array<std::string, 7> resizeArguments() const;

 private:
  void fold(std::uint32_t width, std::uint32_t height);
};

#endif  // SRC_D2C_HARDWARED2CPARAMS_H
