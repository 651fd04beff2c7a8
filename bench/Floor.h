/// The floors: for each thing the library does, a straight line of the very host calls that it has to make, in the
/// order in which it has to make them, through function pointers, and nothing besides. No floor looks at an error slot.
#pragma once

#include <TavrixSDK.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The filters of the library that are registered before one of them and itself, in order: a lookup asks their names.
typedef struct floor_registry {
  vy_filter_t** handles;
  size_t count;
} floor_registry;

/// One filter of a chain.
typedef struct floor_link {
  const char* name;  ///< to create it by
  bool is_own;       ///< one of the library's filters; `name` is that of the host filter inside
  bool is_hardware_d2c;
  bool enabled;   ///< of the library's filters, and to begin with
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

/// One call of the library on the registry's filter at position `looked_up` - 1.
void floor_lookup(const floor_registry* registry, size_t looked_up);

vy_frame_t* floor_process(const floor_chain* chain, const vy_frame_t* frame);
/// Takes the same values, one for each published item.
void floor_update_config(const floor_chain* chain, const char** values);
/// The host calls behind the schema lines of one filter.
void floor_schema(const floor_chain* chain, const floor_link* link);

void floor_build_chain(floor_chain* chain);
void floor_delete_chain(const floor_chain* chain);
/// What a context asks of the host, and gives back.
vy_device_info_t* floor_open_device(const vy_device_t* device);
void floor_close_device(const vy_device_info_t* info, const floor_registry* registry);

#ifdef __cplusplus
}
#endif
