#include "filters/OrientationFilters.h"

#include "pixel/Geometry.h"

namespace tavrix {
namespace {

void requireWholeBytes(const Filter& filter, const Frame& frame) {
  requireFormat(filter, frame, {VY_FORMAT_Y16, VY_FORMAT_Y8, VY_FORMAT_RGB}, "Y16, Y8 and RGB frames");
}

/// Maps the pixels of an image that was turned clockwise to those of the image before, which has the given size.
PixelMap turnStep(int degrees, uint32_t width, uint32_t height) {
  const double right = width - 1.0;
  const double bottom = height - 1.0;
  switch (degrees) {
    case 90:
      return {0, 1, 0, -1, 0, bottom};
    case 180:
      return {-1, 0, right, 0, -1, bottom};
    case 270:
      return {0, -1, right, 1, 0, 0};
    default:
      return {};
  }
}

class FrameMirror final : public Filter {
 public:
  using Filter::Filter;

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireWholeBytes(*this, *input);
    FrameRef output = makeOutput(*input, input->shape());
    pixel::mirror(input->data(), output->data(), input->width(), input->height(), bytesPerPixel(input->shape().format));
    placeOutput(*output, *input, {-1, 0, input->width() - 1.0, 0, 1, 0});
    return output;
  }
};

class FrameFlip final : public Filter {
 public:
  using Filter::Filter;

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireWholeBytes(*this, *input);
    FrameRef output = makeOutput(*input, input->shape());
    pixel::flip(input->data(), output->data(), input->width(), input->height(), bytesPerPixel(input->shape().format));
    placeOutput(*output, *input, {1, 0, 0, 0, -1, input->height() - 1.0});
    return output;
  }
};

class FrameRotate final : public Filter {
 public:
  using Filter::Filter;

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireWholeBytes(*this, *input);
    const int degrees = static_cast<int>(setting(0));
    if (degrees == 0) return input.share();

    FrameShape shape = input->shape();
    if (degrees != 180) std::swap(shape.width, shape.height);
    FrameRef output = makeOutput(*input, shape);
    pixel::rotate(input->data(), output->data(), input->width(), input->height(), bytesPerPixel(shape.format), degrees);
    placeOutput(*output, *input, turnStep(degrees, input->width(), input->height()));
    return output;
  }
};

}  // namespace

std::unique_ptr<Filter> makeFrameMirror(const std::string& name) {
  return std::make_unique<FrameMirror>(name, Schema{});
}

std::unique_ptr<Filter> makeFrameFlip(const std::string& name) {
  return std::make_unique<FrameFlip>(name, Schema{});
}

std::unique_ptr<Filter> makeFrameRotate(const std::string& name) {
  return std::make_unique<FrameRotate>(name, Schema{{"Angle", VY_FILTER_CONFIG_VALUE_TYPE_INT, 0, 270, 90, 0,
                                                     "angle to turn the image by, clockwise, in degrees"}});
}

}  // namespace tavrix
