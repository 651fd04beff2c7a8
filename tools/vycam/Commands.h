// The commands. Each prints its result on stdout and throws a Failure when it has none.
#pragma once

#include <string>
#include <vector>

#include "Library.h"

namespace vycam {

/// `which` is a family, by its name or the USB id of one of its cameras; empty for all.
void showFamilies(const Library& library, const std::string& which, bool asCsv);

void showSchema(const Library& library, const std::string& camera, const std::string& sensor, bool raw);

/// What was typed for `vycam run`; empty texts stand for options that were not given.
struct RunArguments {
  std::string camera, sensor, depthFile, size, hardwareD2C, replayFolder, outputFolder;
  unsigned frames = 0;  ///< 0 = not given
  bool clean = false, keepsAll = false, writesCloud = false, writesRaw = false, asJson = false;
  std::vector<std::string> settings;
};

void run(const Library& library, const RunArguments& arguments);

/// What was typed for `vycam view`.
struct ViewArguments {
  std::vector<std::string> cameras;  ///< "FAMILY" or "FAMILY:SENSOR,..."; none = one Corvid
  std::string depthFile, size;
  int port = 0;  ///< 0 = a free one
  bool clean = false;
  bool opensBrowser = false;
};

/// Serves the viewer until a signal ends it.
void view(const Library& library, const ViewArguments& arguments);

/// `depthFile` is empty where the cameras see the embedded room.
void makeGallery(const Library& library, const std::string& outputFolder, const std::string& depthFile);

}  // namespace vycam
