#include "VirtualCamera.h"

namespace vycam {

Camera openCamera(const vysim_family& family, const FrameSize& size, bool isClean,
                  const std::optional<GreyImage>& depth, unsigned rate) {
  vysim_camera_options options{};
  options.width = size.width;
  options.height = size.height;
  options.clean = isClean;
  options.fps = rate;
  if (depth) {
    options.depth_mm = depth->pixels.data();
    options.depth_width = depth->width;
    options.depth_height = depth->height;
  }
  return Camera(call("open the camera", vysim_open_camera, family.name, &options));
}

Frame nextFrame(vysim_camera* camera, VYSensorType sensor) {
  return Frame(call("get a frame from the camera", vysim_camera_next_frame, camera, sensor));
}

}  // namespace vycam
