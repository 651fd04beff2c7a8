#include "Families.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <strings.h>

#include <algorithm>

#include "Failure.h"
#include "Processor.h"
#include "Suggestion.h"

namespace vycam {
namespace {

std::string idText(unsigned vid, unsigned pid) {
  return fmt::format("{:04X}:{:04X}", vid, pid);
}

/// The product ids of a list that the host hands over.
std::vector<std::string> listedIds(int listType) {
  constexpr int kRecordSize = 4;
  std::vector<std::string> ids;
  const uint8_t* data = nullptr;
  const int size = listType < 0 ? 0 : vysim_device_list(listType, &data);
  for (int at = 0; at + kRecordSize <= size; at += kRecordSize) {
    const unsigned vid = data[at] | static_cast<unsigned>(data[at + 1]) << 8;
    const unsigned pid = data[at + 2] | static_cast<unsigned>(data[at + 3]) << 8;
    ids.push_back(idText(vid, pid));
  }
  return ids;
}

std::vector<std::string> waysOfRecognition(const vysim_family& family) {
  const std::vector<std::string> listed = listedIds(family.list_type);
  std::vector<std::string> known;
  for (size_t i = 0; i < family.pid_count; ++i) {
    const std::string id = idText(family.vid, family.pids[i]);
    if (std::find(listed.begin(), listed.end(), id) == listed.end()) {
      known.push_back(id);
    }
  }
  std::vector<std::string> ways;
  if (!known.empty()) {
    ways.push_back(fmt::format("{} (built in)", fmt::join(known, " ")));
  }
  if (!listed.empty()) {
    ways.push_back(fmt::format("{} (the host's list of type {})", fmt::join(listed, " "), family.list_type));
  }
  return ways;
}

}  // namespace

std::vector<FamilyChains> chainsOf(const Library& library, const std::vector<const vysim_family*>& families) {
  std::vector<FamilyChains> all;
  for (const vysim_family* family : families) {
    FamilyChains entry;
    entry.family = family;
    entry.recognisedBy = waysOfRecognition(*family);
    const Device device = makeDevice(*family);
    const Context context(library, device.get());
    for (const VYSensorType sensor : allSensors()) {
      if (const std::optional<Processor> processor = context.findProcessor(sensor)) {
        entry.sensors.push_back({sensor, processor->chain(), processor->schema()});
      }
    }
    all.push_back(std::move(entry));
  }
  return all;
}

const vysim_family& parseFamilyOrId(const std::string& text) {
  if (text.find(':') == std::string::npos) {
    return parseFamily(text);
  }
  std::vector<std::string> ids;
  for (const vysim_family* family : allFamilies()) {
    for (size_t i = 0; i < family->pid_count; ++i) {
      ids.push_back(idText(family->vid, family->pids[i]));
      if (strcasecmp(ids.back().c_str(), text.c_str()) == 0) {
        return *family;
      }
    }
  }
  throw Failure(fmt::format("no camera family has the USB id \"{}\"{}; `vycam families` tells them all", text,
                            didYouMean(text, ids)));
}

}  // namespace vycam
