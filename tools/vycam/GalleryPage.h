// The page of the gallery: XHTML that stands on its own.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Families.h"

namespace vycam {

/// One sensor of a family as the page shows it. Picture names are relative to the page.
struct GalleryEntry {
  SensorChain chain;
  std::string rawFacts, outputFacts;
  std::string rawPicture, outputPicture, truthPicture;  ///< the last may be empty
  std::optional<double> validShare;
  std::optional<int> medianError;
};

struct GalleryFamily {
  FamilyChains chains;
  std::vector<GalleryEntry> entries;
};

/// The text of the page; `revision` is the library's commit identifier.
std::string galleryPage(const std::vector<GalleryFamily>& families, const std::string& revision);

}  // namespace vycam
