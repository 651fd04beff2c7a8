#pragma once

#include <string>

#include "replayhost/Borders.h"

namespace vyhost {

/// The library that a replay feeds, loaded together with the host that answers it.
struct ReplayLibrary {
  std::string path;
  HostFunctions* host = nullptr;
  LibraryFunctions functions = {};

  /// Loads a library; the plain one that was built or installed with vyhost for an empty path. There is one in a
  /// process. Throws Failure.
  static ReplayLibrary load(const std::string& path);
};

}  // namespace vyhost
