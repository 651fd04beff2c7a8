#include "core/Frame.h"

#include <cmath>
#include <cstring>

namespace tavrix {

PixelMap PixelMap::after(const PixelMap& step) const {
  PixelMap map;
  map.xx = xx * step.xx + xy * step.yx;
  map.xy = xx * step.xy + xy * step.yy;
  map.x0 = cameraX(step.x0, step.y0);
  map.yx = yx * step.xx + yy * step.yx;
  map.yy = yx * step.xy + yy * step.yy;
  map.y0 = cameraY(step.x0, step.y0);
  return map;
}

Frame::Frame(const FrameShape& shape, size_t bytes, std::shared_ptr<StreamProfile> profile, Moment moment)
    : shape_(shape), moment_(moment), pixels_(bytes), profile_(std::move(profile)) {}

FrameRef makeFrame(const FrameShape& shape, std::shared_ptr<StreamProfile> profile, Moment moment, size_t bytes) {
  const size_t needed = frameBytes(shape);
  return FrameRef::make(shape, bytes == 0 ? needed : bytes, std::move(profile), moment);
}

FrameRef makeOutput(const Frame& input, const FrameShape& shape, size_t bytes) {
  // The output has a profile of its own, so that an intrinsic set there does not show on other frames.
  FrameRef output = makeFrame(shape, std::make_shared<StreamProfile>(*input.profile()), input.moment(), bytes);
  output->setPixelMap(input.pixelMap());
  return output;
}

void placeOutput(Frame& output, const Frame& input, const PixelMap& step) {
  output.setPixelMap(input.pixelMap().after(step));

  // The intrinsic moves as the pixels do, by the inverse of the step.
  const double determinant = step.xx * step.yy - step.xy * step.yx;
  const double inverseXx = step.yy / determinant;
  const double inverseXy = -step.xy / determinant;
  const double inverseYx = -step.yx / determinant;
  const double inverseYy = step.xx / determinant;
  const VYCameraIntrinsic old = input.profile()->intrinsic();
  const double cx = static_cast<double>(old.cx) - step.x0;
  const double cy = static_cast<double>(old.cy) - step.y0;

  VYCameraIntrinsic moved;
  moved.fx = static_cast<float>(std::abs(inverseXx) * old.fx + std::abs(inverseXy) * old.fy);
  moved.fy = static_cast<float>(std::abs(inverseYx) * old.fx + std::abs(inverseYy) * old.fy);
  moved.cx = static_cast<float>(inverseXx * cx + inverseXy * cy);
  moved.cy = static_cast<float>(inverseYx * cx + inverseYy * cy);
  moved.width = static_cast<int16_t>(output.width());
  moved.height = static_cast<int16_t>(output.height());
  output.profile()->setIntrinsic(moved);
}

FrameRef copyFrame(const Frame& input) {
  FrameRef copy = makeOutput(input, input.shape(), input.size());
  std::memcpy(copy->data(), input.data(), input.size());
  return copy;
}

}  // namespace tavrix
