#include <fmt/format.h>

#include "Commands.h"
#include "Failure.h"
#include "Families.h"
#include "GalleryPage.h"
#include "OutputFolder.h"
#include "Signals.h"
#include "Stream.h"

namespace vycam {
namespace {

constexpr unsigned kFramesPerStream = 1;  // the one that is shown
constexpr int kPictureWidth = 480;

std::string writePicture(const Picture& picture, OutputFolder& folder, const std::string& stem, const char* role) {
  std::string name = fmt::format("images/{}-{}.png", stem, role);
  folder.write(name, picture.png(kPictureWidth));
  return name;
}

GalleryEntry makeEntry(const Library& library, const vysim_family& family, const SensorChain& chain,
                       OutputFolder& folder, Progress& progress) {
  StreamOptions options;
  options.family = &family;
  options.sensor = chain.sensor;
  options.frames = kFramesPerStream;
  const StreamResult result = runStream(library, options, progress);
  const StreamPictures pictures = paint(result, family);

  GalleryEntry entry;
  entry.chain = chain;
  entry.rawFacts = result.rawFacts.describe();
  entry.outputFacts = result.outputFacts.describe();
  const std::string stem = fmt::format("{}-{}", family.name, sensorName(chain.sensor));
  entry.rawPicture = writePicture(*pictures.raw, folder, stem, "before");
  entry.outputPicture = writePicture(*pictures.output, folder, stem, "after");
  if (pictures.truth) {
    entry.truthPicture = writePicture(*pictures.truth, folder, stem, "truth");
  }
  if (result.accuracy) {
    entry.validShare = result.accuracy->validShare();
    entry.medianError = result.accuracy->medianError();
  }
  return entry;
}

}  // namespace

void makeGallery(const Library& library, const std::string& outputFolder) {
  OutputFolder folder(outputFolder);
  std::vector<GalleryFamily> families;
  unsigned streams = 0;
  for (FamilyChains& chains : chainsOf(library, allFamilies())) {
    streams += static_cast<unsigned>(chains.sensors.size());
    families.push_back({std::move(chains), {}});
  }
  {
    Progress progress("gallery", streams * kFramesPerStream);
    for (GalleryFamily& family : families) {
      for (const SensorChain& chain : family.chains.sensors) {
        if (takenSignal() != 0) {
          throw Failure("ended by a signal; nothing was written");
        }
        family.entries.push_back(makeEntry(library, *family.chains.family, chain, folder, progress));
      }
    }
  }
  folder.write("index.html", galleryPage(families, library->getCommitHash()));
  folder.prepare();
  fmt::print("{} streams of {} families: open {}\n", streams, families.size(), (folder.path() / "index.html").string());
  folder.commit();
}

}  // namespace vycam
