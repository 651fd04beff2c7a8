// Calls with null handles, dead handles, unknown names and indices past the end.
#include "HostChecks.h"
#include "SchemaItems.h"

namespace vyhost {
namespace {

constexpr const char* kFilter = "NoiseRemovalFilter";
constexpr const char* kNoItem = "NoSuchItem";

vy_filter_t* deadFilter(const HostUnderTest& host) {
  vy_filter_t* const filter = makeFilter(host, kFilter);
  host.must(host.vy_delete_filter, filter);
  return filter;
}

vy_filter_config_schema_list_t* deadList(const HostUnderTest& host) {
  vy_filter_config_schema_list_t* const list = makeList(host, makeFilter(host, kFilter));
  host.must(host.vy_delete_filter_config_schema_list, list);
  return list;
}

SeenError askPastEnd(const HostUnderTest& host) {
  const vy_filter_config_schema_list_t* const list = makeList(host, makeFilter(host, kFilter));
  const std::uint32_t count = host.must(host.vy_filter_config_schema_list_get_count, list);
  const SeenError seen = askItem(host, list, count);
  // The library asks for published items without a look at the count.
  if (!seen.isSet) throw Broken("there is no error: the library would publish an item that is not there");
  return seen;
}

SeenError askNullItem(const HostUnderTest& host) {
  return askItem(host, nullptr, 0);
}

// A null handle reaches the host again where the host gave it without an error: as a filter, a list, a device info, a
// result frame or a profile.
constexpr Verdict kReachable = Verdict::fail;
constexpr Verdict kElsewhere = Verdict::warning;

}  // namespace

// clang-format off
#define VY_ASK(...) [](const HostUnderTest& host) { return host.ask(__VA_ARGS__).error; }
const std::vector<BadCall> kBadCalls = {
    {"vy_device_get_device_info(null)",              kElsewhere, VY_ASK(host.vy_device_get_device_info, nullptr)},
    {"vy_device_info_get_vid(null)",                 kReachable, VY_ASK(host.vy_device_info_get_vid, nullptr)},
    {"vy_device_info_get_pid(null)",                 kReachable, VY_ASK(host.vy_device_info_get_pid, nullptr)},
    {"vy_delete_device_info(null)",                  kElsewhere, VY_ASK(host.vy_delete_device_info, nullptr)},
    {"vy_create_filter(null)",                       kElsewhere, VY_ASK(host.vy_create_filter, nullptr)},
    {"vy_create_private_filter(null)",               kElsewhere, VY_ASK(host.vy_create_private_filter, nullptr)},
    {"vy_filter_get_name(null)",                     kReachable, VY_ASK(host.vy_filter_get_name, nullptr)},
    {"vy_delete_filter(null)",                       kReachable, VY_ASK(host.vy_delete_filter, nullptr)},
    {"vy_filter_get_config_schema(null)",            kElsewhere, VY_ASK(host.vy_filter_get_config_schema, nullptr)},
    {"vy_filter_get_config_schema_list(null)",       kElsewhere, VY_ASK(host.vy_filter_get_config_schema_list, nullptr)},
    {"vy_delete_filter_config_schema_list(null)",    kReachable, VY_ASK(host.vy_delete_filter_config_schema_list, nullptr)},
    {"vy_filter_config_schema_list_get_count(null)", kReachable, VY_ASK(host.vy_filter_config_schema_list_get_count, nullptr)},
    {"vy_filter_config_schema_list_get_item(null)",  kReachable, askNullItem},
    {"vy_filter_update_config(null)",                kReachable, VY_ASK(host.vy_filter_update_config, nullptr, std::uint8_t{0}, nullptr)},
    {"vy_filter_get_config_value(null)",             kElsewhere, VY_ASK(host.vy_filter_get_config_value, nullptr, kNoItem)},
    {"vy_filter_set_config_value(null)",             kElsewhere, VY_ASK(host.vy_filter_set_config_value, nullptr, kNoItem, 0.0)},
    {"vy_filter_reset(null)",                        kElsewhere, VY_ASK(host.vy_filter_reset, nullptr)},
    {"vy_filter_enable(null)",                       kReachable, VY_ASK(host.vy_filter_enable, nullptr, true)},
    {"vy_filter_is_enabled(null)",                   kReachable, VY_ASK(host.vy_filter_is_enabled, nullptr)},
    {"vy_filter_process(null)",                      kReachable, VY_ASK(host.vy_filter_process, nullptr, nullptr)},
    {"vy_filter_process(filter, null)",              kElsewhere, VY_ASK(host.vy_filter_process, makeFilter(host, kFilter), nullptr)},
    {"vy_frame_add_ref(null)",                       kElsewhere, VY_ASK(host.vy_frame_add_ref, nullptr)},
    {"vy_delete_frame(null)",                        kElsewhere, VY_ASK(host.vy_delete_frame, nullptr)},
    {"vy_frame_get_format(null)",                    kElsewhere, VY_ASK(host.vy_frame_get_format, nullptr)},
    {"vy_video_frame_get_pixel_type(null)",          kElsewhere, VY_ASK(host.vy_video_frame_get_pixel_type, nullptr)},
    {"vy_video_frame_get_width(null)",               kElsewhere, VY_ASK(host.vy_video_frame_get_width, nullptr)},
    {"vy_video_frame_get_height(null)",              kElsewhere, VY_ASK(host.vy_video_frame_get_height, nullptr)},
    {"vy_create_frame_from_other_frame(null)",       kElsewhere, VY_ASK(host.vy_create_frame_from_other_frame, nullptr, true)},
    {"vy_frame_get_stream_profile(null)",            kReachable, VY_ASK(host.vy_frame_get_stream_profile, nullptr)},
    {"vy_video_stream_profile_get_intrinsic(null)",  kReachable, VY_ASK(host.vy_video_stream_profile_get_intrinsic, nullptr)},
    {"vy_video_stream_profile_set_intrinsic(null)",  kReachable, VY_ASK(host.vy_video_stream_profile_set_intrinsic, nullptr, VYCameraIntrinsic{})},
    {"vy_video_stream_profile_set_distortion(null)", kReachable, VY_ASK(host.vy_video_stream_profile_set_distortion, nullptr, VYCameraDistortion{})},
    {"vy_stream_profile_set_extrinsic_to_type(null)", kReachable, VY_ASK(host.vy_stream_profile_set_extrinsic_to_type, nullptr, static_cast<VYStreamType>(2), VYExtrinsic{})},
    {"vy_delete_stream_profile(null)",               kReachable, VY_ASK(host.vy_delete_stream_profile, nullptr)},
    {"get_config_value of an unknown item",          kElsewhere, VY_ASK(host.vy_filter_get_config_value, makeFilter(host, kFilter), kNoItem)},
    {"set_config_value of an unknown item",          kElsewhere, VY_ASK(host.vy_filter_set_config_value, makeFilter(host, kFilter), kNoItem, 0.0)},
    {"get_config_value of a null item",              kReachable, VY_ASK(host.vy_filter_get_config_value, makeFilter(host, kFilter), nullptr)},
    {"set_config_value of a null item",              kReachable, VY_ASK(host.vy_filter_set_config_value, makeFilter(host, kFilter), nullptr, 0.0)},
    {"get_item past the end",                        kReachable, askPastEnd},
    {"get_name of a deleted filter",                 kElsewhere, VY_ASK(host.vy_filter_get_name, deadFilter(host))},
    {"is_enabled of a deleted filter",               kElsewhere, VY_ASK(host.vy_filter_is_enabled, deadFilter(host))},
    {"deleting a filter twice",                      kElsewhere, VY_ASK(host.vy_delete_filter, deadFilter(host))},
    {"get_count of a deleted list",                  kElsewhere, VY_ASK(host.vy_filter_config_schema_list_get_count, deadList(host))},
    {"deleting a list twice",                        kElsewhere, VY_ASK(host.vy_delete_filter_config_schema_list, deadList(host))},
};
#undef VY_ASK
// clang-format on

}  // namespace vyhost
