#include "core/StreamProfile.h"

namespace tavrix {

StreamProfile::StreamProfile(VYStreamType type, const VYCameraIntrinsic& intrinsic, const Calibration& calibration)
    : type_(type), calibration_(calibration), intrinsic_(intrinsic) {}

StreamProfile::StreamProfile(const StreamProfile& other) : type_(other.type_), calibration_(other.calibration_) {
  const std::lock_guard<std::mutex> lock(other.mutex_);
  intrinsic_ = other.intrinsic_;
  distortion_ = other.distortion_;
  extrinsics_ = other.extrinsics_;
}

VYCameraIntrinsic StreamProfile::intrinsic() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return intrinsic_;
}

void StreamProfile::setIntrinsic(const VYCameraIntrinsic& intrinsic) {
  const std::lock_guard<std::mutex> lock(mutex_);
  intrinsic_ = intrinsic;
}

VYCameraDistortion StreamProfile::distortion() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return distortion_;
}

void StreamProfile::setDistortion(const VYCameraDistortion& distortion) {
  const std::lock_guard<std::mutex> lock(mutex_);
  distortion_ = distortion;
}

std::optional<VYExtrinsic> StreamProfile::extrinsic(VYStreamType target) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = extrinsics_.find(target);
  if (found == extrinsics_.end()) return std::nullopt;
  return found->second;
}

void StreamProfile::setExtrinsic(VYStreamType target, const VYExtrinsic& extrinsic) {
  const std::lock_guard<std::mutex> lock(mutex_);
  extrinsics_[target] = extrinsic;
}

VYCameraIntrinsic plainIntrinsic(uint32_t width, uint32_t height) {
  const auto focalLength = static_cast<float>(width) * 0.875F;
  return {focalLength,
          focalLength,
          (static_cast<float>(width) - 1.0F) * 0.5F,
          (static_cast<float>(height) - 1.0F) * 0.5F,
          static_cast<int16_t>(width),
          static_cast<int16_t>(height)};
}

}  // namespace tavrix
