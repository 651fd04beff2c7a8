/// The floors: for each thing that the library does, the host calls that it has to make, in their order, through
/// function pointers, and nothing else. No floor looks at an error slot.
#pragma once

#include <TavrixSDK.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The library's filters in the order of their registration. The lookup of one asks the names of all up to itself.
typedef struct floor_registry {
  vy_filter_t** handles;
  size_t count;
} floor_registry;

/// One filter of a chain.
typedef struct floor_link {
  const char* name;  ///< to create it by
  bool is_own;       ///< one of the library's filters; `name` is that of the host filter inside
  bool is_hardware_d2c;
  bool enabled;   ///< at first; for the library's filters at all times
  bool admitted;  ///< the format rule lets it run
  uint8_t argc;
  const char* argv[8];
  const uint8_t* items;
  size_t item_count;

  vy_filter_t* filter;
  size_t looked_up;  ///< how many names a lookup of this filter asks; 0 for a filter of the host
} floor_link;

typedef struct floor_chain {
  floor_link* links;
  size_t count;
  floor_registry* registry;
  VYCameraIntrinsic intrinsic;  ///< what the hardware D2C filter stamps on its outputs
} floor_chain;

/// The lookup of the registry's filter at position `looked_up` - 1.
void floor_lookup(const floor_registry* registry, size_t looked_up);

vy_frame_t* floor_process(const floor_chain* chain, const vy_frame_t* frame);
/// Takes one value for each published item.
void floor_update_config(const floor_chain* chain, const char** values);
/// The host calls behind the schema lines of one filter.
void floor_schema(const floor_chain* chain, const floor_link* link);

void floor_build_chain(floor_chain* chain);
void floor_delete_chain(const floor_chain* chain);
/// The host calls of making and destroying a context.
vy_device_info_t* floor_open_device(const vy_device_t* device);
void floor_close_device(const vy_device_info_t* info, const floor_registry* registry);

#ifdef __cplusplus
}
#endif
