#include "filters/Catalogue.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "filters/DefinedFilter.h"
#include "filters/DisparityFilters.h"
#include "filters/OrientationFilters.h"
#include "filters/RepairFilters.h"
#include "filters/ResizeFilter.h"
#include "filters/UnpackFilters.h"

namespace tavrix::catalogue {
namespace {

struct BuiltIn {
  const char* name;
  bool isPrivate;
  std::unique_ptr<Filter> (*make)(const std::string& name);
};

constexpr BuiltIn kBuiltIns[] = {
    {"FrameUnpacker", false, makeFrameUnpacker},
    {"TalonFrameUnpacker", false, makeTalonFrameUnpacker},
    {"TiberonDecompress", false, makeTiberonDecompress},
    {"CorvidPixelOffsetFix", false, makePixelOffsetFix},
    {"NoiseRemovalFilter", false, makeNoiseRemoval},
    {"DisparityTransform", false, makeDisparityTransform},
    {"HardwareD2DCorrectionFilter", false, makeDepthCorrection},
    {"FrameMirror", false, makeFrameMirror},
    {"FrameFlip", false, makeFrameFlip},
    {"FrameRotate", false, makeFrameRotate},
    {"DepthResize", true, makeDepthResize},
    {"OpenNIDisparityTransform", true, makeOpenNiDisparityTransform},
};

struct Definitions {
  std::mutex mutex;
  std::map<std::string, vysim_filter_definition> byName;
};

Definitions& definitions() {
  static auto* const instance = new Definitions;
  return *instance;
}

std::optional<vysim_filter_definition> findDefinition(const char* name) {
  const std::lock_guard<std::mutex> lock(definitions().mutex);
  const auto found = definitions().byName.find(name);
  if (found == definitions().byName.end()) return std::nullopt;
  return found->second;
}

/// Throws Failure where a private filter is asked for as a public one, or the reverse.
void checkWay(const char* name, bool filterIsPrivate, bool askedForPrivate) {
  if (filterIsPrivate == askedForPrivate) return;
  throw Failure(ExceptionType::notFound,
                filterIsPrivate ? fmt::format("filter \"{}\" is private: create it with vy_create_private_filter", name)
                                : fmt::format("filter \"{}\" is public: create it with vy_create_filter", name));
}

}  // namespace

std::unique_ptr<Filter> create(const char* name, bool isPrivate) {
  if (name == nullptr) throw Refusal(ExceptionType::invalidValue, "name is null: expected the name of a filter");
  if (const auto definition = findDefinition(name)) {
    checkWay(name, definition->is_private, isPrivate);
    return std::make_unique<DefinedFilter>(*definition);
  }
  const auto* found = std::find_if(std::begin(kBuiltIns), std::end(kBuiltIns),
                                   [name](const BuiltIn& each) { return std::string(name) == each.name; });
  if (found == std::end(kBuiltIns)) {
    throw Failure(ExceptionType::notFound, fmt::format("no filter is named \"{}\"", name));
  }
  checkWay(name, found->isPrivate, isPrivate);
  return found->make(name);
}

void define(const vysim_filter_definition& definition) {
  if ((definition.name == nullptr) || (*definition.name == 0)) {
    throw Failure(ExceptionType::invalidValue, "a filter definition must have a name");
  }
  if (definition.item_count > 0 && (definition.items == nullptr)) {
    throw Failure(ExceptionType::invalidValue,
                  fmt::format("the definition of \"{}\" promises {} items but its list is null", definition.name,
                              definition.item_count));
  }
  const std::lock_guard<std::mutex> lock(definitions().mutex);
  definitions().byName[definition.name] = definition;
}

void dropDefinitions() {
  const std::lock_guard<std::mutex> lock(definitions().mutex);
  definitions().byName.clear();
}

}  // namespace tavrix::catalogue
