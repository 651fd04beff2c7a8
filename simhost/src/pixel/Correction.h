#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavrix::pixel {

/// Depth-to-depth correction: corrected = measured * scale + offset, rounded, 0 to 65535; 0 stays 0.
class CorrectionTable {
 public:
  /// Makes the table, unless it is for these values already.
  void build(double scale, double offset);
  /// Needs a build() before. The two arrays may be the same.
  void apply(const uint16_t* measured, uint16_t* corrected, size_t count) const;

 private:
  double scale_ = 1;
  double offset_ = 0;
  std::vector<uint16_t> table_;
};

}  // namespace tavrix::pixel
