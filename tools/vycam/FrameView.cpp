#include "FrameView.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "Failure.h"

namespace vycam {
namespace {

/// The filters that turn a camera's packing into plain pixels.
constexpr const char* kDecoders[] = {"FrameUnpacker", "TalonFrameUnpacker", "TiberonDecompress"};

/// The frame's bytes, at least `bytesPerPixel` of them for each pixel.

}  // namespace

const char* FrameFacts::meaning() const {
  switch (pixelType) {
    case VY_PIXEL_DISPARITY:
      return "disparity";
    case VY_PIXEL_DEPTH:
      return "depth in mm";
    case VY_PIXEL_INTENSITY:
      return "infrared brightness";
    case VY_PIXEL_COLOR:
      return "colour";
  }
  return "unknown pixels";
}

std::string FrameFacts::describe() const {
  return fmt::format("{}x{}, {}, {}", width, height, vysim_format_name(format), meaning());
}

FrameFacts factsOf(const vy_frame_t* frame) {
  FrameFacts facts;
  facts.width = call("read a frame's size", vy_video_frame_get_width, frame);
  facts.height = call("read a frame's size", vy_video_frame_get_height, frame);
  facts.format = call("read a frame's format", vy_frame_get_format, frame);
  facts.pixelType = call("read a frame's pixel type", vy_video_frame_get_pixel_type, frame);
  return facts;
}

VYCameraIntrinsic intrinsicOf(const vy_frame_t* frame) {
  const StreamProfile profile(call("read a frame's profile", vy_frame_get_stream_profile, frame));
  return call("read a frame's intrinsics", vy_video_stream_profile_get_intrinsic, profile.get());
}

const uint8_t* bytesOf(const vy_frame_t* frame, const FrameFacts& facts, size_t bytesPerPixel) {
  const size_t needed = size_t{facts.width} * facts.height * bytesPerPixel;
  if (call("read a frame", vysim_frame_get_size, frame) < needed) {
    throw Failure(fmt::format("a frame ({}) has fewer bytes than its pixels need", facts.describe()));
  }
  return call("read a frame", vysim_frame_get_data, frame);
}

bool isPlain(VYFormat format) {
  return format == VY_FORMAT_Y16 || format == VY_FORMAT_Y8 || format == VY_FORMAT_RGB;
}

Frame decodeForView(const vy_frame_t* frame, const Chain& chain) {
  const FrameFacts facts = factsOf(frame);
  if (isPlain(facts.format)) {
    return Frame(call("copy a frame", vy_create_frame_from_other_frame, frame, true));
  }
  const auto link = std::find_if(chain.begin(), chain.end(), [](const ChainLink& candidate) {
    return std::find(std::begin(kDecoders), std::end(kDecoders), candidate.name) != std::end(kDecoders);
  });
  if (link == chain.end()) {
    throw Failure(fmt::format("no filter of the chain decodes frames of this kind: {}", facts.describe()));
  }
  const Filter decoder(call("make a decoder", vy_create_filter, link->name.c_str()));
  return Frame(call("decode a frame", vy_filter_process, decoder.get(), frame));
}

GreyImage greyPixels(const vy_frame_t* frame) {
  const FrameFacts facts = factsOf(frame);
  if (facts.format != VY_FORMAT_Y16 && facts.format != VY_FORMAT_Y8) {
    throw Failure(fmt::format("a frame does not have one number per pixel: {}", facts.describe()));
  }
  const bool isWide = facts.format == VY_FORMAT_Y16;
  const uint8_t* const bytes = bytesOf(frame, facts, isWide ? 2 : 1);
  GreyImage image{facts.width, facts.height, std::vector<uint16_t>(size_t{facts.width} * facts.height)};
  for (size_t i = 0; i < image.pixels.size(); ++i) {
    const int pixel = isWide ? bytes[2 * i] | bytes[2 * i + 1] << 8 : bytes[i];
    image.pixels[i] = static_cast<uint16_t>(pixel);
  }
  return image;
}

std::vector<uint8_t> colourPixels(const vy_frame_t* frame) {
  const FrameFacts facts = factsOf(frame);
  if (facts.format != VY_FORMAT_RGB) {
    throw Failure(fmt::format("a frame does not have colours: {}", facts.describe()));
  }
  const uint8_t* const bytes = bytesOf(frame, facts, 3);
  return std::vector<uint8_t>(bytes, bytes + size_t{facts.width} * facts.height * 3);
}

}  // namespace vycam
