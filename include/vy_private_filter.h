/// The functions that drive the library's own filters, "HardwareD2CProcessor" and "DisparityTransform", with the shapes
/// of the host's filter functions, so that a chain can hold either kind.
///
/// A host needs none of them. Conventions are those of vy_frame_processor.h. A null handle or list is reported ("filter
/// is nullptr", "config schema list is nullptr") under the function's own name. Errors of the filters come under the
/// name of the operation that failed ("filter_process", "setHardwareD2CParams", "getPrivateFilterName" and others),
/// with exception type 9 where the hardware D2C filter does not offer the operation, 4 otherwise. The result of a
/// failed call is null, 0, false or a record of zero bytes, except where noted. These functions have C++ linkage.
///
/// A handle is what priv_create_filter() returned: the host filter inside the library's filter. It stays valid, deleted
/// or not, until the last frame processor context of the process is gone; without a context it is dead at once. A live
/// handle of the host's that the library did not make does nothing, and gives the neutral result; the host's error for
/// it, if any, stays in the slot.
///
/// All functions are reentrant; one handle is thread-bound.
#pragma once

#ifndef __cplusplus
#error "vy_private_filter.h is for C++"
#endif

#include <vy_frame_processor.h>

/// Makes a filter of the library by name. Both functions do the same and differ in the name they report errors under.
/// @return The filter's handle, kept alive by the library. Null with "Failed to create filter,filter not found" for a
///         name that is not one of ours (or null), and with "Create filter failed" when the host cannot make the filter
///         inside or memory runs out. Never throws.
VY_FRAME_PROCESSOR_API vy_filter_t* priv_create_filter(const char* name, vy_error** error);
VY_FRAME_PROCESSOR_API vy_filter_t* priv_create_private_filter(const char* name, vy_error** error);

/// The name that the filter was created by. Error "failed to get filter name" for a handle that is not ours, in place
/// of the host's own.
VY_FRAME_PROCESSOR_API const char* priv_filter_get_name(const vy_filter_t* filter, vy_error** error);

/// Gives back the first schema list of the filter that is still out. The filter itself lives on, and its handle goes on
/// working, until the last context is gone; deleting twice is harmless.
VY_FRAME_PROCESSOR_API void priv_delete_filter(vy_filter_t* filter, vy_error** error);

/// The filter's configuration items; the caller gives the list back with priv_filter_delete_config_schema_list().
VY_FRAME_PROCESSOR_API vy_filter_config_schema_list_t* priv_filter_get_config_schema_list(const vy_filter_t* filter,
                                                                                          vy_error** error);
/// Gives a list back; a null list, or one that no filter of ours gave out, is ignored.
VY_FRAME_PROCESSOR_API void priv_filter_delete_config_schema_list(vy_filter_config_schema_list_t* list,
                                                                  vy_error** error);

/// Configures the filter from argc texts, lent for the call. The hardware D2C filter refuses any: "the number of params
/// error", exception type 9.
VY_FRAME_PROCESSOR_API void priv_filter_update_config(vy_filter_t* filter, uint8_t argc, const char** argv,
                                                      vy_error** error);
/// Reads or writes one configuration item by name. The hardware D2C filter has none: 0 and no effect.
VY_FRAME_PROCESSOR_API double priv_filter_get_config_value(const vy_filter_t* filter, const char* name,
                                                           vy_error** error);
VY_FRAME_PROCESSOR_API void priv_filter_set_config_value(vy_filter_t* filter, const char* name, double value,
                                                         vy_error** error);
/// Resets the filter's state; the hardware D2C filter forgets its parameters: from then on it stamps zeros, until it
/// gets others.
VY_FRAME_PROCESSOR_API void priv_filter_reset(vy_filter_t* filter, vy_error** error);

/// The filter's own switch, off at first. The host filter inside is not told.
VY_FRAME_PROCESSOR_API void priv_filter_enable(vy_filter_t* filter, bool enable, vy_error** error);
VY_FRAME_PROCESSOR_API bool priv_filter_is_enabled(const vy_filter_t* filter, vy_error** error);

/// Runs the filter on a frame, which stays the caller's.
/// @return A new reference that the caller owns. Null for a null frame (no error), and with the error when the host
///         filter fails; a frame that came with it is released. A frame and an error when the hardware D2C filter
///         cannot stamp its result. When the host filter gives neither, null: without an error from the disparity
///         filter, with that of vy_frame_get_stream_profile() from the hardware D2C filter.
VY_FRAME_PROCESSOR_API vy_frame_t* priv_filter_process(vy_filter_t* filter, const vy_frame_t* frame, vy_error** error);

/// Length of a schema list that the disparity filter gave out; 0 for any other.
VY_FRAME_PROCESSOR_API uint32_t priv_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* list,
                                                                         vy_error** error);
/// One item of such a list; all bytes zero for any other list. Its texts belong to the list.
VY_FRAME_PROCESSOR_API VYFilterConfigSchemaItem
priv_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* list, uint32_t index, vy_error** error);

/// Hands over hardware depth-to-colour parameters, see vy_frame_processor_set_hardware_d2c_params(). Error "failed to
/// convert hardware d2c processor" for a filter of ours that is not a HardwareD2CProcessor.
VY_FRAME_PROCESSOR_API void priv_filter_set_hardware_d2c_params(vy_filter_t* filter, VYCameraIntrinsic intrinsic,
                                                                uint8_t reserved_byte, float scale, int16_t pad_left,
                                                                int16_t pad_top, int16_t pad_right, int16_t pad_bottom,
                                                                bool apply_scale, bool reserved_flag, vy_error** error);
