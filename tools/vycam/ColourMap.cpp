#include "ColourMap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vycam {
namespace {

// From warm to cool. Each step has another hue, so that neighbouring depths can be told apart.
constexpr Colour kWarmToCool[] = {{165, 26, 38},   {216, 72, 43},   {244, 128, 62},  {253, 186, 86},
                                  {250, 229, 133}, {200, 228, 146}, {127, 199, 155}, {66, 160, 168},
                                  {52, 113, 171},  {66, 74, 156},   {94, 60, 146}};
constexpr size_t kStepCount = sizeof kWarmToCool / sizeof kWarmToCool[0] - 1;

uint8_t mix(uint8_t from, uint8_t to, double share) {
  return static_cast<uint8_t>(std::lround(from + (to - from) * share));
}

}  // namespace

Colour colourAt(Palette palette, double place) {
  const double bounded = std::clamp(place, 0.0, 1.0);
  if (palette == Palette::Grey) {
    const uint8_t grey = mix(0, 255, bounded);
    return {grey, grey, grey};
  }
  const double steps = (palette == Palette::CoolToWarm ? 1 - bounded : bounded) * kStepCount;
  const size_t step = std::min(static_cast<size_t>(steps), kStepCount - 1);
  const Colour& from = kWarmToCool[step];
  const Colour& to = kWarmToCool[step + 1];
  const double share = steps - static_cast<double>(step);
  return {mix(from.red, to.red, share), mix(from.green, to.green, share), mix(from.blue, to.blue, share)};
}

}  // namespace vycam
