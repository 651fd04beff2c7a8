#include <fmt/format.h>

#include "Commands.h"
#include "Failure.h"
#include "Families.h"
#include "GalleryPage.h"
#include "OutputFolder.h"
#include "RunSummary.h"
#include "Signals.h"
#include "Stream.h"

namespace vycam {
namespace {

constexpr unsigned kFramesPerStream = 3;  // the last one is shown
constexpr int kPictureWidth = 480;

/// A word as a shell takes it.
std::string shellWord(const std::string& text) {
  const bool isPlain =
      text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._/-") == std::string::npos;
  std::string quoted;
  for (const char letter : text) {
    quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  }
  return isPlain ? text : "'" + quoted + "'";
}

GalleryPicture writePicture(const Picture& picture, const char* caption, const std::string& facts,
                            const std::string& start, OutputFolder& folder) {
  const GalleryPicture entry = {caption, facts, start + ".png", start + "-large.png"};
  folder.write(entry.file, picture.png(kPictureWidth));
  folder.write(entry.largeFile, picture.png());
  return entry;
}

std::vector<GalleryNumber> numbersOf(const StreamResult& result) {
  std::vector<GalleryNumber> numbers;
  const auto millimetres = [](std::optional<int> error) {
    return error ? fmt::format("{} mm", *error) : std::string();
  };
  if (result.accuracy) {
    const Accuracy& accuracy = *result.accuracy;
    numbers = {{fmt::format("{:.1f} %", 100 * accuracy.validShare()), "of the pixels measured"},
               {fmt::format("{:.1f} %", 100 * accuracy.validShareOfScene()), "of those with the scene in range"},
               {millimetres(accuracy.medianError()), "median error against the scene"},
               {millimetres(accuracy.percentileError(95)), "error of 95 % at most"}};
  }
  numbers.push_back({fmt::format("{:.3f} ms", result.time.median), "time of a frame, median"});
  numbers.push_back({fmt::format("{:.3f} ms", result.time.first), "time of the first frame"});
  return numbers;
}

GalleryEntry makeEntry(const Library& library, StreamOptions options, const SensorChain& chain,
                       const std::string& depthFile, OutputFolder& folder, Progress& progress) {
  options.sensor = chain.sensor;
  const StreamResult result = runStream(library, options, progress);
  if (takenSignal() != 0) {
    throw Failure("ended by a signal; nothing was written");
  }
  StreamScales scales;
  const StreamPictures pictures = paint(result, *options.family, scales);
  const std::string stem = fmt::format("{}-{}", options.family->name, sensorName(chain.sensor));

  GalleryEntry entry;
  entry.chain = chain;
  for (const ChainLink& link : chain.chain) {
    const FilterTime* const time = timeOf(link, result.time);
    entry.times.push_back(time != nullptr ? fmt::format("{:.3f} ms", time->milliseconds) : std::string());
  }
  const auto add = [&](const std::optional<Picture>& picture, const char* caption, const char* role,
                       const std::string& facts) {
    if (picture) {
      const std::string start = fmt::format("images/{}-{}", stem, role);
      entry.pictures.push_back(writePicture(*picture, caption, facts, start, folder));
    }
  };
  add(pictures.raw, "Before", "before", result.rawFacts.describe());
  add(pictures.output, "After", "after", result.outputFacts.describe());
  add(pictures.truth, "Truth", "truth", "what there was to see");
  add(pictures.error, "Error", "error", "what lies between them");
  entry.numbers = numbersOf(result);
  entry.command = fmt::format("vycam run --camera {} --sensor {} --frames {} {}--out {}", options.family->name,
                              sensorName(chain.sensor), options.frames,
                              depthFile.empty() ? "" : fmt::format("--depth {} ", shellWord(depthFile)), stem);
  return entry;
}

}  // namespace

void makeGallery(const Library& library, const std::string& outputFolder, const std::string& depthFile) {
  StreamOptions options;
  options.frames = kFramesPerStream;
  if (!depthFile.empty()) {
    options.depth = readGreyPng(depthFile);
    options.size = {options.depth->width, options.depth->height};
  }
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
      options.family = family.chains.family;
      for (const SensorChain& chain : family.chains.sensors) {
        family.entries.push_back(makeEntry(library, options, chain, depthFile, folder, progress));
      }
    }
  }
  folder.write("index.html", galleryPage(families, library->getCommitHash()));
  folder.prepare();
  fmt::print("{} streams of {} families: open {}\n", streams, families.size(), (folder.path() / "index.html").string());
  folder.commit();
}

}  // namespace vycam
