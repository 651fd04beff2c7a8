#include "Floor.h"

#include <stdlib.h>
#include <string.h>

// Volatile, so that every call is indirect, as through a table of operations.
static const struct {
  vy_device_info_t* (*get_device_info)(const vy_device_t*, vy_error**);
  int (*get_vid)(const vy_device_info_t*, vy_error**);
  int (*get_pid)(const vy_device_info_t*, vy_error**);
  void (*delete_device_info)(const vy_device_info_t*, vy_error**);
  vy_filter_t* (*create_filter)(const char*, vy_error**);
  vy_filter_t* (*create_private_filter)(const char*, vy_error**);
  void (*delete_filter)(vy_filter_t*, vy_error**);
  const char* (*get_name)(const vy_filter_t*, vy_error**);
  vy_filter_config_schema_list_t* (*get_list)(const vy_filter_t*, vy_error**);
  void (*delete_list)(vy_filter_config_schema_list_t*, vy_error**);
  uint32_t (*get_item_count)(const vy_filter_config_schema_list_t*, vy_error**);
  VYFilterConfigSchemaItem (*get_item)(const vy_filter_config_schema_list_t*, uint32_t, vy_error**);
  void (*configure)(vy_filter_t*, uint8_t, const char**, vy_error**);
  double (*get_value)(const vy_filter_t*, const char*, vy_error**);
  void (*set_value)(vy_filter_t*, const char*, double, vy_error**);
  void (*enable)(vy_filter_t*, bool, vy_error**);
  bool (*is_enabled)(const vy_filter_t*, vy_error**);
  vy_frame_t* (*process)(vy_filter_t*, const vy_frame_t*, vy_error**);
  void (*add_frame)(const vy_frame_t*, vy_error**);
  void (*delete_frame)(const vy_frame_t*, vy_error**);
  VYFormat (*get_format)(const vy_frame_t*, vy_error**);
  VYPixelType (*get_pixel_type)(const vy_frame_t*, vy_error**);
  uint32_t (*get_width)(const vy_frame_t*, vy_error**);
  uint32_t (*get_height)(const vy_frame_t*, vy_error**);
  vy_frame_t* (*copy_frame)(const vy_frame_t*, bool, vy_error**);
  vy_stream_profile_t* (*get_profile)(const vy_frame_t*, vy_error**);
  VYCameraIntrinsic (*get_intrinsic)(const vy_stream_profile_t*, vy_error**);
  void (*set_intrinsic)(vy_stream_profile_t*, VYCameraIntrinsic, vy_error**);
  void (*set_distortion)(vy_stream_profile_t*, VYCameraDistortion, vy_error**);
  void (*set_extrinsic)(vy_stream_profile_t*, VYStreamType, VYExtrinsic, vy_error**);
  void (*delete_profile)(const vy_stream_profile_t*, vy_error**);
} volatile host = {
    vy_device_get_device_info,
    vy_device_info_get_vid,
    vy_device_info_get_pid,
    vy_delete_device_info,
    vy_create_filter,
    vy_create_private_filter,
    vy_delete_filter,
    vy_filter_get_name,
    vy_filter_get_config_schema_list,
    vy_delete_filter_config_schema_list,
    vy_filter_config_schema_list_get_count,
    vy_filter_config_schema_list_get_item,
    vy_filter_update_config,
    vy_filter_get_config_value,
    vy_filter_set_config_value,
    vy_filter_enable,
    vy_filter_is_enabled,
    vy_filter_process,
    vy_frame_add_ref,
    vy_delete_frame,
    vy_frame_get_format,
    vy_video_frame_get_pixel_type,
    vy_video_frame_get_width,
    vy_video_frame_get_height,
    vy_create_frame_from_other_frame,
    vy_frame_get_stream_profile,
    vy_video_stream_profile_get_intrinsic,
    vy_video_stream_profile_set_intrinsic,
    vy_video_stream_profile_set_distortion,
    vy_stream_profile_set_extrinsic_to_type,
    vy_delete_stream_profile,
};

enum { switch_item = 255 };

void floor_lookup(const floor_registry* registry, size_t looked_up) {
  vy_error* error = NULL;
  if (looked_up == 0) return;
  host.get_name(registry->handles[looked_up - 1], &error);
  for (size_t i = 0; i < looked_up; ++i) host.get_name(registry->handles[i], &error);
}

static void stamp(const floor_chain* chain, const vy_frame_t* frame, vy_error** error) {
  const VYCameraDistortion none = {0};
  const VYExtrinsic identity = {{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}};
  vy_stream_profile_t* const profile = host.get_profile(frame, error);
  host.get_intrinsic(profile, error);
  host.set_intrinsic(profile, chain->intrinsic, error);
  host.set_distortion(profile, none, error);
  host.set_extrinsic(profile, VY_STREAM_COLOR, identity, error);
  host.delete_profile(profile, error);
}

static vy_frame_t* run_own(const floor_chain* chain, const floor_link* link, const vy_frame_t* frame,
                           vy_error** error) {
  floor_lookup(chain->registry, link->looked_up);
  if (!link->is_hardware_d2c) return host.process(link->filter, frame, error);
  host.get_width(frame, error);
  host.get_height(frame, error);
  vy_frame_t* const output = host.process(link->filter, frame, error);
  stamp(chain, output, error);
  return output;
}

vy_frame_t* floor_process(const floor_chain* chain, const vy_frame_t* frame) {
  vy_error* error = NULL;
  const vy_frame_t* current = frame;
  vy_frame_t* result = NULL;
  host.add_frame(frame, &error);
  for (const floor_link* link = chain->links; link != chain->links + chain->count; ++link) {
    if (link->is_own) {
      floor_lookup(chain->registry, link->looked_up);
      if (!link->enabled) continue;
    } else if (!host.is_enabled(link->filter, &error)) {
      continue;
    }
    host.get_format(frame, &error);
    host.get_pixel_type(frame, &error);
    if (link->is_own) {
      floor_lookup(chain->registry, link->looked_up);
    } else {
      host.get_name(link->filter, &error);
    }
    if (!link->admitted) continue;
    if (result != NULL) {
      host.delete_frame(current, &error);
      current = result;
    }
    host.get_format(current, &error);
    result = link->is_own ? run_own(chain, link, current, &error) : host.process(link->filter, current, &error);
  }
  host.delete_frame(current, &error);
  return result != NULL ? result : host.copy_frame(frame, true, &error);
}

// The calls of finding a filter by its name.
static void find_by_name(const floor_chain* chain, const floor_link* wanted) {
  vy_error* error = NULL;
  for (const floor_link* link = chain->links; link <= wanted; ++link) {
    if (link->is_own) {
      floor_lookup(chain->registry, link->looked_up);
    } else {
      host.get_name(link->filter, &error);
    }
  }
}

static void enable(const floor_chain* chain, const floor_link* link, bool on, vy_error** error) {
  if (link->is_own) {
    floor_lookup(chain->registry, link->looked_up);
  } else {
    host.enable(link->filter, on, error);
  }
}

void floor_update_config(const floor_chain* chain, const char** values) {
  vy_error* error = NULL;
  for (const floor_link* link = chain->links; link != chain->links + chain->count; ++link) {
    for (size_t i = 0; i < link->item_count; ++i) {
      const char* const value = *values++;
      find_by_name(chain, link);
      if (link->items[i] == switch_item) {
        enable(chain, link, strtol(value, NULL, 10) == 1, &error);
        continue;
      }
      floor_lookup(chain->registry, link->looked_up);
      vy_filter_config_schema_list_t* const list = host.get_list(link->filter, &error);
      host.get_item_count(list, &error);
      const VYFilterConfigSchemaItem item = host.get_item(list, link->items[i], &error);
      floor_lookup(chain->registry, link->looked_up);
      host.set_value(link->filter, item.name, strtod(value, NULL), &error);
      host.delete_list(list, &error);
    }
  }
}

void floor_schema(const floor_chain* chain, const floor_link* link) {
  vy_error* error = NULL;
  if (link->item_count == 0) return;
  floor_lookup(chain->registry, link->looked_up);
  vy_filter_config_schema_list_t* const list = host.get_list(link->filter, &error);
  for (size_t i = 0; i < link->item_count; ++i) {
    if (link->is_own) {
      floor_lookup(chain->registry, link->looked_up);
    } else {
      host.get_name(link->filter, &error);
    }
    if (link->items[i] == switch_item) continue;
    const VYFilterConfigSchemaItem item = host.get_item(list, link->items[i], &error);
    floor_lookup(chain->registry, link->looked_up);
    host.get_value(link->filter, item.name, &error);
  }
  host.delete_list(list, &error);
}

void floor_build_chain(floor_chain* chain) {
  vy_error* error = NULL;
  for (floor_link* link = chain->links; link != chain->links + chain->count; ++link) {
    if (link->is_own) {
      link->filter = host.create_private_filter(link->name, &error);
      chain->registry->handles[chain->registry->count++] = link->filter;
      link->looked_up = chain->registry->count;
    } else {
      link->filter = host.create_filter(link->name, &error);
      if (link->argc != 0) host.configure(link->filter, link->argc, link->argv, &error);
    }
    enable(chain, link, link->enabled, &error);
    floor_schema(chain, link);
  }
}

void floor_delete_chain(const floor_chain* chain) {
  vy_error* error = NULL;
  for (const floor_link* link = chain->links; link != chain->links + chain->count; ++link) {
    if (link->is_own) {
      floor_lookup(chain->registry, link->looked_up);  // the registry keeps the filter
    } else {
      host.delete_filter(link->filter, &error);
    }
  }
}

vy_device_info_t* floor_open_device(const vy_device_t* device) {
  vy_error* error = NULL;
  vy_device_info_t* const info = host.get_device_info(device, &error);
  host.get_pid(info, &error);
  host.get_vid(info, &error);
  return info;
}

void floor_close_device(const vy_device_info_t* info, const floor_registry* registry) {
  vy_error* error = NULL;
  host.delete_device_info(info, &error);
  for (size_t i = 0; i < registry->count; ++i) host.delete_filter(registry->handles[i], &error);
}
