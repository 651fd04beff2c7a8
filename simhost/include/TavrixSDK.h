/// Declarations of the part of the host SDK (libTavrixSDK) that the frame processor library uses.
///
/// A site with the host's own SDK builds against the header of that SDK instead (see README.md); this one belongs to
/// the simulated host and agrees with it byte for byte on types, records and symbols.
///
/// Rules that hold for every function here:
///  - The last argument is the error slot. A call that fails stores a new error object there, and its result is the
///    neutral value of its type (null, 0, false, a record of zero bytes). A call that succeeds leaves the slot alone,
///    so a slot must hold null before the call whose outcome it is to tell. Whoever owns the slot deletes the error
///    with vy_delete_error().
///  - Functions named create or get that return a pointer to a non-const handle hand one reference to the caller, who
///    gives it back with the matching delete function. Returned strings belong to the object asked and live as long.
///  - All functions may be called from any thread. One filter is for one thread at a time.
#pragma once

#include <stdbool.h>
#include <stdint.h>

// Enumerations are int in the ABI. C++ needs to be told so, since values without a name come along.
#ifdef __cplusplus
#define VY_INT_ENUM : int
#else
#define VY_INT_ENUM
#endif

#ifdef __cplusplus
extern "C" {
#endif

// ---- Handles --------------------------------------------------------------------------------------------------------

typedef struct vy_error vy_error;
typedef struct vy_device_t vy_device_t;
typedef struct vy_device_info_t vy_device_info_t;
typedef struct vy_filter_t vy_filter_t;
typedef struct vy_filter_config_schema_list_t vy_filter_config_schema_list_t;
typedef struct vy_frame_t vy_frame_t;
typedef struct vy_stream_profile_t vy_stream_profile_t;

// ---- Enumerations ---------------------------------------------------------------------------------------------------

/// Sensor of a camera. Number 9 is in use without a published name.
typedef enum VYSensorType VY_INT_ENUM {
  VY_SENSOR_UNKNOWN = 0,
  VY_SENSOR_IR = 1,
  VY_SENSOR_COLOR = 2,
  VY_SENSOR_DEPTH = 3,
  VY_SENSOR_IR_LEFT = 6,
  VY_SENSOR_IR_RIGHT = 7,
  VY_SENSOR_9 = 9
} VYSensorType;

/// Stream that a profile describes; also the target of an extrinsic.
typedef enum VYStreamType VY_INT_ENUM {
  VY_STREAM_UNKNOWN = 0,
  VY_STREAM_IR = 1,
  VY_STREAM_COLOR = 2,
  VY_STREAM_DEPTH = 3,
  VY_STREAM_IR_LEFT = 6,
  VY_STREAM_IR_RIGHT = 7,
  VY_STREAM_9 = 9
} VYStreamType;

/// Type of a filter's configuration item.
typedef enum VYFilterConfigValueType VY_INT_ENUM {
  VY_FILTER_CONFIG_VALUE_TYPE_INT = 0,
  VY_FILTER_CONFIG_VALUE_TYPE_FLOAT = 1,
  VY_FILTER_CONFIG_VALUE_TYPE_BOOLEAN = 2
} VYFilterConfigValueType;

/// How the pixels of a frame are stored. docs/simulated-host.md has the layouts.
typedef enum VYFormat VY_INT_ENUM {
  VY_FORMAT_UNKNOWN = 0,
  VY_FORMAT_Y16 = 8,        ///< 16-bit little-endian words, one a pixel
  VY_FORMAT_Y8 = 9,         ///< one byte a pixel
  VY_FORMAT_Y10 = 10,       ///< 10-bit pixels, packed
  VY_FORMAT_Y11 = 11,       ///< 11-bit pixels, packed
  VY_FORMAT_Y12 = 12,       ///< 12-bit pixels, packed
  VY_FORMAT_Y14 = 21,       ///< 14-bit pixels, packed
  VY_FORMAT_RGB = 22,       ///< three bytes a pixel: red, green, blue
  VY_FORMAT_Y10_MIPI = 24,  ///< 10-bit pixels, four high bytes and one byte with the low bits of the four
  VY_FORMAT_RLE = 25        ///< 16-bit pixels, run-length compressed
} VYFormat;

/// What the numbers in the pixels mean.
typedef enum VYPixelType VY_INT_ENUM {
  VY_PIXEL_DISPARITY = 0,  ///< disparity with sub-pixel bits, 0 = no measurement
  VY_PIXEL_DEPTH = 1,      ///< depth in millimetres, 0 = no measurement
  VY_PIXEL_INTENSITY = 2,  ///< infrared brightness
  VY_PIXEL_COLOR = 3
} VYPixelType;

// ---- Records, packed to one byte, passed by value -------------------------------------------------------------------

#pragma pack(push, 1)

/// Pinhole parameters in pixels, for an image of width x height.
typedef struct VYCameraIntrinsic {
  float fx, fy, cx, cy;
  int16_t width, height;
} VYCameraIntrinsic;

/// Lens distortion: radial k1..k6, tangential p1, p2, and the number of the model.
typedef struct VYCameraDistortion {
  float k1, k2, k3, k4, k5, k6, p1, p2;
  int32_t model;
} VYCameraDistortion;

/// Rigid motion to another stream: rotation row by row, translation in millimetres.
typedef struct VYExtrinsic {
  float rot[9];
  float trans[3];
} VYExtrinsic;

/// One configuration item of a filter. The strings belong to the schema list it was read from.
typedef struct VYFilterConfigSchemaItem {
  const char* name;
  VYFilterConfigValueType type;
  double min, max, step, def;
  const char* desc;
} VYFilterConfigSchemaItem;

#pragma pack(pop)

// ---- Errors ---------------------------------------------------------------------------------------------------------

/// Makes an error object; the texts are copied, a null text counts as empty. Delete with vy_delete_error().
vy_error* vy_create_error(int status, const char* message, const char* function, const char* args, int exception_type);
/// Deletes an error object; null is allowed and does nothing.
void vy_delete_error(vy_error* error);

/// What an error object says; a null error gives 0 or an empty text.
int vy_error_get_status(const vy_error* error);
const char* vy_error_get_message(const vy_error* error);
const char* vy_error_get_function(const vy_error* error);
const char* vy_error_get_args(const vy_error* error);
int vy_error_get_exception_type(const vy_error* error);

// ---- Devices --------------------------------------------------------------------------------------------------------

vy_device_info_t* vy_device_get_device_info(const vy_device_t* device, vy_error** error);
int vy_device_info_get_vid(const vy_device_info_t* info, vy_error** error);
int vy_device_info_get_pid(const vy_device_info_t* info, vy_error** error);
void vy_delete_device_info(const vy_device_info_t* info, vy_error** error);

// ---- Filters --------------------------------------------------------------------------------------------------------

/// Makes a public filter, or one that the host keeps for private use, by name.
vy_filter_t* vy_create_filter(const char* name, vy_error** error);
vy_filter_t* vy_create_private_filter(const char* name, vy_error** error);
void vy_delete_filter(vy_filter_t* filter, vy_error** error);

const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** error);
const char* vy_filter_get_config_schema(const vy_filter_t* filter, vy_error** error);

vy_filter_config_schema_list_t* vy_filter_get_config_schema_list(const vy_filter_t* filter, vy_error** error);
void vy_delete_filter_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error);
uint32_t vy_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* list, vy_error** error);
VYFilterConfigSchemaItem vy_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* list,
                                                               uint32_t index, vy_error** error);

/// Configures a filter from argc text arguments; which ones it takes is the filter's own matter.
void vy_filter_update_config(vy_filter_t* filter, uint8_t argc, const char** argv, vy_error** error);
double vy_filter_get_config_value(const vy_filter_t* filter, const char* item, vy_error** error);
void vy_filter_set_config_value(vy_filter_t* filter, const char* item, double value, vy_error** error);
void vy_filter_reset(vy_filter_t* filter, vy_error** error);
void vy_filter_enable(vy_filter_t* filter, bool enable, vy_error** error);
bool vy_filter_is_enabled(const vy_filter_t* filter, vy_error** error);

/// Runs a filter on a frame, which stays the caller's; the result is a reference that the caller owns.
vy_frame_t* vy_filter_process(vy_filter_t* filter, const vy_frame_t* frame, vy_error** error);

// ---- Frames and stream profiles -------------------------------------------------------------------------------------

void vy_frame_add_ref(const vy_frame_t* frame, vy_error** error);
/// Gives one reference back; the frame is gone with the last.
void vy_delete_frame(const vy_frame_t* frame, vy_error** error);
VYFormat vy_frame_get_format(const vy_frame_t* frame, vy_error** error);
VYPixelType vy_video_frame_get_pixel_type(const vy_frame_t* frame, vy_error** error);
uint32_t vy_video_frame_get_width(const vy_frame_t* frame, vy_error** error);
uint32_t vy_video_frame_get_height(const vy_frame_t* frame, vy_error** error);
/// Makes a frame of the same format, size and profile, with the same pixels or with zeros.
vy_frame_t* vy_create_frame_from_other_frame(const vy_frame_t* frame, bool copy_data, vy_error** error);

/// The profile of a frame: one reference for the caller, given back with vy_delete_stream_profile().
vy_stream_profile_t* vy_frame_get_stream_profile(const vy_frame_t* frame, vy_error** error);
VYCameraIntrinsic vy_video_stream_profile_get_intrinsic(const vy_stream_profile_t* profile, vy_error** error);
void vy_video_stream_profile_set_intrinsic(vy_stream_profile_t* profile, VYCameraIntrinsic intrinsic, vy_error** error);
void vy_video_stream_profile_set_distortion(vy_stream_profile_t* profile, VYCameraDistortion distortion,
                                            vy_error** error);
void vy_stream_profile_set_extrinsic_to_type(vy_stream_profile_t* profile, VYStreamType type, VYExtrinsic extrinsic,
                                             vy_error** error);
void vy_delete_stream_profile(const vy_stream_profile_t* profile, vy_error** error);

#ifdef __cplusplus
}
#endif
