// The page of the gallery: XHTML that stands on its own.
#pragma once

#include <string>
#include <vector>

#include "Families.h"

namespace vycam {

/// Files are named as seen from the page.
struct GalleryPicture {
  std::string caption, facts;
  std::string file, largeFile;
};

/// "95.7 %", "of the pixels measured"
struct GalleryNumber {
  std::string number, meaning;
};

/// One sensor of a family as the page shows it.
struct GalleryEntry {
  SensorChain chain;
  std::vector<std::string> times;  ///< of each filter; empty where it does not run
  std::vector<GalleryPicture> pictures;
  std::vector<GalleryNumber> numbers;
  std::string command;  ///< that makes the pictures
};

struct GalleryFamily {
  FamilyChains chains;
  std::vector<GalleryEntry> entries;
};

/// The text of the page; `revision` is the library's commit identifier.
std::string galleryPage(const std::vector<GalleryFamily>& families, const std::string& revision);

}  // namespace vycam
