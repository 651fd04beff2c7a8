#include "camera/Camera.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

#include "camera/InfraredPicture.h"
#include "pixel/Offset.h"
#include "pixel/RunLength.h"
#include "scene/SensorNoise.h"

namespace tavrix {
namespace {

constexpr uint32_t kLargestSide = 4096;
constexpr uint32_t kLargestImageSide = 16384;
constexpr uint32_t kLargestRate = 1000;
constexpr uint32_t kNominalRate = 30;
constexpr uint64_t kSecond = 1000000;  // in microseconds
// Filters take the later of two camera pixels where an output pixel lies just between them. This much, added to the
// place, keeps rounding errors from giving the earlier one.
constexpr double kTie = 1e-9;
constexpr float kColourRightMm = 22;  // the colour lens sits between the lenses of a pair

const vysim_stream& nativeDepthStream(const Family& family) {
  const vysim_stream* end = family.shown.streams + family.shown.stream_count;
  return *std::find_if(family.shown.streams, end, [](const vysim_stream& s) { return s.sensor == VY_SENSOR_DEPTH; });
}

/// Throws Failure unless the options make sense.
const vysim_camera_options& checked(const vysim_camera_options& options) {
  const auto refuse = [](const std::string& message) { throw Failure(ExceptionType::invalidValue, message); };
  const auto checkSize = [&](const char* what, uint32_t width, uint32_t height, uint32_t largest) {
    if (width >= 1 && height >= 1 && width <= largest && height <= largest) return;
    refuse(fmt::format("{} must be 1 to {} pixels wide and high but is {} x {}", what, largest, width, height));
  };
  if (options.width != 0 || options.height != 0) checkSize("a stream", options.width, options.height, kLargestSide);
  if (options.depth_mm != nullptr) {
    checkSize("the depth image", options.depth_width, options.depth_height, kLargestImageSide);
  } else if (options.depth_width != 0 || options.depth_height != 0) {
    refuse(fmt::format("a size of {} x {} is given for a depth image, but depth_mm is null", options.depth_width,
                       options.depth_height));
  }
  if (options.fps > kLargestRate) {
    refuse(fmt::format("fps must be 0 to {} frames a second but is {}", kLargestRate, options.fps));
  }
  return options;
}

Calibration calibrationOf(const Family& family, const vysim_camera_options& options) {
  const vysim_stream& native = nativeDepthStream(family);
  Calibration calibration;
  const double zoom = options.width == 0 ? 1 : static_cast<double>(options.width) / native.width;
  calibration.focalLengthPx = static_cast<double>(family.shown.focal_length_px) * zoom;
  calibration.baselineMm = static_cast<double>(family.shown.baseline_mm);
  calibration.subPixelBits = family.shown.sub_pixel_bits;
  calibration.depthScale = family.depthScale;
  calibration.depthOffsetMm = family.depthOffsetMm;
  calibration.rasterOffset = family.rasterOffset;
  return calibration;
}

std::unique_ptr<Scene> sceneOf(const vysim_camera_options& options) {
  return options.depth_mm != nullptr ? makeImageScene(options.depth_mm, options.depth_width, options.depth_height)
                                     : makeRoomScene();
}

/// How far right of the depth sensor a sensor sits, in millimetres. The depth sensor sees what the left lens sees.
float placeOf(VYSensorType sensor, const Family& family) {
  if (sensor == VY_SENSOR_COLOR) return kColourRightMm;
  return sensor == VY_SENSOR_IR_RIGHT ? family.shown.baseline_mm : 0.0F;
}

/// Copies or packs pixels into the frame's bytes.
void store(const std::vector<uint16_t>& pixels, pixel::Packing packing, Frame& frame) {
  switch (frame.shape().format) {
    case VY_FORMAT_Y16:
      std::memcpy(frame.data(), pixels.data(), frame.size());
      break;
    case VY_FORMAT_Y8:
      std::transform(pixels.begin(), pixels.end(), frame.data(), [](uint16_t p) { return static_cast<uint8_t>(p); });
      break;
    default:
      pixel::packRows(packing, pixels.data(), frame.data(), frame.width(), frame.height());
  }
}

/// Bits of a pixel of an infrared frame, or of a packed one.
int bitsOf(VYFormat format) {
  switch (format) {
    case VY_FORMAT_Y8:
      return 8;
    case VY_FORMAT_Y11:
      return 11;
    case VY_FORMAT_Y12:
      return 12;
    case VY_FORMAT_Y14:
      return 14;
    default:
      return 10;
  }
}

FrameShape shapeOf(const vysim_stream& stream) {
  return {stream.width, stream.height, stream.format, stream.pixel_type};
}

}  // namespace

Camera::Camera(const Family& family, const vysim_camera_options& options)
    : family_(family),
      isClean_(checked(options).clean),
      fps_(options.fps),
      calibration_(calibrationOf(family, options)),
      measurement_(family, calibration_),
      scene_(sceneOf(options)),
      device_(Ref<Device>::make(DeviceIds{family.shown.vid, family.shown.pids[0]})) {
  for (size_t i = 0; i < family.shown.stream_count; ++i) addStream(family.shown.streams[i], options);
  connectStreams();
}

void Camera::addStream(const vysim_stream& native, const vysim_camera_options& options) {
  Stream& stream = streams_.emplace_back();
  stream.shown = native;
  if (options.width != 0) {
    stream.shown.width = options.width;
    stream.shown.height = options.height;
  }
  // Every size shows the native field of view.
  const auto width = static_cast<float>(stream.shown.width);
  const auto height = static_cast<float>(stream.shown.height);
  const bool isColour = native.sensor == VY_SENSOR_COLOR;
  const float focal = isColour ? 0.72F * static_cast<float>(native.width) : family_.shown.focal_length_px;
  const float zoomX = width / static_cast<float>(native.width);
  const float zoomY = height / static_cast<float>(native.height);
  const VYCameraIntrinsic intrinsic{focal * zoomX,
                                    focal * zoomY,
                                    width / 2 - 0.5F,
                                    height / 2 - 0.5F,
                                    static_cast<int16_t>(stream.shown.width),
                                    static_cast<int16_t>(stream.shown.height)};
  stream.view = {{intrinsic.fx, intrinsic.fy, intrinsic.cx, intrinsic.cy, stream.shown.width, stream.shown.height},
                 placeOf(native.sensor, family_)};
  const bool isDepth = native.sensor == VY_SENSOR_DEPTH;
  const auto streamType = static_cast<VYStreamType>(native.sensor);  // the numbers of sensors and streams agree
  stream.profile = std::make_shared<StreamProfile>(streamType, intrinsic, isDepth ? calibration_ : Calibration{});
}

/// Tells every profile where the other sensors are. All sit side by side and look the same way.
void Camera::connectStreams() {
  for (const Stream& from : streams_) {
    for (const Stream& to : streams_) {
      const VYExtrinsic motion{{1, 0, 0, 0, 1, 0, 0, 0, 1}, {from.view.rightMm - to.view.rightMm, 0, 0}};
      from.profile->setExtrinsic(to.profile->type(), motion);
    }
  }
}

Camera::Stream& Camera::streamOf(VYSensorType sensor) {
  std::string sensors;
  for (Stream& stream : streams_) {
    if (stream.shown.sensor == sensor) return stream;
    sensors += (sensors.empty() ? "" : ", ") + std::to_string(static_cast<int>(stream.shown.sensor));
  }
  throw Failure(ExceptionType::notFound, fmt::format("a {} camera has no sensor of type {}; it has {}",
                                                     family_.shown.name, static_cast<int>(sensor), sensors));
}

FrameRef Camera::nextFrame(VYSensorType sensor) {
  Stream& stream = streamOf(sensor);
  const std::lock_guard<std::mutex> lock(stream.mutex);
  const Moment moment = awaitMoment(stream);
  if (sensor == VY_SENSOR_COLOR) return makeColourFrame(stream, moment);
  if (sensor == VY_SENSOR_DEPTH) return makeDepthFrame(stream, moment);
  return makeInfraredFrame(stream, moment);
}

FrameRef Camera::frameOf(VYSensorType sensor, uint32_t number, const uint8_t* data, size_t size) {
  const Stream& stream = streamOf(sensor);
  const FrameShape shape = shapeOf(stream.shown);
  FrameRef frame = makeFrame(shape, stream.profile, {number, number * kSecond / kNominalRate},
                             shape.format == VY_FORMAT_RLE ? size : 0);
  if (size == 0 || frame->size() != size) {
    throw Failure(ExceptionType::invalidValue, fmt::format("a frame of sensor {} has {} bytes here, but {} are given",
                                                           static_cast<int>(sensor), frame->size(), size));
  }
  std::memcpy(frame->data(), data, size);
  return frame;
}

Moment Camera::awaitMoment(Stream& stream) {
  const uint64_t rate = fps_ == 0 ? kNominalRate : fps_;
  Clock::time_point due;
  Moment moment{};
  {
    const std::lock_guard<std::mutex> lock(clockMutex_);
    const Clock::time_point now = Clock::now();
    if (!start_) start_ = now;
    uint64_t number = stream.nextNumber;
    const bool isPaced = fps_ != 0 && !isPaused_;
    if (isPaced) {
      const auto passed = std::chrono::duration_cast<std::chrono::microseconds>(now - *start_).count();
      number = std::max(number, static_cast<uint64_t>(passed) * rate / kSecond);
    }
    moment = {static_cast<uint32_t>(number), number * kSecond / rate};
    due = isPaced ? *start_ + std::chrono::microseconds(moment.microseconds) : now;
    newestNumber_ = std::max(newestNumber_, moment.number);
  }
  stream.nextNumber = moment.number + 1;
  std::this_thread::sleep_until(due);
  return moment;
}

void Camera::pause(bool isPaused) {
  const std::lock_guard<std::mutex> lock(clockMutex_);
  if (isPaused_ && !isPaused && start_ && fps_ != 0) {
    start_ = Clock::now() - std::chrono::microseconds(newestNumber_ * kSecond / fps_);
  }
  isPaused_ = isPaused;
}

FrameRef Camera::makeColourFrame(const Stream& stream, Moment moment) {
  FrameRef frame = makeFrame(shapeOf(stream.shown), stream.profile, moment);
  scene_->render(stream.view, moment.number, {nullptr, nullptr, frame->data()});
  return frame;
}

FrameRef Camera::makeInfraredFrame(Stream& stream, Moment moment) {
  // The projector sits between the lenses of a pair, or at the end of the baseline where there is only one lens.
  const double side = stream.shown.sensor == VY_SENSOR_IR_RIGHT ? -0.5 : stream.shown.sensor == VY_SENSOR_IR ? 1 : 0.5;
  InfraredSensor sensor;
  sensor.dotScale = static_cast<double>(stream.view.lens.fx) * calibration_.baselineMm * side;
  sensor.largest = static_cast<uint16_t>((1 << bitsOf(stream.shown.format)) - 1);
  sensor.isClean = isClean_;
  sensor.sensorCode = static_cast<uint32_t>(stream.shown.sensor);
  std::vector<uint16_t>& pixels = stream.pixels;
  pixels.resize(static_cast<size_t>(stream.shown.width) * stream.shown.height);
  makeInfraredPicture(*scene_, stream.view, moment.number, sensor, pixels.data(), stream.brightness);
  if (family_.isInfraredMirrored) {
    for (auto row = pixels.begin(); row != pixels.end(); row += stream.shown.width) {
      std::reverse(row, row + stream.shown.width);
    }
  }
  return encode(stream, moment, pixel::BitOrder::msbFirst);
}

FrameRef Camera::makeDepthFrame(Stream& stream, Moment moment) {
  std::vector<uint16_t>& pixels = stream.pixels;
  {
    const std::lock_guard<std::mutex> lock(truthMutex_);
    renderTruth(stream, moment.number);
    pixels.resize(truth_.size());
    measurement_.measure(truth_.data(), pixels.data(), pixels.size());
  }
  if (!isClean_) addFlaws(stream, moment.number);
  if (calibration_.rasterOffset != 0) {
    std::vector<uint16_t> late(pixels.size());
    pixel::applyRasterOffset(pixels.data(), late.data(), stream.shown.width, stream.shown.height,
                             calibration_.rasterOffset);
    pixels.swap(late);
  }
  return encode(stream, moment, family_.bitOrder);
}

void Camera::addFlaws(Stream& stream, uint32_t number) {
  const vysim_stream& native = nativeDepthStream(family_);
  const uint64_t nativeArea = uint64_t{native.width} * native.height;
  SensorNoise noise;
  noise.isStereo = calibration_.baselineMm > 0;
  noise.largestRaw = family_.largestRaw;
  noise.subPixelBits = calibration_.subPixelBits;
  // The noise filter's limit shrinks with the image as well.
  noise.largestSpeckle = std::min<uint32_t>(
      family_.speckleSize, static_cast<uint32_t>(family_.speckleSize * uint64_t{stream.pixels.size()} / nativeArea));
  noise.speckleDifference = family_.speckleDifference;
  addSensorNoise(stream.pixels.data(), stream.shown.width, stream.shown.height, number, noise);
}

FrameRef Camera::encode(const Stream& stream, Moment moment, pixel::BitOrder order) const {
  const FrameShape shape = shapeOf(stream.shown);
  if (shape.format == VY_FORMAT_RLE) {
    const std::vector<uint8_t> bytes = pixel::compressRuns(stream.pixels.data(), stream.pixels.size());
    FrameRef frame = makeFrame(shape, stream.profile, moment, bytes.size());
    std::memcpy(frame->data(), bytes.data(), bytes.size());
    return frame;
  }
  FrameRef frame = makeFrame(shape, stream.profile, moment);
  if (shape.format == VY_FORMAT_Y10_MIPI) order = pixel::BitOrder::mipi;
  store(stream.pixels, {bitsOf(shape.format), order}, *frame);
  return frame;
}

void Camera::renderTruth(const Stream& depthStream, uint32_t number) {
  if (hasTruth_ && truthNumber_ == number) return;
  hasTruth_ = false;
  truth_.resize(static_cast<size_t>(depthStream.shown.width) * depthStream.shown.height);
  scene_->render(depthStream.view, number, {truth_.data(), nullptr, nullptr});
  measurement_.keepMeasurable(truth_.data(), truth_.size());
  truthNumber_ = number;
  hasTruth_ = true;
}

void Camera::truth(const Frame& frame, uint16_t* depthMm) {
  if (frame.profile()->type() != VY_STREAM_DEPTH) {
    throw Failure(ExceptionType::unsuitableFrame,
                  fmt::format("the true depth is asked for a {} frame; it is known for frames of the depth sensor",
                              pixelTypeName(frame.shape().pixelType)));
  }
  const Stream& stream = streamOf(VY_SENSOR_DEPTH);
  const std::lock_guard<std::mutex> lock(truthMutex_);
  renderTruth(stream, frame.moment().number);
  const PixelMap& map = frame.pixelMap();
  for (uint32_t y = 0; y < frame.height(); ++y) {
    for (uint32_t x = 0; x < frame.width(); ++x) {
      // Half a pixel is added, so that the whole part is the pixel in which the place lies.
      const double cameraX = map.cameraX(x, y) + 0.5 + kTie;
      const double cameraY = map.cameraY(x, y) + 0.5 + kTie;
      const bool isInside =
          cameraX >= 0 && cameraX < stream.shown.width && cameraY >= 0 && cameraY < stream.shown.height;
      const size_t pixel =
          isInside ? static_cast<size_t>(cameraY) * stream.shown.width + static_cast<size_t>(cameraX) : 0;
      *depthMm++ = isInside ? truth_[pixel] : uint16_t{0};
    }
  }
}

}  // namespace tavrix
