#pragma once

#include <memory>
#include <mutex>
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

  /// The next frame of a sensor. Each sensor counts its frames from 0; equal numbers show the same moment.
  FrameRef nextFrame(VYSensorType sensor);

  /// The true depth at each pixel of a frame of the depth sensor.
  void truth(const Frame& frame, uint16_t* depthMm);

  double toleranceMm(uint16_t depthMm) const { return measurement_.toleranceMm(depthMm); }

 private:
  struct Stream {
    vysim_stream shown;  ///< at the size that the options ask for
    View view;
    std::shared_ptr<StreamProfile> profile;
    uint32_t nextNumber = 0;
  };

  Stream makeStream(const vysim_stream& native, const vysim_camera_options& options) const;
  void connectStreams();
  Stream& streamOf(VYSensorType sensor);

  FrameRef makeColourFrame(const Stream& stream, uint32_t number);
  FrameRef makeInfraredFrame(const Stream& stream, uint32_t number);
  FrameRef makeDepthFrame(const Stream& stream, uint32_t number);
  void addFlaws(const Stream& stream, uint32_t number);
  /// Makes a frame of the pixels in `pixels_`, encoded as the stream demands.
  FrameRef encode(const Stream& stream, uint32_t number, pixel::BitOrder order) const;
  /// Fills `truth_` with the true depth, as far as the depth sensor can measure it.
  void renderTruth(const Stream& depthStream, uint32_t number);

  const Family& family_;
  const bool isClean_;
  const Calibration calibration_;
  const Measurement measurement_;
  const std::unique_ptr<Scene> scene_;
  const Ref<Device> device_;
  std::vector<Stream> streams_;

  std::mutex mutex_;  // for what follows and for the streams' numbers
  std::vector<uint16_t> truth_;
  bool hasTruth_ = false;
  uint32_t truthNumber_ = 0;
  std::vector<uint16_t> pixels_;
  std::vector<uint8_t> brightness_;
};

}  // namespace tavrix
