#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavrix::pixel {

struct DisparityParameters {
  double focalLengthPx = 0;
  double baselineMm = 0;
  int subPixelBits = 0;       ///< fraction bits of a raw disparity
  int disparityOffset = 0;    ///< added to a raw disparity before it is converted, in raw steps
  uint16_t minDisparity = 1;  ///< smallest raw disparity that is a measurement; 0 never is
  double unitMm = 1;          ///< millimetres that one step of the output stands for
  double minDepthMm = 0;      ///< depths below this and above the next, rounded to millimetres, are holes
  double maxDepthMm = 65535;
  uint16_t holeValue = 0;  ///< output where there is no depth
  bool keepFar = false;    ///< shows what lies beyond the largest depth at that depth

  bool operator==(const DisparityParameters& other) const;
};

/// Converts raw disparities to depth: focal length * baseline * 2^bits / (raw + offset).
class DisparityTable {
 public:
  /// Makes the table, unless it is for these values already.
  void update(const DisparityParameters& parameters);
  /// Needs an update() before. The two arrays may be the same.
  void apply(const uint16_t* raw, uint16_t* depth, size_t count) const;

 private:
  DisparityParameters parameters_;
  std::vector<uint16_t> table_;
};

}  // namespace tavrix::pixel
