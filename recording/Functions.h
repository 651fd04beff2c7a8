// The functions on the library's two borders, each written once. Everything that records, answers or explains calls is
// made from this table: the twin's wrappers, the host that replays, the words of the desk tool. The build fails when
// the library imports or exports a function that the table lacks (RenameExports.cmake).
//
//   FUNCTION(result, name, (parameters), (arguments), "argument names", effect)
//
// Parameters and arguments leave out the error slot, which is every function's last, but for those of the BARE rows.
// Effect says what a call does to the reference counts that handle numbers follow; what a call returns counts as one
// reference more.
#pragma once

#include <TavrixSDK.h>
#include <vy_frame_processor.h>
#include <vy_private_filter.h>

namespace recording {

/// What a call does to the object of its first argument.
enum class Effect { none, adds, releases };

}  // namespace recording

// clang-format off

/// Functions of the host that the library calls, with an error slot.
#define VY_HOST_FUNCTIONS(FUNCTION) \
  FUNCTION(vy_device_info_t*, vy_device_get_device_info, (const vy_device_t* device), (device), "device", none) \
  FUNCTION(int, vy_device_info_get_vid, (const vy_device_info_t* info), (info), "info", none) \
  FUNCTION(int, vy_device_info_get_pid, (const vy_device_info_t* info), (info), "info", none) \
  FUNCTION(void, vy_delete_device_info, (const vy_device_info_t* info), (info), "info", releases) \
  FUNCTION(vy_filter_t*, vy_create_filter, (const char* name), (name), "name", none) \
  FUNCTION(vy_filter_t*, vy_create_private_filter, (const char* name), (name), "name", none) \
  FUNCTION(const char*, vy_filter_get_name, (const vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(void, vy_delete_filter, (vy_filter_t* filter), (filter), "filter", releases) \
  FUNCTION(const char*, vy_filter_get_config_schema, (const vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(vy_filter_config_schema_list_t*, vy_filter_get_config_schema_list, (const vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(void, vy_delete_filter_config_schema_list, (vy_filter_config_schema_list_t* list), (list), "list", releases) \
  FUNCTION(uint32_t, vy_filter_config_schema_list_get_count, (const vy_filter_config_schema_list_t* list), (list), "list", none) \
  FUNCTION(VYFilterConfigSchemaItem, vy_filter_config_schema_list_get_item, (const vy_filter_config_schema_list_t* list, uint32_t index), (list, index), "list,index", none) \
  FUNCTION(void, vy_filter_update_config, (vy_filter_t* filter, uint8_t argc, const char** argv), (filter, argc, argv), "filter,argc,argv", none) \
  FUNCTION(double, vy_filter_get_config_value, (const vy_filter_t* filter, const char* item), (filter, item), "filter,item", none) \
  FUNCTION(void, vy_filter_set_config_value, (vy_filter_t* filter, const char* item, double value), (filter, item, value), "filter,item,value", none) \
  FUNCTION(void, vy_filter_reset, (vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(void, vy_filter_enable, (vy_filter_t* filter, bool enable), (filter, enable), "filter,enable", none) \
  FUNCTION(bool, vy_filter_is_enabled, (const vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(vy_frame_t*, vy_filter_process, (vy_filter_t* filter, const vy_frame_t* frame), (filter, frame), "filter,frame", none) \
  FUNCTION(void, vy_frame_add_ref, (const vy_frame_t* frame), (frame), "frame", adds) \
  FUNCTION(void, vy_delete_frame, (const vy_frame_t* frame), (frame), "frame", releases) \
  FUNCTION(VYFormat, vy_frame_get_format, (const vy_frame_t* frame), (frame), "frame", none) \
  FUNCTION(VYPixelType, vy_video_frame_get_pixel_type, (const vy_frame_t* frame), (frame), "frame", none) \
  FUNCTION(uint32_t, vy_video_frame_get_width, (const vy_frame_t* frame), (frame), "frame", none) \
  FUNCTION(uint32_t, vy_video_frame_get_height, (const vy_frame_t* frame), (frame), "frame", none) \
  FUNCTION(vy_frame_t*, vy_create_frame_from_other_frame, (const vy_frame_t* frame, bool copy_data), (frame, copy_data), "frame,copy_data", none) \
  FUNCTION(vy_stream_profile_t*, vy_frame_get_stream_profile, (const vy_frame_t* frame), (frame), "frame", none) \
  FUNCTION(VYCameraIntrinsic, vy_video_stream_profile_get_intrinsic, (const vy_stream_profile_t* profile), (profile), "profile", none) \
  FUNCTION(void, vy_video_stream_profile_set_intrinsic, (vy_stream_profile_t* profile, VYCameraIntrinsic intrinsic), (profile, intrinsic), "profile,intrinsic", none) \
  FUNCTION(void, vy_video_stream_profile_set_distortion, (vy_stream_profile_t* profile, VYCameraDistortion distortion), (profile, distortion), "profile,distortion", none) \
  FUNCTION(void, vy_stream_profile_set_extrinsic_to_type, (vy_stream_profile_t* profile, VYStreamType type, VYExtrinsic extrinsic), (profile, type, extrinsic), "profile,type,extrinsic", none) \
  FUNCTION(void, vy_delete_stream_profile, (const vy_stream_profile_t* profile), (profile), "profile", releases)

/// Those without an error slot.
#define VY_BARE_HOST_FUNCTIONS(FUNCTION) \
  FUNCTION(vy_error*, vy_create_error, (int status, const char* message, const char* function, const char* args, int exception_type), (status, message, function, args, exception_type), "status,message,function,args,exception_type", none) \
  FUNCTION(void, vy_delete_error, (vy_error* error), (error), "error", releases)

/// Functions that the library exports to the host, with C linkage and an error slot.
#define VY_LIBRARY_FUNCTIONS(FUNCTION) \
  FUNCTION(vy_frame_processor_context_t*, vy_create_frame_processor_context, (vy_device_t* device), (device), "device", none) \
  FUNCTION(void, vy_destroy_frame_processor_context, (vy_frame_processor_context_t* context), (context), "context", releases) \
  FUNCTION(vy_frame_processor_t*, vy_create_frame_processor, (vy_frame_processor_context_t* context, VYSensorType sensor_type), (context, sensor_type), "context,sensor_type", none) \
  FUNCTION(void, vy_destroy_frame_processor, (vy_frame_processor_t* processor), (processor), "processor", releases) \
  FUNCTION(vy_frame_t*, vy_frame_processor_process_frame, (vy_frame_processor_t* processor, vy_frame_t* frame), (processor, frame), "processor,frame", none) \
  FUNCTION(const char*, vy_frame_processor_get_config_schema, (vy_frame_processor_t* processor), (processor), "processor", none) \
  FUNCTION(void, vy_frame_processor_update_config, (vy_frame_processor_t* processor, uint8_t argc, const char** argv), (processor, argc, argv), "processor,argc,argv", none) \
  FUNCTION(void, vy_frame_processor_set_hardware_d2c_params, (vy_frame_processor_t* processor, VYCameraIntrinsic intrinsic, uint8_t reserved_byte, float scale, int16_t pad_left, int16_t pad_top, int16_t pad_right, int16_t pad_bottom, bool apply_scale, bool reserved_flag), (processor, intrinsic, reserved_byte, scale, pad_left, pad_top, pad_right, pad_bottom, apply_scale, reserved_flag), "processor,intrinsic,reserved_byte,scale,pad_left,pad_top,pad_right,pad_bottom,apply_scale,reserved_flag", none) \
  FUNCTION(void, vy_set_device_info_data, (int type, const uint8_t* data, int size), (type, data, size), "type,data,size", none)

#define VY_BARE_LIBRARY_FUNCTIONS(FUNCTION) \
  FUNCTION(const char*, vy_get_commit_hash, (void), (), "", none)

/// Those with C++ linkage, which the library's own chains call, too.
#define VY_PRIVATE_FILTER_FUNCTIONS(FUNCTION) \
  FUNCTION(vy_filter_t*, priv_create_filter, (const char* name), (name), "name", none) \
  FUNCTION(vy_filter_t*, priv_create_private_filter, (const char* name), (name), "name", none) \
  FUNCTION(const char*, priv_filter_get_name, (const vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(void, priv_delete_filter, (vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(vy_filter_config_schema_list_t*, priv_filter_get_config_schema_list, (const vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(void, priv_filter_delete_config_schema_list, (vy_filter_config_schema_list_t* list), (list), "list", none) \
  FUNCTION(void, priv_filter_update_config, (vy_filter_t* filter, uint8_t argc, const char** argv), (filter, argc, argv), "filter,argc,argv", none) \
  FUNCTION(double, priv_filter_get_config_value, (const vy_filter_t* filter, const char* name), (filter, name), "filter,name", none) \
  FUNCTION(void, priv_filter_set_config_value, (vy_filter_t* filter, const char* name, double value), (filter, name, value), "filter,name,value", none) \
  FUNCTION(void, priv_filter_reset, (vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(void, priv_filter_enable, (vy_filter_t* filter, bool enable), (filter, enable), "filter,enable", none) \
  FUNCTION(bool, priv_filter_is_enabled, (const vy_filter_t* filter), (filter), "filter", none) \
  FUNCTION(vy_frame_t*, priv_filter_process, (vy_filter_t* filter, const vy_frame_t* frame), (filter, frame), "filter,frame", none) \
  FUNCTION(uint32_t, priv_filter_config_schema_list_get_count, (const vy_filter_config_schema_list_t* list), (list), "list", none) \
  FUNCTION(VYFilterConfigSchemaItem, priv_filter_config_schema_list_get_item, (const vy_filter_config_schema_list_t* list, uint32_t index), (list, index), "list,index", none) \
  FUNCTION(void, priv_filter_set_hardware_d2c_params, (vy_filter_t* filter, VYCameraIntrinsic intrinsic, uint8_t reserved_byte, float scale, int16_t pad_left, int16_t pad_top, int16_t pad_right, int16_t pad_bottom, bool apply_scale, bool reserved_flag), (filter, intrinsic, reserved_byte, scale, pad_left, pad_top, pad_right, pad_bottom, apply_scale, reserved_flag), "filter,intrinsic,reserved_byte,scale,pad_left,pad_top,pad_right,pad_bottom,apply_scale,reserved_flag", none)

// clang-format on
