#include "filters/DisparityFilters.h"

#include <fmt/core.h>

#include "pixel/Disparity.h"

namespace tavrix {
namespace {

constexpr auto kInt = VY_FILTER_CONFIG_VALUE_TYPE_INT;
constexpr auto kFloat = VY_FILTER_CONFIG_VALUE_TYPE_FLOAT;
constexpr auto kBoolean = VY_FILTER_CONFIG_VALUE_TYPE_BOOLEAN;

enum Item : size_t {
  kDepthUnit,
  kMinDisparity,
  kMaxDepth,
  kMinDepth,
  kSubPixelBits,
  kBaseline,
  kFocalLength,
  kDisparityOffset,
  kHoleValue,
  kKeepFar,
  kItemCount
};

// In the order of Item. The public filter offers the first four items, the OpenNI kind all of them.
constexpr SchemaItem kItems[kItemCount] = {
    {"DepthUnit", kFloat, 0.1, 10, 0.1, 1, "millimetres that one step of the output stands for"},
    {"MinDisparity", kInt, 1, 65535, 1, 1, "smallest disparity that counts as a measurement, in raw steps"},
    {"MaxDepth", kInt, 1, 65535, 1, 10000, "largest depth that is kept, in millimetres"},
    {"MinDepth", kInt, 0, 65535, 1, 0, "smallest depth that is kept, in millimetres"},
    {"SubPixelBits", kInt, 0, 8, 1, 0, "fraction bits of the raw disparity; 0 takes those of the camera"},
    {"Baseline", kFloat, 0, 1000, 0.01, 0, "distance of the two lenses in millimetres; 0 takes that of the camera"},
    {"FocalLength", kFloat, 0, 10000, 0.01, 0, "focal length in pixels; 0 takes that of the camera"},
    {"DisparityOffset", kInt, -4096, 4096, 1, 0, "added to every disparity before it is converted, in raw steps"},
    {"HoleValue", kInt, 0, 65535, 1, 0, "output where nothing was measured"},
    {"KeepFar", kBoolean, 0, 1, 1, 0, "show what lies beyond the largest depth at the largest depth, not as a hole"},
};
constexpr size_t kPublicItemCount = kMinDepth + 1;

class DisparityTransform final : public Filter {
 public:
  DisparityTransform(const std::string& name, size_t itemCount) : Filter(name, Schema(kItems, kItems + itemCount)) {}

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireFormat(*this, *input, {VY_FORMAT_Y16}, "Y16 frames");
    requirePixelType(*this, *input, {VY_PIXEL_DISPARITY}, "disparity frames");
    table_.update(parametersFor(input->profile()->calibration()));
    FrameRef output = makeOutput(*input, {input->width(), input->height(), VY_FORMAT_Y16, VY_PIXEL_DEPTH});
    table_.apply(input->pixels16(), output->pixels16(), static_cast<size_t>(input->width()) * input->height());
    return output;
  }

 protected:
  void checkTogether(const std::vector<double>& values) const override {
    if (values[kMinDepth] <= values[kMaxDepth]) return;
    throw Failure(ExceptionType::invalidValue, fmt::format("{}: MinDepth ({}) must not be above MaxDepth ({})", name(),
                                                           values[kMinDepth], values[kMaxDepth]));
  }

 private:
  /// A live value; the default of an item that this filter does not offer.
  double offered(Item item) const { return item < schema().size() ? setting(item) : kItems[item].def; }
  /// A live value; the camera's own where it is 0.
  double overriding(Item item, double camera) const { return offered(item) != 0 ? offered(item) : camera; }

  pixel::DisparityParameters parametersFor(const Calibration& calibration) const {
    pixel::DisparityParameters parameters;
    parameters.focalLengthPx = overriding(kFocalLength, calibration.focalLengthPx);
    parameters.baselineMm = overriding(kBaseline, calibration.baselineMm);
    if (parameters.focalLengthPx <= 0 || parameters.baselineMm <= 0) {
      throw Failure(
          ExceptionType::unsuitableFrame,
          fmt::format("{} needs a focal length and a baseline, but the frame's profile says {} pixels and {} mm",
                      name(), calibration.focalLengthPx, calibration.baselineMm));
    }
    parameters.subPixelBits = static_cast<int>(overriding(kSubPixelBits, calibration.subPixelBits));
    parameters.disparityOffset = static_cast<int>(offered(kDisparityOffset));
    parameters.unitMm = offered(kDepthUnit);
    parameters.minDisparity = static_cast<uint16_t>(offered(kMinDisparity));
    parameters.minDepthMm = offered(kMinDepth);
    parameters.maxDepthMm = offered(kMaxDepth);
    parameters.holeValue = static_cast<uint16_t>(offered(kHoleValue));
    parameters.keepFar = offered(kKeepFar) != 0;
    return parameters;
  }

  pixel::DisparityTable table_;
};

}  // namespace

std::unique_ptr<Filter> makeDisparityTransform(const std::string& name) {
  return std::make_unique<DisparityTransform>(name, kPublicItemCount);
}

std::unique_ptr<Filter> makeOpenNiDisparityTransform(const std::string& name) {
  return std::make_unique<DisparityTransform>(name, kItemCount);
}

}  // namespace tavrix
