// A run: the frames of one sensor of a virtual camera on their way through the library.
#pragma once

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
#include "Selection.h"
#include "Timing.h"

namespace vycam {

struct StreamOptions {
  const vysim_family* family = nullptr;
  VYSensorType sensor = VY_SENSOR_DEPTH;
  unsigned frames = 1;
  FrameSize size;  ///< 0 = native
  bool clean = false;
  std::optional<GreyImage> depth;  ///< what the camera sees instead of the embedded scene
  std::vector<std::string> settings;
  std::optional<HardwareD2C> hardwareD2C;
};

/// The results of a run; the images are those of the last frame.
struct StreamResult {
  unsigned frames = 0;  ///< fewer than wanted where a signal came
  Chain chain;
  Schema schema;
  FrameFacts rawFacts, outputFacts;
  Frame raw;  ///< with plain pixels
  Frame output;
  std::optional<GreyImage> truth;    ///< of depth streams, at the output's pixels
  std::optional<Accuracy> accuracy;  ///< of depth streams, over all frames
  TimeReport time;
};

/// Ends early where a signal asks the program to end; before the first frame that is a Failure.
StreamResult runStream(const Library& library, const StreamOptions& options, Progress& progress);

/// The pictures of a run. Output and truth share a scale.
struct StreamPictures {
  std::optional<Picture> raw, output, truth;
};

StreamPictures paint(const StreamResult& result, const vysim_family& family);

}  // namespace vycam
