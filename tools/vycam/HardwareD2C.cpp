#include "HardwareD2C.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <set>
#include <sstream>

#include "Failure.h"

namespace vycam {
namespace {

constexpr const char* kForm =
    "give scale (above 0, up to 16), left, top, right, bottom (pixels, -4096 to 4096) and apply (0 or 1), as in "
    "scale=1.5,left=8,top=0,right=8,bottom=0,apply=1";
constexpr double kLargestScale = 16;
constexpr double kLargestBorder = 4096;

[[noreturn]] void refuse(const std::string& item) {
  throw Failure(fmt::format("\"{}\" is not a depth-to-colour parameter; {}", item, kForm));
}

void assign(HardwareD2C& parameters, const std::string& item) {
  const size_t equals = item.find('=');
  if (equals == std::string::npos || equals + 1 == item.size()) {
    refuse(item);
  }
  const std::string name = item.substr(0, equals);
  const char* const text = item.c_str() + equals + 1;
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (*end != '\0' || !std::isfinite(value)) {
    refuse(item);
  }
  struct Border {
    const char* name;
    int16_t HardwareD2C::*member;
  };
  for (const Border& border : {Border{"left", &HardwareD2C::left}, Border{"top", &HardwareD2C::top},
                               Border{"right", &HardwareD2C::right}, Border{"bottom", &HardwareD2C::bottom}}) {
    if (name == border.name && std::fabs(value) <= kLargestBorder && value == std::trunc(value)) {
      parameters.*border.member = static_cast<int16_t>(value);
      return;
    }
  }
  const auto scale = static_cast<float>(value);  // a number can be too small for a float
  if (name == "scale" && scale > 0 && value <= kLargestScale) {
    parameters.scale = scale;
  } else if (name == "apply" && (value == 0 || value == 1)) {
    parameters.apply = value == 1;
  } else {
    refuse(item);
  }
}

}  // namespace

HardwareD2C parseHardwareD2C(const std::string& text) {
  HardwareD2C parameters;
  std::set<std::string> names;
  std::istringstream items(text + ",");  // so that nothing behind the last comma counts as an item, too
  for (std::string item; std::getline(items, item, ',');) {
    assign(parameters, item);
    const std::string name = item.substr(0, item.find('='));
    if (!names.insert(name).second) {
      throw Failure(fmt::format("--d2c has {} twice, the second time as {}; give it once", name, item));
    }
  }
  return parameters;
}

VYCameraIntrinsic scaledIntrinsic(const VYCameraIntrinsic& depth, uint32_t width, uint32_t height,
                                  const HardwareD2C& p) {
  const float outputWidth = std::trunc(static_cast<float>(width) * p.scale) + static_cast<float>(p.left + p.right);
  const float outputHeight = std::trunc(static_cast<float>(height) * p.scale) + static_cast<float>(p.top + p.bottom);
  constexpr float largest = std::numeric_limits<int16_t>::max();
  if (outputWidth < 1 || outputHeight < 1 || outputWidth > largest || outputHeight > largest) {
    throw Failure(fmt::format("--d2c makes an image of {}x{} out of {}x{}; each side has to be 1 to {} pixels",
                              outputWidth, outputHeight, width, height, largest));
  }
  VYCameraIntrinsic result{};
  result.fx = depth.fx * p.scale;
  result.fy = depth.fy * p.scale;
  result.cx = depth.cx * p.scale + static_cast<float>(p.left);
  result.cy = depth.cy * p.scale + static_cast<float>(p.top);
  result.width = static_cast<int16_t>(outputWidth);
  result.height = static_cast<int16_t>(outputHeight);
  return result;
}

}  // namespace vycam
