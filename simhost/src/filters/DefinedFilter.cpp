#include "filters/DefinedFilter.h"

#include "core/HostError.h"

namespace tavrix {
namespace {

Schema schemaOf(const vysim_filter_definition& definition) {
  Schema schema;
  for (uint32_t i = 0; i < definition.item_count; ++i) {
    const VYFilterConfigSchemaItem item = definition.items[i];
    schema.push_back({item.name, item.type, item.min, item.max, item.step, item.def, item.desc});
  }
  return schema;
}

}  // namespace

DefinedFilter::DefinedFilter(const vysim_filter_definition& definition)
    : Filter(definition.name, schemaOf(definition)), definition_(definition) {}

const char* DefinedFilter::reportedName() const {
  return definition_.reported_name != nullptr ? definition_.reported_name : Filter::reportedName();
}

void DefinedFilter::updateConfig(size_t /*count*/, const char* const* /*texts*/) {}

FrameRef DefinedFilter::process(const FrameLoan& input, vy_error** error) {
  if (definition_.process == nullptr) return input.share();
  if (error != nullptr) return FrameRef::adopt(definition_.process(definition_.user, input.handle(), error));
  vy_error* unwanted = nullptr;  // definitions are promised a slot
  FrameRef output = FrameRef::adopt(definition_.process(definition_.user, input.handle(), &unwanted));
  if (unwanted != nullptr) Ref<HostError>::adopt(unwanted).reset();
  return output;
}

}  // namespace tavrix
