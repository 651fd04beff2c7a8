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
  double minDepthMm = 0;      ///< depths that are outside of these, rounded to millimetres, are holes
  double maxDepthMm = 65535;
  uint16_t holeValue = 0;  ///< output where there is no depth
  bool keepFar = false;    ///< true: what lies beyond the largest depth is shown at that depth

  bool operator==(const DisparityParameters& other) const;
};

/// Depth in millimetres of a raw disparity above 0, offset added: focal length * baseline * 2^bits / raw, unrounded.
double depthOfDisparity(const DisparityParameters& parameters, int raw);

/// Converts raw disparities to depth through a table, which is made anew only when the parameters change.
class DisparityTable {
 public:
  void update(const DisparityParameters& parameters);
  /// Needs an update() before. The two arrays may be the same.
  void apply(const uint16_t* raw, uint16_t* depth, size_t count) const;

 private:
  DisparityParameters parameters_;
  std::vector<uint16_t> table_;
};

}  // namespace tavrix::pixel
