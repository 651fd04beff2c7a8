#include "filters/RepairFilters.h"

#include <algorithm>
#include <cstring>

#include "pixel/Correction.h"
#include "pixel/Offset.h"
#include "pixel/Speckle.h"

namespace tavrix {
namespace {

constexpr auto kInt = VY_FILTER_CONFIG_VALUE_TYPE_INT;

class PixelOffsetFix final : public Filter {
 public:
  using Filter::Filter;

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireFormat(*this, *input, {VY_FORMAT_Y16}, "Y16 frames");
    requirePixelType(*this, *input, {VY_PIXEL_DISPARITY}, "disparity frames");
    const uint32_t shift = input->profile()->calibration().rasterOffset;
    if (shift == 0) return input.share();
    FrameRef output = makeOutput(*input, input->shape());
    pixel::repairRasterOffset(input->pixels16(), output->pixels16(), input->width(), input->height(), shift);
    return output;
  }
};

class NoiseRemoval final : public Filter {
 public:
  explicit NoiseRemoval(const std::string& name)
      : Filter(name,
               {{"MaxSpeckleSize", kInt, 0, 10000, 1, 200,
                 "largest island of pixels that is removed as noise, in pixels at the reference size"},
                {"MaxDifference", kInt, 0, 65535, 1, 256,
                 "largest difference between neighbours that belong together, in steps of the pixel value"},
                {"ReferenceWidth", kInt, 1, 16384, 1, 1280, "width that the size limit is meant for, in pixels"},
                {"ReferenceHeight", kInt, 1, 16384, 1, 800, "height that the size limit is meant for, in pixels"}}) {}

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireFormat(*this, *input, {VY_FORMAT_Y16}, "Y16 frames");
    requirePixelType(*this, *input, {VY_PIXEL_DISPARITY, VY_PIXEL_DEPTH}, "disparity and depth frames");
    FrameRef output = copyFrame(*input);
    pixel::removeSpeckles(output->pixels16(), output->width(), output->height(), sizeLimit(*input),
                          static_cast<uint16_t>(setting(1)), scratch_);
    return output;
  }

 private:
  /// The limit for the frame's size: the same share of the image's area as at the reference size.
  uint32_t sizeLimit(const Frame& frame) const {
    const double area = static_cast<double>(frame.width()) * frame.height();
    const double limit = setting(0) * area / (setting(2) * setting(3)) + 0.5;
    return static_cast<uint32_t>(std::min(limit, area));
  }

  pixel::SpeckleScratch scratch_;
};

class DepthCorrection final : public Filter {
 public:
  using Filter::Filter;

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireFormat(*this, *input, {VY_FORMAT_Y16}, "Y16 frames");
    requirePixelType(*this, *input, {VY_PIXEL_DEPTH}, "depth frames");
    const Calibration& calibration = input->profile()->calibration();
    if (calibration.depthScale == 1 && calibration.depthOffsetMm == 0) return input.share();
    FrameRef output = makeOutput(*input, input->shape());
    table_.build(calibration.depthScale, calibration.depthOffsetMm);
    table_.apply(input->pixels16(), output->pixels16(), static_cast<size_t>(input->width()) * input->height());
    return output;
  }

 private:
  pixel::CorrectionTable table_;
};

}  // namespace

std::unique_ptr<Filter> makePixelOffsetFix(const std::string& name) {
  return std::make_unique<PixelOffsetFix>(name, Schema{});
}

std::unique_ptr<Filter> makeNoiseRemoval(const std::string& name) {
  return std::make_unique<NoiseRemoval>(name);
}

std::unique_ptr<Filter> makeDepthCorrection(const std::string& name) {
  return std::make_unique<DepthCorrection>(name, Schema{});
}

}  // namespace tavrix
