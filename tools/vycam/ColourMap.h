// Colours for numbers.
#pragma once

#include <cstdint>

namespace vycam {

struct Colour {
  uint8_t red, green, blue;
};

enum class Palette { WarmToCool, CoolToWarm, Grey };

/// The colour of a place on the palette, 0 to 1. A place outside has the colour of the nearer end.
Colour colourAt(Palette palette, double place);

/// The colour of "no measurement": neutral, and darker than every colour of the depth palettes.
constexpr Colour kNoMeasurement{34, 34, 38};

}  // namespace vycam
