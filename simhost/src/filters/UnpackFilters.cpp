#include "filters/UnpackFilters.h"

#include <fmt/core.h>

#include "pixel/Packing.h"
#include "pixel/RunLength.h"

namespace tavrix {
namespace {

class Unpacker final : public Filter {
 public:
  Unpacker(const std::string& name, pixel::BitOrder order) : Filter(name, {}), order_(order) {}

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    const pixel::Packing packing = packingOf(*input);
    FrameRef output = makeOutput(*input, {input->width(), input->height(), VY_FORMAT_Y16, input->shape().pixelType});
    pixel::unpackRows(packing, input->data(), output->pixels16(), input->width(), input->height());
    return output;
  }

 private:
  pixel::Packing packingOf(const Frame& frame) const {
    requireFormat(*this, frame, {VY_FORMAT_Y10, VY_FORMAT_Y11, VY_FORMAT_Y12, VY_FORMAT_Y14, VY_FORMAT_Y10_MIPI},
                  "packed frames of 10, 11, 12 or 14 bits");
    switch (frame.shape().format) {
      case VY_FORMAT_Y10:
        return {10, order_};
      case VY_FORMAT_Y11:
        return {11, order_};
      case VY_FORMAT_Y12:
        return {12, order_};
      case VY_FORMAT_Y14:
        return {14, order_};
      default:
        return {10, pixel::BitOrder::mipi};
    }
  }

  const pixel::BitOrder order_;
};

class RunLengthDecompressor final : public Filter {
 public:
  using Filter::Filter;

  FrameRef process(const FrameLoan& input, vy_error** /*error*/) override {
    requireFormat(*this, *input, {VY_FORMAT_RLE}, "run-length compressed frames");
    FrameRef output = makeOutput(*input, {input->width(), input->height(), VY_FORMAT_Y16, input->shape().pixelType});
    const size_t pixels = static_cast<size_t>(input->width()) * input->height();
    const std::string fault = pixel::decompressRuns(input->data(), input->size(), output->pixels16(), pixels);
    if (fault.empty()) return output;
    throw Failure(ExceptionType::unsuitableFrame, fmt::format("{}: the frame is damaged: {}", name(), fault));
  }
};

}  // namespace

std::unique_ptr<Filter> makeFrameUnpacker(const std::string& name) {
  return std::make_unique<Unpacker>(name, pixel::BitOrder::msbFirst);
}

std::unique_ptr<Filter> makeTalonFrameUnpacker(const std::string& name) {
  return std::make_unique<Unpacker>(name, pixel::BitOrder::lsbFirst);
}

std::unique_ptr<Filter> makeTiberonDecompress(const std::string& name) {
  return std::make_unique<RunLengthDecompressor>(name, Schema{});
}

}  // namespace tavrix
