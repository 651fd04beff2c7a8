#include "filters/ResizeFilter.h"

#include <fmt/core.h>

#include <cmath>

#include "pixel/Geometry.h"

namespace tavrix {
namespace {

constexpr auto kInt = VY_FILTER_CONFIG_VALUE_TYPE_INT;
constexpr double kLargestSide = 16384;

enum Item : size_t { kWidth, kHeight, kScale, kLeft, kRight, kTop, kBottom };

// In the order of the configuration's arguments. Both sizes are 0 before the first configuration.
const Schema kItems = {
    {"OutputWidth", kInt, 0, kLargestSide, 1, 0, "width of the output in pixels; 0 passes frames on as they are"},
    {"OutputHeight", kInt, 0, kLargestSide, 1, 0, "height of the output in pixels; 0 passes frames on as they are"},
    {"Scale", VY_FILTER_CONFIG_VALUE_TYPE_FLOAT, 0, 64, 0.001, 1, "factor that width and height are scaled by"},
    {"BorderLeft", kInt, -32768, 32767, 1, 0, "empty columns added on the left; cut off where negative"},
    {"BorderRight", kInt, -32768, 32767, 1, 0, "empty columns added on the right; cut off where negative"},
    {"BorderTop", kInt, -32768, 32767, 1, 0, "empty rows added at the top; cut off where negative"},
    {"BorderBottom", kInt, -32768, 32767, 1, 0, "empty rows added at the bottom; cut off where negative"},
};

class DepthResize final : public Filter {
 public:
  explicit DepthResize(const std::string& name) : Filter(name, kItems) {}

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireFormat(*this, *input, {VY_FORMAT_Y16}, "Y16 frames");
    // Clients set intrinsics on the output, so it must not be the input.
    if (setting(kWidth) == 0 && setting(kHeight) == 0) return copyFrame(*input);
    checkTogether({setting(kWidth), setting(kHeight), setting(kScale)});
    checkSide("wide", input->width(), setting(kWidth), setting(kLeft), setting(kRight));
    checkSide("high", input->height(), setting(kHeight), setting(kTop), setting(kBottom));

    const FrameShape shape{static_cast<uint32_t>(setting(kWidth)), static_cast<uint32_t>(setting(kHeight)),
                           VY_FORMAT_Y16, input->shape().pixelType};
    FrameRef output = makeOutput(*input, shape);
    pixel::ResizeParameters parameters;
    parameters.outputWidth = shape.width;
    parameters.outputHeight = shape.height;
    parameters.scale = setting(kScale);
    parameters.left = static_cast<int>(setting(kLeft));
    parameters.top = static_cast<int>(setting(kTop));
    pixel::resize(input->pixels16(), input->width(), input->height(), output->pixels16(), parameters, scratch_);
    placeOutput(*output, *input, step());
    return output;
  }

 protected:
  void checkTogether(const std::vector<double>& values) const override {
    if (values[kWidth] < 1 || values[kHeight] < 1) {
      throw Failure(ExceptionType::invalidValue, fmt::format("{}: the output must be at least 1 x 1 but is {} x {}",
                                                             name(), values[kWidth], values[kHeight]));
    }
    if (values[kScale] <= 0) {
      throw Failure(ExceptionType::invalidValue,
                    fmt::format("{}: Scale must be above 0 but is {}", name(), values[kScale]));
    }
  }

 private:
  /// Throws Failure unless the scaled frame and the borders make up the output. One pixel of difference is allowed, as
  /// the scale has been rounded to become a text.
  void checkSide(const char* side, uint32_t input, double output, double before, double after) const {
    const double scaled = std::floor(input * setting(kScale));
    if (std::abs(scaled + before + after - output) <= 1) return;
    throw Failure(
        ExceptionType::unsuitableFrame,
        fmt::format("{} is configured for an output {} pixels {}, but a frame {} pixels {}, scaled by {}, with "
                    "borders of {} and {} gives {}",
                    name(), output, side, input, side, setting(kScale), before, after, scaled + before + after));
  }

  /// Maps output pixels to places in the input.
  PixelMap step() const {
    const double inverse = 1 / setting(kScale);
    const double x0 = (0.5 - setting(kLeft)) * inverse - 0.5;
    const double y0 = (0.5 - setting(kTop)) * inverse - 0.5;
    return {inverse, 0, x0, 0, inverse, y0};
  }

  pixel::ResizeScratch scratch_;
};

}  // namespace

std::unique_ptr<Filter> makeDepthResize(const std::string& name) {
  return std::make_unique<DepthResize>(name);
}

}  // namespace tavrix
