// The accuracy of depth images, compared with the true scene.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace vycam {

/// Collects the figures of any number of frames.
class Accuracy {
 public:
  /// Adds a frame: measured and true depth in millimetres, 0 = none.
  void add(const std::vector<uint16_t>& measured, const std::vector<uint16_t>& truth);

  /// Share of all pixels that have a measurement, 0 to 1.
  double validShare() const;
  /// The same share of the pixels that have a true depth.
  double validShareOfScene() const;
  /// The absolute error in millimetres that this share of the pixels with both depths, 1 to 100 percent, does not
  /// exceed; none if there is no such pixel.
  std::optional<int> percentileError(unsigned percent) const;
  std::optional<int> medianError() const { return percentileError(50); }

 private:
  uint64_t pixels_ = 0;
  uint64_t valid_ = 0;
  uint64_t true_ = 0;  // pixels with a true depth
  uint64_t compared_ = 0;
  std::vector<uint64_t> errorCounts_ = std::vector<uint64_t>(0x10000);  // index: error in millimetres
};

}  // namespace vycam
