#include "TrivialHost.h"

#include <vy_frame_processor.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

namespace {

/// The name is also what the filter reports. It stands at the beginning of a cache line, as comparing a text that
/// crosses one costs more, and where a text on the heap lies is chance.
struct alignas(64) HostFilter {
  char name[48];
  bool isPrivate;
};
constexpr HostFilter kHostFilters[] = {
    {"FrameUnpacker", false},
    {"TalonFrameUnpacker", false},
    {"TiberonDecompress", false},
    {"CorvidPixelOffsetFix", false},
    {"NoiseRemovalFilter", false},
    {"DisparityTransform", false},
    {"HardwareD2DCorrectionFilter", false},
    {"FrameMirror", false},
    {"FrameFlip", false},
    {"FrameRotate", false},
    {"DepthResize", true},
    {"OpenNIDisparityTransform", true},
};

/// Texts that definitions refer to as long as the program runs.
const char* keep(const char* text) {
  static std::deque<std::string> texts;
  return text != nullptr ? texts.emplace_back(text).c_str() : nullptr;
}

std::vector<VYFilterConfigSchemaItem> itemsOf(const HostFilter& filter) {
  vy_filter_t* const original =
      (filter.isPrivate ? vy_create_private_filter : vy_create_filter)(filter.name, MustSucceed());
  vy_filter_config_schema_list_t* const list = vy_filter_get_config_schema_list(original, MustSucceed());
  std::vector<VYFilterConfigSchemaItem> items;
  for (std::uint32_t i = 0; i < vy_filter_config_schema_list_get_count(list, MustSucceed()); ++i) {
    VYFilterConfigSchemaItem item = vy_filter_config_schema_list_get_item(list, i, MustSucceed());
    item.name = keep(item.name);
    item.desc = keep(item.desc);
    items.push_back(item);
  }
  vy_delete_filter_config_schema_list(list, MustSucceed());
  vy_delete_filter(original, MustSucceed());
  return items;
}

void warmUp() {
  // More than the host keeps dead objects waiting before it reuses them.
  constexpr int kRounds = 400;
  vy_device_t* const device = vysim_create_device(1, 1);
  for (int i = 0; i < kRounds; ++i) {
    const FrameOwner frame(vysim_create_frame(8, 8, VY_FORMAT_Y16, VY_PIXEL_DEPTH, MustSucceed()));
    vy_delete_stream_profile(vy_frame_get_stream_profile(frame.get(), MustSucceed()), MustSucceed());
    vy_filter_t* const filter = vy_create_filter("FrameMirror", MustSucceed());
    vy_delete_filter_config_schema_list(vy_filter_get_config_schema_list(filter, MustSucceed()), MustSucceed());
    vy_delete_filter(filter, MustSucceed());
    vy_delete_device_info(vy_device_get_device_info(device, MustSucceed()), MustSucceed());
  }
  vysim_delete_device(device, MustSucceed());
}

}  // namespace

void demand(vy_error* error) {
  if (error == nullptr) return;
  std::fprintf(stderr, "vyfp_bench: %s: %s\n", vy_error_get_function(error), vy_error_get_message(error));
  std::exit(1);
}

void makeHostTrivial() {
  static std::deque<std::vector<VYFilterConfigSchemaItem>> items;
  for (const HostFilter& filter : kHostFilters) {
    const auto& kept = items.emplace_back(itemsOf(filter));
    const vysim_filter_definition definition = {
        filter.name, filter.name, filter.isPrivate, kept.data(), static_cast<std::uint32_t>(kept.size()),
        nullptr,     nullptr};
    vysim_define_filter(&definition, MustSucceed());
  }
  for (std::size_t i = 0; i < vysim_family_count(); ++i) {
    const std::uint8_t* data = nullptr;
    const int type = vysim_family_at(i)->list_type;
    const int size = vysim_device_list(type, &data);
    if (size > 0) vy_set_device_info_data(type, data, size, MustSucceed());
  }
  warmUp();
}

const vysim_stream& depthStream(const vysim_family& family) {
  return *std::find_if(family.streams, family.streams + family.stream_count,
                       [](const vysim_stream& stream) { return stream.sensor == VY_SENSOR_DEPTH; });
}

FrameOwner makeSmallFrame(const vysim_stream& stream) {
  return FrameOwner(vysim_create_frame(16, 8, stream.format, stream.pixel_type, MustSucceed()));
}
