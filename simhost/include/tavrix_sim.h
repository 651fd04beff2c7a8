/// What the simulated host offers beyond the host's own interface: virtual cameras, and the means to test and debug the
/// frame processor library without hardware.
///
/// Conventions are those of TavrixSDK.h: a trailing error slot (which may be null here), handles given back with the
/// matching delete function, every function callable from any thread. All state set here is process-wide.
#pragma once

#include <stddef.h>

#include "TavrixSDK.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Devices --------------------------------------------------------------------------------------------------------

/// A device with the given USB ids and nothing behind it. Delete with vysim_delete_device().
vy_device_t* vysim_create_device(int vid, int pid);
void vysim_delete_device(vy_device_t* device, vy_error** error);

// ---- Camera families ------------------------------------------------------------------------------------------------

/// One stream that the cameras of a family deliver.
typedef struct vysim_stream {
  VYSensorType sensor;
  uint32_t width, height;  ///< native size in pixels
  VYFormat format;
  VYPixelType pixel_type;
  const char* packing;  ///< what the bytes are, for people: "12-bit packed, most significant bit first"
} vysim_stream;

/// A camera family as the host knows it. Everything is constant and lives as long as the program.
typedef struct vysim_family {
  const char* name;  ///< "Corvid", "SpecialOpenNI", ...
  uint16_t vid;
  const uint16_t* pids;
  size_t pid_count;
  int list_type;  ///< the type under which the host hands these ids to vy_set_device_info_data(), or -1
  const vysim_stream* streams;
  size_t stream_count;
  float focal_length_px;  ///< of the native depth stream
  float baseline_mm;      ///< 0 where the depth stream carries millimetres already
  int sub_pixel_bits;     ///< fraction bits of the raw disparity
} vysim_family;

size_t vysim_family_count(void);
/// The family at an index, or null past the end.
const vysim_family* vysim_family_at(size_t index);
/// The family of that name (case does not matter), or null.
const vysim_family* vysim_find_family(const char* name);

/// The product-id list that the host hands over with vy_set_device_info_data() for a list type: 4-byte records of
/// vendor and product id, little-endian. Returns its size in bytes, 0 for a type without a list; *data stays the
/// host's.
int vysim_device_list(int list_type, const uint8_t** data);

// ---- Virtual cameras ------------------------------------------------------------------------------------------------

typedef struct vysim_camera vysim_camera;

typedef struct vysim_camera_options {
  uint32_t width, height;    ///< size of every stream; 0 = native
  bool clean;                ///< true: no noise, no speckle, no holes other than what is out of range
  const uint16_t* depth_mm;  ///< a depth image to show instead of the embedded scene, row by row; copied. May be null
  uint32_t depth_width, depth_height;
} vysim_camera_options;

/// Opens a camera of a family. `options` may be null. An unknown family or senseless options are errors.
vysim_camera* vysim_open_camera(const char* family, const vysim_camera_options* options, vy_error** error);
void vysim_close_camera(vysim_camera* camera, vy_error** error);

/// The camera's device; it stays the camera's.
vy_device_t* vysim_camera_get_device(const vysim_camera* camera, vy_error** error);

/// The next raw frame of a sensor, one reference owned by the caller. A sensor that the camera lacks is an error.
vy_frame_t* vysim_camera_next_frame(vysim_camera* camera, VYSensorType sensor, vy_error** error);

/// The true depth in millimetres (0 = nothing in range) at each pixel of `frame`, which is a frame of this camera's
/// depth sensor, raw or processed: what filters did to the geometry (mirror, rotate, resize ...) is followed.
/// `depth_mm` takes the frame's width x height values.
void vysim_camera_get_truth(vysim_camera* camera, const vy_frame_t* frame, uint16_t* depth_mm, vy_error** error);

/// How far, in millimetres, an output of this camera's depth chain may lie from the true depth given as `depth_mm`
/// because of the steps in which the camera measures (half a disparity step, and the rounding to whole millimetres).
double vysim_camera_get_depth_tolerance(const vysim_camera* camera, uint16_t depth_mm, vy_error** error);

// ---- Frames ---------------------------------------------------------------------------------------------------------

/// A frame of zero pixels with a profile of its own (a plain pinhole for its size).
vy_frame_t* vysim_create_frame(uint32_t width, uint32_t height, VYFormat format, VYPixelType pixel_type,
                               vy_error** error);
/// The frame's bytes, writable, and how many. They live as long as the frame.
uint8_t* vysim_frame_get_data(const vy_frame_t* frame, vy_error** error);
size_t vysim_frame_get_size(const vy_frame_t* frame, vy_error** error);
uint32_t vysim_frame_get_number(const vy_frame_t* frame, vy_error** error);
/// References held on a frame; 0 for a dead one (no error).
int vysim_frame_get_ref_count(const vy_frame_t* frame);

/// What was set on a profile. An extrinsic that was never set is an error.
VYCameraDistortion vysim_profile_get_distortion(const vy_stream_profile_t* profile, vy_error** error);
VYExtrinsic vysim_profile_get_extrinsic(const vy_stream_profile_t* profile, VYStreamType type, vy_error** error);

/// What a format code means here, for people; "unknown" for a code that means nothing.
const char* vysim_format_name(VYFormat format);

// ---- Filters of one's own -------------------------------------------------------------------------------------------

/// A filter that a test or a tool adds to the host. Strings and arrays must outlive its use.
typedef struct vysim_filter_definition {
  const char* name;           ///< the name to create it by
  const char* reported_name;  ///< what vy_filter_get_name() says; null = name
  bool is_private;            ///< offered through vy_create_private_filter() only
  const VYFilterConfigSchemaItem* items;
  uint32_t item_count;
  /// Does the work; null = pass the very frame on, with one more reference.
  vy_frame_t* (*process)(void* user, const vy_frame_t* frame, vy_error** error);
  void* user;
} vysim_filter_definition;

/// Adds or replaces a definition. Replaces a built-in filter of that name too, until vysim_reset().
void vysim_define_filter(const vysim_filter_definition* definition, vy_error** error);

// ---- Watching -------------------------------------------------------------------------------------------------------

/// Records every call of a host function from here on; earlier records are dropped. A record reads
/// `vy_filter_enable(filter: FrameMirror#3, enable: false)`: objects by kind or filter name and a running number, which
/// starts at 1 for each kind with vysim_reset(); error slots are left out.
void vysim_record_start(void);
void vysim_record_stop(void);
size_t vysim_record_count(void);
/// A record, valid until the next vysim_record_start(); null past the end.
const char* vysim_record_at(size_t index);

/// Kinds of objects of which the host counts the living.
typedef enum vysim_kind {
  VYSIM_DEVICE,
  VYSIM_DEVICE_INFO,
  VYSIM_FILTER,
  VYSIM_SCHEMA_LIST,
  VYSIM_FRAME,
  VYSIM_STREAM_PROFILE,  ///< handles given out, not the profiles that frames hold
  VYSIM_ERROR,
  VYSIM_KIND_COUNT
} vysim_kind;

size_t vysim_live_count(vysim_kind kind);
const char* vysim_kind_name(vysim_kind kind);

/// Time spent inside host functions since vysim_timing_start(), by filter and in all.
typedef struct vysim_filter_time {
  const char* name;  ///< valid until the next vysim_timing_start()
  uint64_t calls;    ///< of vy_filter_process()
  uint64_t nanoseconds;
} vysim_filter_time;

void vysim_timing_start(void);
void vysim_timing_stop(void);
size_t vysim_timing_filter_count(void);
vysim_filter_time vysim_timing_filter_at(size_t index);
/// All host functions together; either pointer may be null.
void vysim_timing_total(uint64_t* calls, uint64_t* nanoseconds);

// ---- Faults ---------------------------------------------------------------------------------------------------------

typedef enum vysim_fault {
  VYSIM_FAULT_ERROR,             ///< the call does nothing but store an error
  VYSIM_FAULT_NULL,              ///< the call does nothing, returns null (0, false) and stores no error
  VYSIM_FAULT_ERROR_WITH_RESULT  ///< the call does its work and stores an error as well
} vysim_fault;

/// Makes a call of a host function go wrong: the nth from now (1 = the next). `function` is its name, or null for any
/// function that can fail. Each order is carried out once; several may wait at a time.
void vysim_fail_call(const char* function, uint64_t nth, vysim_fault fault);
/// Drops all orders that wait.
void vysim_fail_clear(void);
/// How many orders were carried out since the last vysim_reset().
uint64_t vysim_fail_count(void);
/// Calls of a host function (null: of all that can fail) since the last vysim_reset(), while counting is on.
uint64_t vysim_call_count(const char* function);
/// Switches the counting of calls on or off (off at start; orders and records do not need it).
void vysim_count_calls(bool on);

/// Drops records, orders, counts, times and definitions; objects that live stay.
void vysim_reset(void);

#ifdef __cplusplus
}
#endif
