// The cameras of the viewer with their streams.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Host.h"
#include "Image.h"
#include "Library.h"
#include "Processor.h"
#include "Selection.h"
#include "view/LiveStream.h"
#include "view/ServerMessage.h"

namespace vycam {

/// A camera that the viewer shows.
struct CameraChoice {
  const vysim_family* family = nullptr;
  std::vector<VYSensorType> sensors;
};

/// Reads "FAMILY" or "FAMILY:SENSOR,...". Without sensors: depth and colour. Anything else is a Failure.
CameraChoice parseCameraChoice(const std::string& text);

struct LiveOptions {
  std::vector<CameraChoice> cameras;
  std::optional<GreyImage> depth;  ///< what the cameras see instead of the embedded scene
  FrameSize size;                  ///< of every stream; 0 = native
  bool isClean = false;
  unsigned rate = 30;  ///< frames a second; 0 = as many as asked for
};

/// One thread at a time may use this; the streams are for all.
class LiveCameras {
 public:
  /// `library` must outlive this. A camera without one of the sensors is a Failure.
  LiveCameras(const Library& library, const LiveOptions& options);

  LiveCameras(const LiveCameras&) = delete;
  LiveCameras& operator=(const LiveCameras&) = delete;

  size_t cameraCount() const { return cameras_.size(); }
  const std::vector<std::unique_ptr<LiveStream>>& streams() const { return streams_; }

  std::string hello() const;
  void pause(unsigned camera, bool isPaused);
  void step(unsigned camera);

 private:
  struct LiveCamera {
    CameraFacts facts;
    Camera handle;
    Context context;
  };

  void addCamera(const Library& library, const CameraChoice& choice, const LiveOptions& options);
  std::string nameFor(const vysim_family& family) const;

  std::vector<LiveCamera> cameras_;
  std::vector<std::unique_ptr<LiveStream>> streams_;  // behind their cameras, which must outlive them
};

}  // namespace vycam
