// The virtual camera of a run or a viewer.
#pragma once

#include <optional>

#include "Host.h"
#include "Image.h"
#include "Selection.h"

namespace vycam {

/// `size` 0 = native; `depth` is what it sees instead of the embedded scene; `rate` in frames a second, 0 = as asked
/// for. What the camera refuses is a Failure, here and below.
Camera openCamera(const vysim_family& family, const FrameSize& size, bool isClean,
                  const std::optional<GreyImage>& depth, unsigned rate = 0);

/// Waits for the frame's time where the camera has a rate.
Frame nextFrame(vysim_camera* camera, VYSensorType sensor);

}  // namespace vycam
