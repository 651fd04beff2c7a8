/// The part of the host SDK (libTavrixSDK) that the frame processor library uses.
///
/// A site with the host's own SDK builds against the header of that SDK instead (see README.md). This header belongs to
/// the simulated host. Its types, records and symbols have the same binary form as the host's.
///
/// Rules for every function:
///  - Errors: the last argument is the error slot. A call that fails stores a new error object in it, over whatever it
///    holds, and returns the neutral value of its type (null, 0, false, a record of zero bytes). A call that succeeds
///    leaves the slot alone, so the slot has to be null beforehand. The slot's owner deletes the error with
///    vy_delete_error(). A null handle and a handle of another kind are errors; so is the handle of a deleted object,
///    until the memory behind the handle is used again (docs/simulated-host.md).
///  - Ownership: an argument is only lent for the call. A returned handle is one reference for the caller, who gives it
///    back with the delete function of its kind. A returned string belongs to the object that was asked, and lives as
///    long.
///  - Threads: any thread may call any function. A single filter is for one thread at a time.
#pragma once

#include <stdbool.h>
#include <stdint.h>

// Enumerations are int in the ABI. C++ has to be told, as values without a name occur.
#ifdef __cplusplus
#define VY_INT_ENUM : int
#else
#define VY_INT_ENUM
#endif

#ifdef __cplusplus
extern "C" {
#endif

// ---- Handles --------------------------------------------------------------------------------------------------------

typedef struct vy_error vy_error;                                              ///< what went wrong in a call
typedef struct vy_device_t vy_device_t;                                        ///< a camera
typedef struct vy_device_info_t vy_device_info_t;                              ///< ids of a device, which outlive it
typedef struct vy_filter_t vy_filter_t;                                        ///< makes new frames of frames
typedef struct vy_filter_config_schema_list_t vy_filter_config_schema_list_t;  ///< configuration items of a filter
typedef struct vy_frame_t vy_frame_t;                                          ///< an image, counted by references
typedef struct vy_stream_profile_t vy_stream_profile_t;                        ///< a share in a stream's description

// ---- Enumerations ---------------------------------------------------------------------------------------------------

/// A sensor of a camera. Number 9 has no published name.
typedef enum VYSensorType VY_INT_ENUM {
  VY_SENSOR_UNKNOWN = 0,
  VY_SENSOR_IR = 1,
  VY_SENSOR_COLOR = 2,
  VY_SENSOR_DEPTH = 3,
  VY_SENSOR_IR_LEFT = 6,
  VY_SENSOR_IR_RIGHT = 7,
  VY_SENSOR_9 = 9
} VYSensorType;

/// The stream that a profile describes, or that an extrinsic leads to.
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

/// How the pixels of a frame are stored. docs/simulated-host.md describes the layouts.
typedef enum VYFormat VY_INT_ENUM {
  VY_FORMAT_UNKNOWN = 0,
  VY_FORMAT_Y16 = 8,        ///< a 16-bit little-endian word a pixel
  VY_FORMAT_Y8 = 9,         ///< one byte a pixel
  VY_FORMAT_Y10 = 10,       ///< 10-bit pixels, packed
  VY_FORMAT_Y11 = 11,       ///< 11-bit pixels, packed
  VY_FORMAT_Y12 = 12,       ///< 12-bit pixels, packed
  VY_FORMAT_Y14 = 21,       ///< 14-bit pixels, packed
  VY_FORMAT_RGB = 22,       ///< three bytes a pixel: red, green, blue
  VY_FORMAT_Y10_MIPI = 24,  ///< groups of four 10-bit pixels: their high bytes, then a byte of their low bits
  VY_FORMAT_RLE = 25        ///< 16-bit pixels, run-length compressed
} VYFormat;

/// What the numbers in the pixels mean.
typedef enum VYPixelType VY_INT_ENUM {
  VY_PIXEL_DISPARITY = 0,  ///< disparity in raw steps, 0 = not measured
  VY_PIXEL_DEPTH = 1,      ///< depth in millimetres, 0 = not measured
  VY_PIXEL_INTENSITY = 2,  ///< infrared brightness
  VY_PIXEL_COLOR = 3       ///< red, green, blue
} VYPixelType;

// ---- Records, packed to one byte, passed by value -------------------------------------------------------------------

#pragma pack(push, 1)

/// Pinhole parameters of an image of width x height, all in pixels: focal lengths and principal point.
typedef struct VYCameraIntrinsic {
  float fx, fy, cx, cy;
  int16_t width, height;
} VYCameraIntrinsic;

/// Lens distortion: radial (k1 to k6), tangential (p1, p2), and the number of the model.
typedef struct VYCameraDistortion {
  float k1, k2, k3, k4, k5, k6, p1, p2;
  int32_t model;
} VYCameraDistortion;

/// Rigid motion to another stream: a 3 x 3 rotation, row by row, and a translation in millimetres.
typedef struct VYExtrinsic {
  float rot[9];
  float trans[3];
} VYExtrinsic;

/// A configuration item of a filter. The strings belong to the schema list that the item was read from.
typedef struct VYFilterConfigSchemaItem {
  const char* name;
  VYFilterConfigValueType type;
  double min, max, step, def;
  const char* desc;
} VYFilterConfigSchemaItem;

#pragma pack(pop)

// ---- Errors ---------------------------------------------------------------------------------------------------------

/// Makes an error object that holds copies of the texts. A null text counts as empty.
vy_error* vy_create_error(int status, const char* message, const char* function, const char* args, int exception_type);
/// Deletes an error object. Null does nothing.
void vy_delete_error(vy_error* error);

/// The fields of an error object; 0 or an empty text for null.
int vy_error_get_status(const vy_error* error);
const char* vy_error_get_message(const vy_error* error);
const char* vy_error_get_function(const vy_error* error);
const char* vy_error_get_args(const vy_error* error);
int vy_error_get_exception_type(const vy_error* error);

// ---- Devices --------------------------------------------------------------------------------------------------------

/// Copies a device's ids. Give the copy back with vy_delete_device_info().
vy_device_info_t* vy_device_get_device_info(const vy_device_t* device, vy_error** error);
/// The USB vendor id.
int vy_device_info_get_vid(const vy_device_info_t* info, vy_error** error);
/// The USB product id.
int vy_device_info_get_pid(const vy_device_info_t* info, vy_error** error);
void vy_delete_device_info(const vy_device_info_t* info, vy_error** error);

// ---- Filters --------------------------------------------------------------------------------------------------------

/// Makes a public filter, enabled and with default values. Fails for an unknown name and for a private filter's.
vy_filter_t* vy_create_filter(const char* name, vy_error** error);
/// The same for a private filter. Fails for an unknown name and for a public filter's.
vy_filter_t* vy_create_private_filter(const char* name, vy_error** error);
void vy_delete_filter(vy_filter_t* filter, vy_error** error);

/// The name that the filter gives itself.
const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** error);
/// The configuration items as text, a line each: `name,type,min,max,step,default,description`.
const char* vy_filter_get_config_schema(const vy_filter_t* filter, vy_error** error);

/// Copies the configuration items. Give the list back with vy_delete_filter_config_schema_list().
vy_filter_config_schema_list_t* vy_filter_get_config_schema_list(const vy_filter_t* filter, vy_error** error);
void vy_delete_filter_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error);
uint32_t vy_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* list, vy_error** error);
/// The item at an index. Fails past the end.
VYFilterConfigSchemaItem vy_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* list,
                                                               uint32_t index, vy_error** error);

/// Configures a filter with `argc` texts. Fails, without a change, for arguments that the filter does not take.
void vy_filter_update_config(vy_filter_t* filter, uint8_t argc, const char** argv, vy_error** error);
/// The value of a configuration item. Fails for a name that is not an item's.
double vy_filter_get_config_value(const vy_filter_t* filter, const char* item, vy_error** error);
/// Sets a configuration item. Fails for a name that is not an item's and for a value that the item cannot have.
void vy_filter_set_config_value(vy_filter_t* filter, const char* item, double value, vy_error** error);
/// Puts all configuration items back to their defaults. The switch stays as it is.
void vy_filter_reset(vy_filter_t* filter, vy_error** error);
/// Sets the filter's switch, which only those who run the filter look at: vy_filter_process() works either way.
void vy_filter_enable(vy_filter_t* filter, bool enable, vy_error** error);
bool vy_filter_is_enabled(const vy_filter_t* filter, vy_error** error);

/// Runs a filter on a frame. The result is a new frame, or the same frame with one more reference where there is
/// nothing to do; the input never changes. Fails for a frame that the filter cannot work on.
vy_frame_t* vy_filter_process(vy_filter_t* filter, const vy_frame_t* frame, vy_error** error);

// ---- Frames and stream profiles -------------------------------------------------------------------------------------

/// Adds a reference, to be given back with vy_delete_frame().
void vy_frame_add_ref(const vy_frame_t* frame, vy_error** error);
/// Gives a reference back. The frame goes with its last reference.
void vy_delete_frame(const vy_frame_t* frame, vy_error** error);
VYFormat vy_frame_get_format(const vy_frame_t* frame, vy_error** error);
VYPixelType vy_video_frame_get_pixel_type(const vy_frame_t* frame, vy_error** error);
/// Width in pixels.
uint32_t vy_video_frame_get_width(const vy_frame_t* frame, vy_error** error);
/// Height in pixels.
uint32_t vy_video_frame_get_height(const vy_frame_t* frame, vy_error** error);
/// Makes a frame of the same format and size with a copy of the profile, and with the same pixels or zeros.
vy_frame_t* vy_create_frame_from_other_frame(const vy_frame_t* frame, bool copy_data, vy_error** error);

/// The frame's own profile, not a copy. Give it back with vy_delete_stream_profile(); it may outlive the frame.
vy_stream_profile_t* vy_frame_get_stream_profile(const vy_frame_t* frame, vy_error** error);
VYCameraIntrinsic vy_video_stream_profile_get_intrinsic(const vy_stream_profile_t* profile, vy_error** error);
void vy_video_stream_profile_set_intrinsic(vy_stream_profile_t* profile, VYCameraIntrinsic intrinsic, vy_error** error);
void vy_video_stream_profile_set_distortion(vy_stream_profile_t* profile, VYCameraDistortion distortion,
                                            vy_error** error);
/// Sets the motion from the profile's stream to the stream `type`.
void vy_stream_profile_set_extrinsic_to_type(vy_stream_profile_t* profile, VYStreamType type, VYExtrinsic extrinsic,
                                             vy_error** error);
void vy_delete_stream_profile(const vy_stream_profile_t* profile, vy_error** error);

#ifdef __cplusplus
}
#endif
