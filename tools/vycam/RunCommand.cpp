#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "Commands.h"
#include "Failure.h"
#include "OutputFolder.h"
#include "Signals.h"
#include "Stream.h"

namespace vycam {
namespace {

StreamOptions optionsFrom(const RunArguments& arguments) {
  StreamOptions options;
  options.family = &parseFamily(arguments.camera);
  options.sensor = parseSensor(arguments.sensor);
  options.frames = arguments.frames;
  options.clean = arguments.clean;
  options.settings = arguments.settings;
  if (!arguments.depthFile.empty()) {
    options.depth = readGreyPng(arguments.depthFile);
    options.size = {options.depth->width, options.depth->height};
  }
  if (!arguments.size.empty()) {
    options.size = parseFrameSize(arguments.size);
  }
  if (!arguments.hardwareD2C.empty()) {
    options.hardwareD2C = parseHardwareD2C(arguments.hardwareD2C);
  }
  return options;
}

void writeFiles(const StreamResult& result, const vysim_family& family, OutputFolder& folder) {
  const StreamPictures pictures = paint(result, family);
  folder.write("raw.png", pictures.raw->png());
  folder.write("output.png", pictures.output->png());
  if (pictures.truth) {
    folder.write("truth.png", pictures.truth->png());
    folder.write("output16.png", greyPng(greyPixels(result.output.get())));
  }
  folder.prepare();
}

/// The chain with its switches as they stood during the run.
Chain chainDuringRun(const StreamResult& result, const StreamOptions& options) {
  Chain chain = result.chain;
  for (ChainLink& link : chain) {
    link.enabled = link.enabled || (options.hardwareD2C && link.name == "HardwareD2CProcessor");
    const std::string key = link.name + "#255=";
    for (const std::string& setting : options.settings) {
      if (setting.compare(0, key.size(), key) == 0) {
        link.enabled = setting.substr(key.size()) == "1";
      }
    }
  }
  return chain;
}

void printChain(const Chain& chain, const TimeReport& time) {
  size_t width = 0;
  for (const ChainLink& link : chain) {
    width = std::max(width, describe(link).size());
  }
  for (const ChainLink& link : chain) {
    const auto ran = std::find_if(time.byFilter.begin(), time.byFilter.end(), [&](const FilterTime& filter) {
      return filter.name == link.hostName && filter.calls > 0;
    });
    std::string state = link.enabled ? "skipped: not for this raw format" : "off";
    if (ran != time.byFilter.end()) {
      state = fmt::format("{:7.3f} ms", ran->milliseconds);
    }
    fmt::print("    {:<{}}  {}\n", describe(link), width, state);
  }
}

void printTimes(const TimeReport& time) {
  fmt::print("  time per frame {:.3f} ms: filters {:.3f}, other host calls {:.3f}, clock about {:.3f},\n", time.total,
             time.filters, time.otherHostCalls, time.clockCost);
  fmt::print("                 the library's own part about {:.3f} ms ({:.1f} %)\n", time.library,
             time.total > 0 ? 100 * time.library / time.total : 0.0);
  fmt::print("                 (clock: about {:.0f} ns per host call, measured in this run and taken off)\n",
             time.nanosecondsPerCall);
}

void printSummary(const StreamResult& result, const StreamOptions& options, const OutputFolder& folder) {
  const bool isComplete = result.frames == options.frames;
  fmt::print("{} {}, {} frame{}\n", options.family->name, sensorName(options.sensor),
             isComplete ? fmt::to_string(result.frames) : fmt::format("{} of {}", result.frames, options.frames),
             options.frames == 1 ? "" : "s");
  fmt::print("  in             {}\n", result.rawFacts.describe());
  fmt::print("  out            {}\n", result.outputFacts.describe());
  fmt::print("  chain          (time in each filter per frame)\n");
  printChain(chainDuringRun(result, options), result.time);
  if (result.accuracy) {
    fmt::print("  valid          {:.1f} % of the output's pixels\n", 100 * result.accuracy->validShare());
    const std::optional<int> median = result.accuracy->medianError();
    if (result.outputFacts.pixelType != VY_PIXEL_DEPTH) {
      fmt::print("  median error   none: the output is not in millimetres\n");
    } else if (median) {
      fmt::print("  median error   {} mm against the scene\n", *median);
    } else {
      fmt::print("  median error   none: no pixel has both a measured and a true depth\n");
    }
  }
  printTimes(result.time);
  fmt::print("  written to {}: {}\n", folder.path().string(), fmt::join(folder.names(), ", "));
}

}  // namespace

void run(const Library& library, const RunArguments& arguments) {
  const StreamOptions options = optionsFrom(arguments);
  OutputFolder folder(arguments.outputFolder);
  StreamResult result;
  {
    Progress progress(fmt::format("{} {}", options.family->name, sensorName(options.sensor)), options.frames);
    result = runStream(library, options, progress);
  }
  writeFiles(result, *options.family, folder);
  // Without an output, the run has failed and leaves nothing; but where a signal has ended it, nobody may be there to
  // read, and the pictures are worth more than the summary.
  const bool isEnded = takenSignal() != 0;
  if (isEnded) {
    folder.commit();
  }
  printSummary(result, options, folder);
  if (!isEnded) {
    folder.commit();
  }
}

}  // namespace vycam
