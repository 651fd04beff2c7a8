#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "camera/Families.h"
#include "camera/Measurement.h"
#include "core/Device.h"
#include "core/Frame.h"
#include "scene/Scene.h"

namespace tavrix {

/// A virtual camera. It looks at a scene and makes the frames of its family.
class Camera {
 public:
  using Handle = vysim_camera;
  static constexpr Kind kKind = Kind::camera;

  /// Throws Failure for options out of range.
  Camera(const Family& family, const vysim_camera_options& options);

  const Ref<Device>& device() const { return device_; }

  /// The next frame of a sensor, see vysim_camera_next_frame().
  FrameRef nextFrame(VYSensorType sensor);

  /// A raw frame of a sensor with these bytes, see vysim_camera_make_frame().
  FrameRef frameOf(VYSensorType sensor, uint32_t number, const uint8_t* data, size_t size);

  /// See vysim_camera_pause().
  void pause(bool isPaused);

  /// The true depth at each pixel of a frame of the depth sensor.
  void truth(const Frame& frame, uint16_t* depthMm);

  double toleranceMm(uint16_t depthMm) const { return measurement_.toleranceMm(depthMm); }

 private:
  using Clock = std::chrono::steady_clock;
  struct Stream {
    vysim_stream shown;  ///< at the size that the options ask for
    View view;
    std::shared_ptr<StreamProfile> profile;

    std::mutex mutex;  ///< for what follows
    uint32_t nextNumber = 0;
    std::vector<uint16_t> pixels;
    std::vector<uint8_t> brightness;
  };

  void addStream(const vysim_stream& native, const vysim_camera_options& options);
  void connectStreams();
  Stream& streamOf(VYSensorType sensor);

  /// Waits for the stream's next frame, if the camera has a rate.
  Moment awaitMoment(Stream& stream);
  FrameRef makeColourFrame(const Stream& stream, Moment moment);
  FrameRef makeInfraredFrame(Stream& stream, Moment moment);
  FrameRef makeDepthFrame(Stream& stream, Moment moment);
  void addFlaws(Stream& stream, uint32_t number);
  /// Makes a frame of the stream's pixels, encoded as the stream demands.
  FrameRef encode(const Stream& stream, Moment moment, pixel::BitOrder order) const;
  /// Fills `truth_` with the true depth, as far as the depth sensor can measure it. `truthMutex_` must be locked.
  void renderTruth(const Stream& depthStream, uint32_t number);

  const Family& family_;
  const bool isClean_;
  const uint32_t fps_;  ///< 0 = no rate
  const Calibration calibration_;
  const Measurement measurement_;
  const std::unique_ptr<Scene> scene_;
  const Ref<Device> device_;
  std::deque<Stream> streams_;  // not a vector, as locks cannot be moved

  std::mutex clockMutex_;                   // for what follows; taken inside of a stream's
  std::optional<Clock::time_point> start_;  // of frame 0, once a frame was asked for
  bool isPaused_ = false;
  uint32_t newestNumber_ = 0;

  std::mutex truthMutex_;  // for what follows; taken inside of a stream's
  std::vector<uint16_t> truth_;
  bool hasTruth_ = false;
  uint32_t truthNumber_ = 0;
};

}  // namespace tavrix
