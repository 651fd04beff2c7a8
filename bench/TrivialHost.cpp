#include "TrivialHost.h"

#include <vy_frame_processor.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "support/HostFilters.h"

using vysim::call;

namespace {

/// Copies a text; the copy lives as long as the program, as definitions point at it.
const char* keep(const char* text) {
  static std::deque<std::string> texts;
  return text != nullptr ? texts.emplace_back(text).c_str() : nullptr;
}

std::vector<VYFilterConfigSchemaItem> itemsOf(const HostFilter& filter) {
  const vysim::Filter original(call(filter.isPrivate ? vy_create_private_filter : vy_create_filter, filter.name));
  const vysim::SchemaList list(call(vy_filter_get_config_schema_list, original.get()));
  std::vector<VYFilterConfigSchemaItem> items;
  for (std::uint32_t i = 0; i < call(vy_filter_config_schema_list_get_count, list.get()); ++i) {
    VYFilterConfigSchemaItem item = call(vy_filter_config_schema_list_get_item, list.get(), i);
    item.name = keep(item.name);
    item.desc = keep(item.desc);
    items.push_back(item);
  }
  return items;
}

void warmUp() {
  // More than the number of dead objects that the host keeps before it reuses one.
  constexpr int kRounds = 400;
  const vysim::Device device(vysim_create_device(1, 1));
  for (int i = 0; i < kRounds; ++i) {
    const vysim::Frame frame(call(vysim_create_frame, 8U, 8U, VY_FORMAT_Y16, VY_PIXEL_DEPTH));
    const vysim::StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
    const vysim::Filter filter(call(vy_create_filter, "FrameMirror"));
    const vysim::SchemaList list(call(vy_filter_get_config_schema_list, filter.get()));
    const vysim::DeviceInfo info(call(vy_device_get_device_info, device.get()));
  }
}

}  // namespace

void makeHostTrivial() {
  static std::deque<std::vector<VYFilterConfigSchemaItem>> items;
  for (const HostFilter& filter : kHostFilters) {
    const auto& kept = items.emplace_back(itemsOf(filter));
    const vysim_filter_definition definition = {
        filter.name, filter.name, filter.isPrivate, kept.data(), static_cast<std::uint32_t>(kept.size()),
        nullptr,     nullptr};
    call(vysim_define_filter, &definition);
  }
  for (std::size_t i = 0; i < vysim_family_count(); ++i) {
    const std::uint8_t* data = nullptr;
    const int type = vysim_family_at(i)->list_type;
    const int size = vysim_device_list(type, &data);
    if (size > 0) call(vy_set_device_info_data, type, data, size);
  }
  warmUp();
}

const vysim_stream& depthStream(const vysim_family& family) {
  return *std::find_if(family.streams, family.streams + family.stream_count,
                       [](const vysim_stream& stream) { return stream.sensor == VY_SENSOR_DEPTH; });
}

vysim::Frame makeSmallFrame(const vysim_stream& stream) {
  return vysim::Frame(call(vysim_create_frame, 16U, 8U, stream.format, stream.pixel_type));
}
