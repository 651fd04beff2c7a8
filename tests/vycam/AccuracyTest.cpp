// Figures of pairs of images, by hand.
#include "Accuracy.h"

#include <gtest/gtest.h>

namespace {

using Pixels = std::vector<uint16_t>;

TEST(AccuracyTest, FiguresOfHandMadePairs) {
  const struct {
    const char* what;
    std::vector<std::pair<Pixels, Pixels>> frames;  // measured, true
    double validShare;
    std::optional<int> median;
  } cases[] = {
      {"no frame", {}, 0, {}},
      {"equal", {{{5, 6}, {5, 6}}}, 1, 0},
      {"odd count, either sign", {{{110, 300, 480}, {100, 305, 500}}}, 1, 10},
      {"even count: the lower one", {{{101, 102, 103, 109}, {100, 100, 100, 100}}}, 1, 2},
      {"holes in either", {{{0, 107, 103, 0}, {100, 100, 0, 0}}}, 0.5, 7},
      {"holes do not count as errors of 0", {{{0, 0, 0, 109}, {7, 8, 0, 100}}}, 0.25, 9},
      {"none valid", {{{0, 0}, {100, 100}}}, 0, {}},
      {"none true", {{{100, 100, 100, 0}, {0, 0, 0, 0}}}, 0.75, {}},
      {"the largest error", {{{65535, 1}, {1, 65535}}}, 1, 65534},
      {"frames add up", {{{101, 0}, {100, 100}}, {{105, 106, 0, 0}, {100, 100, 9, 9}}}, 0.5, 5},
  };
  for (const auto& c : cases) {
    vycam::Accuracy accuracy;
    for (const auto& [measured, truth] : c.frames) accuracy.add(measured, truth);
    EXPECT_EQ(accuracy.validShare(), c.validShare) << c.what;
    EXPECT_EQ(accuracy.medianError(), c.median) << c.what;
  }
}

}  // namespace
