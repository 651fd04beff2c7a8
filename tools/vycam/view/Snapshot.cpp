#include "view/Snapshot.h"

#include <fmt/format.h>

#include <utility>

#include "FrameView.h"
#include "PointCloud.h"
#include "Stream.h"
#include "view/Plane.h"

namespace vycam {
namespace {

std::string paintedOutput(const StreamFacts& facts, const vy_frame_t* raw, const vy_frame_t* output, GreyImage truth) {
  StreamResult result;
  result.raw = decodeForView(raw, facts.chain);
  result.output = decodeForView(output, facts.chain);
  result.outputFacts = factsOf(result.output.get());
  if (facts.stream.sensor == VY_SENSOR_DEPTH) {
    result.truth = std::move(truth);
  }
  StreamScales scales;
  return paint(result, *facts.family, scales).output->png();
}

}  // namespace

std::string makeSnapshot(const std::string& name, const StreamFacts& facts, const std::shared_ptr<vy_frame_t>& raw,
                         const std::shared_ptr<vy_frame_t>& output, GreyImage truth) {
  if (name == "picture.png") {
    return paintedOutput(facts, raw.get(), output.get(), std::move(truth));
  }
  const std::shared_ptr<vy_frame_t> plain = plainFrame(output, facts.chain);
  if (name == "numbers.png") {
    return greyPng(greyPixels(plain.get()));
  }
  const FrameFacts pixels = factsOf(plain.get());
  if (pixels.pixelType != VY_PIXEL_DEPTH) {
    throw Failure(fmt::format("points need a depth image in millimetres; this one is {}", pixels.describe()));
  }
  return plyOf(pointsOf(greyPixels(plain.get()), intrinsicOf(plain.get())));
}

}  // namespace vycam
