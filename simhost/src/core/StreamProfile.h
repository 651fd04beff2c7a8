#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "TavrixSDK.h"
#include "core/Object.h"

namespace tavrix {

/// What the host knows of the sensor behind a stream. It describes the raw stream, so geometry filters leave it alone.
struct Calibration {
  double focalLengthPx = 0;
  double baselineMm = 0;  ///< 0 where the stream does not carry disparity
  int subPixelBits = 0;   ///< fraction bits of the raw disparity
  double depthScale = 1;  ///< depth-to-depth correction: true = measured * scale + offset
  double depthOffsetMm = 0;
  uint32_t rasterOffset = 0;  ///< pixels by which the image is read out late
};

/// The description of a stream, shared by frames. What can be set is locked, as several threads may hold frames of it.
class StreamProfile {
 public:
  StreamProfile(VYStreamType type, const VYCameraIntrinsic& intrinsic, const Calibration& calibration);
  StreamProfile(const StreamProfile& other);
  StreamProfile& operator=(const StreamProfile&) = delete;

  VYStreamType type() const { return type_; }
  const Calibration& calibration() const { return calibration_; }

  VYCameraIntrinsic intrinsic() const;
  void setIntrinsic(const VYCameraIntrinsic& intrinsic);
  VYCameraDistortion distortion() const;
  void setDistortion(const VYCameraDistortion& distortion);
  std::optional<VYExtrinsic> extrinsic(VYStreamType target) const;
  void setExtrinsic(VYStreamType target, const VYExtrinsic& extrinsic);

 private:
  const VYStreamType type_;
  const Calibration calibration_;
  mutable std::mutex mutex_;
  VYCameraIntrinsic intrinsic_;
  VYCameraDistortion distortion_{};
  std::map<int, VYExtrinsic> extrinsics_;
};

/// What a vy_stream_profile_t stands for: a share in a profile.
struct ProfileHandle {
  using Handle = vy_stream_profile_t;
  static constexpr Kind kKind = Kind::streamProfile;

  explicit ProfileHandle(std::shared_ptr<StreamProfile> shared) : profile(std::move(shared)) {}

  std::shared_ptr<StreamProfile> profile;
};

/// A pinhole for an image of a size. It looks straight ahead and is about 60 degrees wide.
VYCameraIntrinsic plainIntrinsic(uint32_t width, uint32_t height);

}  // namespace tavrix
