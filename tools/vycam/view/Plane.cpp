#include "view/Plane.h"

#include <utility>

#include "Failure.h"
#include "FrameView.h"

namespace vycam {
namespace {

PixelKind kindOf(const FrameFacts& facts) {
  switch (facts.pixelType) {
    case VY_PIXEL_DEPTH:
      return PixelKind::depth;
    case VY_PIXEL_DISPARITY:
      return PixelKind::disparity;
    case VY_PIXEL_INTENSITY:
      return facts.format == VY_FORMAT_Y8 ? PixelKind::smallBrightness : PixelKind::brightness;
    case VY_PIXEL_COLOR:
      return PixelKind::colours;
  }
  throw Failure("a frame has unknown pixels");
}

size_t bytesPerPixel(PixelKind kind) {
  return kind == PixelKind::colours ? 3 : kind == PixelKind::smallBrightness ? 1 : 2;
}

}  // namespace

Plane planeOf(Role role, std::shared_ptr<const vy_frame_t> frame) {
  const FrameFacts facts = factsOf(frame.get());
  Plane plane;
  plane.role = role;
  plane.kind = kindOf(facts);
  plane.width = facts.width;
  plane.height = facts.height;
  plane.intrinsic = intrinsicOf(frame.get());
  plane.pixels = bytesOf(frame.get(), facts, bytesPerPixel(plane.kind));
  plane.size = size_t{facts.width} * facts.height * bytesPerPixel(plane.kind);
  plane.frame = std::move(frame);
  return plane;
}

std::shared_ptr<vy_frame_t> plainFrame(const std::shared_ptr<vy_frame_t>& frame, const Chain& chain) {
  return isPlain(factsOf(frame.get()).format) ? frame : decodeForView(frame.get(), chain);
}

}  // namespace vycam
