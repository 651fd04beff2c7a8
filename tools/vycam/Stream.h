// A run: the frames of one sensor of a virtual camera on their way through the library.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Accuracy.h"
#include "FrameView.h"
#include "HardwareD2C.h"
#include "Library.h"
#include "Picture.h"
#include "Processor.h"
#include "Progress.h"
#include "RawFrames.h"
#include "Selection.h"
#include "Timing.h"

namespace vycam {

struct StreamOptions {
  const vysim_family* family = nullptr;
  VYSensorType sensor = VY_SENSOR_DEPTH;
  unsigned frames = 1;
  FrameSize size;  ///< 0 = native
  bool clean = false;
  std::optional<GreyImage> depth;   ///< what the camera sees instead of the embedded scene
  std::optional<RawFrames> replay;  ///< frames to take instead of the camera's; `size` is theirs
  std::vector<std::string> settings;
  std::optional<HardwareD2C> hardwareD2C;
};

/// The results of a run; the images are those of the newest frame.
struct StreamResult {
  unsigned frames = 0;  ///< fewer than wanted where a signal came
  Chain chain;
  Schema schema;
  FrameFacts rawFacts, outputFacts;
  Frame sent;  ///< by the camera
  Frame raw;   ///< the same with plain pixels
  Frame output;
  std::optional<GreyImage> truth;    ///< of depth streams whose scene is known, at the output's pixels
  std::optional<Accuracy> accuracy;  ///< where there is a truth, over all frames
  TimeReport time;
};

/// Ends early where a signal asks the program to end; before the first frame that is a Failure. `onFrame` sees what
/// there is after each frame.
StreamResult runStream(const Library& library, const StreamOptions& options, Progress& progress,
                       const std::function<void(const StreamResult&)>& onFrame = nullptr);

/// The pictures of a frame. Output and truth share a scale; `error` is what lies between them.
struct StreamPictures {
  std::optional<Picture> raw, output, truth, error;
};

/// The scales of a stream's pictures. Those of the first frame stay, so that its pictures compare with later ones.
struct StreamScales {
  std::optional<Scale> raw, output, truth, error;
};

/// Fits the scales that are not there yet.
StreamPictures paint(const StreamResult& result, const vysim_family& family, StreamScales& scales);

}  // namespace vycam
