// Exported functions of frames.
#include <cstring>

#include "api/Call.h"
#include "core/Frame.h"
#include "pixel/RunLength.h"

using tavrix::arg;
using tavrix::call;
using tavrix::Frame;
using tavrix::FrameRef;
using tavrix::FrameShape;
using tavrix::guarded;
using tavrix::resolve;

namespace {

FrameRef makeZeroFrame(const FrameShape& shape, std::shared_ptr<tavrix::StreamProfile> profile, tavrix::Moment moment) {
  if (shape.format != VY_FORMAT_RLE) {
    FrameRef frame = tavrix::makeFrame(shape, std::move(profile), moment);
    std::memset(frame->data(), 0, frame->size());
    return frame;
  }
  tavrix::frameBytes(shape);  // throws for a size out of range
  // Zero bytes are not a valid frame of this format.
  const std::vector<uint16_t> zeros(static_cast<size_t>(shape.width) * shape.height);
  const std::vector<uint8_t> bytes = tavrix::pixel::compressRuns(zeros.data(), zeros.size());
  FrameRef frame = tavrix::makeFrame(shape, std::move(profile), moment, bytes.size());
  std::memcpy(frame->data(), bytes.data(), bytes.size());
  return frame;
}

/// The stream that frames of a pixel type come from.
VYStreamType streamTypeOf(VYPixelType type) {
  switch (type) {
    case VY_PIXEL_DISPARITY:
    case VY_PIXEL_DEPTH:
      return VY_STREAM_DEPTH;
    case VY_PIXEL_INTENSITY:
      return VY_STREAM_IR;
    case VY_PIXEL_COLOR:
      return VY_STREAM_COLOR;
  }
  return VY_STREAM_UNKNOWN;
}

}  // namespace

extern "C" {

void vy_frame_add_ref(const vy_frame_t* frame, vy_error** error) {
  call(
      __func__, error, [=] { FrameRef::retain(frame, "frame").detach(); }, arg("frame", frame));
}

void vy_delete_frame(const vy_frame_t* frame, vy_error** error) {
  call(
      __func__, error, [=] { FrameRef::release(frame, "frame"); }, arg("frame", frame));
}

VYFormat vy_frame_get_format(const vy_frame_t* frame, vy_error** error) {
  return call(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").shape().format; }, arg("frame", frame));
}

VYPixelType vy_video_frame_get_pixel_type(const vy_frame_t* frame, vy_error** error) {
  return call(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").shape().pixelType; }, arg("frame", frame));
}

uint32_t vy_video_frame_get_width(const vy_frame_t* frame, vy_error** error) {
  return call(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").width(); }, arg("frame", frame));
}

uint32_t vy_video_frame_get_height(const vy_frame_t* frame, vy_error** error) {
  return call(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").height(); }, arg("frame", frame));
}

vy_frame_t* vy_create_frame_from_other_frame(const vy_frame_t* frame, bool copy_data, vy_error** error) {
  return call(
      __func__, error,
      [=] {
        const Frame& other = resolve<Frame>(frame, "frame");
        if (copy_data) return tavrix::copyFrame(other).detach();
        FrameRef blank =
            makeZeroFrame(other.shape(), std::make_shared<tavrix::StreamProfile>(*other.profile()), other.moment());
        blank->setPixelMap(other.pixelMap());
        return blank.detach();
      },
      arg("frame", frame), arg("copy_data", copy_data));
}

vy_frame_t* vysim_create_frame(uint32_t width, uint32_t height, VYFormat format, VYPixelType pixel_type,
                               vy_error** error) {
  return guarded(
      __func__, error,
      [=] {
        const FrameShape shape{width, height, format, pixel_type};
        auto profile = std::make_shared<tavrix::StreamProfile>(
            streamTypeOf(pixel_type), tavrix::plainIntrinsic(width, height), tavrix::Calibration{});
        return makeZeroFrame(shape, std::move(profile), {}).detach();
      },
      arg("width", width), arg("height", height), arg("format", format), arg("pixel_type", pixel_type));
}

uint8_t* vysim_frame_get_data(const vy_frame_t* frame, vy_error** error) {
  return guarded(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").data(); }, arg("frame", frame));
}

size_t vysim_frame_get_size(const vy_frame_t* frame, vy_error** error) {
  return guarded(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").size(); }, arg("frame", frame));
}

uint32_t vysim_frame_get_number(const vy_frame_t* frame, vy_error** error) {
  return guarded(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").moment().number; }, arg("frame", frame));
}

uint64_t vysim_frame_get_time(const vy_frame_t* frame, vy_error** error) {
  return guarded(
      __func__, error, [=] { return resolve<Frame>(frame, "frame").moment().microseconds; }, arg("frame", frame));
}

int vysim_frame_get_ref_count(const vy_frame_t* frame) {
  return tavrix::isObject<Frame>(frame) ? static_cast<int>(FrameRef::count(frame)) : 0;
}

const char* vysim_format_name(VYFormat format) {
  return tavrix::formatName(format);
}

}  // extern "C"
