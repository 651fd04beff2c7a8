/// What the simulated host offers beyond the host's own interface: virtual cameras, and the means to test and debug the
/// frame processor library without hardware.
///
/// The rules of TavrixSDK.h on errors, ownership and threads hold here too. Further:
///  - An error slot may be null, for the host's own functions as well. The error is dropped then.
///  - A function without an error slot cannot fail, or says so by the value that it returns.
///  - Definitions, records, orders, counts and times belong to the process, not to a thread, unless a function says so.
#pragma once

#include <stddef.h>

#include "TavrixSDK.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Devices --------------------------------------------------------------------------------------------------------

/// Makes a device with the given USB ids and nothing behind it. Delete it with vysim_delete_device(). Null where there
/// is no memory.
vy_device_t* vysim_create_device(int vid, int pid);
void vysim_delete_device(vy_device_t* device, vy_error** error);

// ---- Camera families ------------------------------------------------------------------------------------------------

/// A stream that the cameras of a family deliver.
typedef struct vysim_stream {
  VYSensorType sensor;
  uint32_t width, height;  ///< native size in pixels
  VYFormat format;
  VYPixelType pixel_type;
  const char* packing;  ///< for people: "12-bit packed, most significant bit first"
} vysim_stream;

/// A camera family as the host knows it. All of it is constant and lives as long as the process.
typedef struct vysim_family {
  const char* name;  ///< "Corvid", "SpecialOpenNI", ...
  uint16_t vid;
  const uint16_t* pids;
  size_t pid_count;
  int list_type;  ///< type of the host's product-id list of the family, see vysim_device_list(); -1 = none
  const vysim_stream* streams;
  size_t stream_count;
  float focal_length_px;  ///< of the native depth stream
  float baseline_mm;      ///< 0 where the depth stream carries millimetres already
  int sub_pixel_bits;     ///< fraction bits of the raw disparity
} vysim_family;

size_t vysim_family_count(void);
/// The family at an index; null past the end.
const vysim_family* vysim_family_at(size_t index);
/// The family of a name, in upper or lower case; null where there is none.
const vysim_family* vysim_find_family(const char* name);

/// The list that the host hands to vy_set_device_info_data() for a list type: records of 4 bytes, vendor id and product
/// id, little-endian. Returns the list's size in bytes and points `*data` at it; 0 and null for a type without a list.
/// The list stays the host's. `data` may be null.
int vysim_device_list(int list_type, const uint8_t** data);

// ---- Virtual cameras ------------------------------------------------------------------------------------------------

/// A camera that looks at a scene.
typedef struct vysim_camera vysim_camera;

/// All zeros stand for a camera of its family's native sizes, with flaws, that looks at the embedded scene.
typedef struct vysim_camera_options {
  uint32_t width, height;              ///< size of every stream in pixels, 1 to 4096; both 0 = native
  bool clean;                          ///< no noise, no speckles, no holes but where the depth is out of range
  const uint16_t* depth_mm;            ///< depth image in mm, row by row, to look at; copied; null = embedded scene
  uint32_t depth_width, depth_height;  ///< its size in pixels, 1 to 16384; both 0 without an image
  uint32_t fps;                        ///< frames a second, 1 to 1000; 0 = a frame whenever one is asked for
} vysim_camera_options;

/// Opens a camera of a family. `options` may be null. Fails for an unknown family and for options out of range.
vysim_camera* vysim_open_camera(const char* family, const vysim_camera_options* options, vy_error** error);
/// Closes a camera, and deletes its device. Its frames live on.
void vysim_close_camera(vysim_camera* camera, vy_error** error);

/// The camera's device. The caller must not delete it: the camera does.
vy_device_t* vysim_camera_get_device(const vysim_camera* camera, vy_error** error);

/// The next raw frame of a sensor. Each sensor numbers its frames from 0; equal numbers show the same moment. A camera
/// with a rate (`fps`) starts its clock at the first call, of whichever sensor, and takes frame n n/fps seconds later:
/// a call waits for the moment of the next frame, and frames that nobody was waiting for at theirs are lost, which
/// shows in the numbers. Threads may call for different sensors at once, and none waits for another. Fails for a sensor
/// that the camera lacks.
vy_frame_t* vysim_camera_next_frame(vysim_camera* camera, VYSensorType sensor, vy_error** error);

/// A raw frame of a sensor with these bytes, as if the camera had sent them as its frame `number`. Fails for a sensor
/// that the camera lacks, and where the bytes are not as many as its frames have; run-length compressed ones may have
/// any number. The bytes are copied and not looked at.
vy_frame_t* vysim_camera_make_frame(vysim_camera* camera, VYSensorType sensor, uint32_t number, const uint8_t* data,
                                    size_t size, vy_error** error);

/// Stops the clock of a camera with a rate, or lets it go on. While it stands, each call for a frame takes the sensor's
/// next one at once, and none is lost. It goes on at the newest frame that any sensor has taken.
void vysim_camera_pause(vysim_camera* camera, bool paused, vy_error** error);

/// Writes the true depth at each pixel of a frame to `depth_mm`: width x height values in millimetres, row by row. They
/// are 0 where the sensor cannot measure and where a pixel lies outside of the camera's image. The frame is one of this
/// camera's depth sensor, raw or processed; the truth follows what filters did to its geometry. Fails for a frame that
/// is of no depth sensor and for a null `depth_mm`.
void vysim_camera_get_truth(vysim_camera* camera, const vy_frame_t* frame, uint16_t* depth_mm, vy_error** error);

/// How far, in millimetres, the output of this camera's depth chain may lie from a true depth. The limit comes from the
/// steps in which the camera measures: half a step of disparity, and the rounding to whole millimetres.
double vysim_camera_get_depth_tolerance(const vysim_camera* camera, uint16_t depth_mm, vy_error** error);

// ---- Frames ---------------------------------------------------------------------------------------------------------

/// Makes a frame of zeros whose profile is a plain pinhole for its size. Width and height are 1 to 16384 pixels.
vy_frame_t* vysim_create_frame(uint32_t width, uint32_t height, VYFormat format, VYPixelType pixel_type,
                               vy_error** error);
/// The frame's bytes, writable. They live as long as the frame.
uint8_t* vysim_frame_get_data(const vy_frame_t* frame, vy_error** error);
/// How many bytes the frame has.
size_t vysim_frame_get_size(const vy_frame_t* frame, vy_error** error);
/// The number of the camera's raw frame that this frame was made from; 0 for frames without a camera.
uint32_t vysim_frame_get_number(const vy_frame_t* frame, vy_error** error);
/// When that raw frame was taken, in microseconds since the camera's first frame. A camera without a rate counts as
/// one with 30 frames a second. 0 for frames without a camera.
uint64_t vysim_frame_get_time(const vy_frame_t* frame, vy_error** error);
/// How many references are held on a frame; 0 for a handle that is no living frame's.
int vysim_frame_get_ref_count(const vy_frame_t* frame);

/// The distortion that was set on a profile; zeros where none was.
VYCameraDistortion vysim_profile_get_distortion(const vy_stream_profile_t* profile, vy_error** error);
/// The extrinsic that was set on a profile for a stream. Fails where none was.
VYExtrinsic vysim_profile_get_extrinsic(const vy_stream_profile_t* profile, VYStreamType type, vy_error** error);

/// What a format code means, for people: "12-bit packed"; "unknown" for a code without a meaning.
const char* vysim_format_name(VYFormat format);

// ---- Filters of one's own -------------------------------------------------------------------------------------------

/// A filter that a test or a tool adds to the host. Its strings and items must outlive the definition and every filter
/// that was made from it.
typedef struct vysim_filter_definition {
  const char* name;           ///< the name to create it by
  const char* reported_name;  ///< what vy_filter_get_name() says; null = name
  bool is_private;            ///< offered through vy_create_private_filter() only
  const VYFilterConfigSchemaItem* items;
  uint32_t item_count;
  /// Does the work of vy_filter_process() in the thread of the call. `frame` is lent, the result is a reference that
  /// the host takes over, `error` is never null. A null pointer here passes the frame on, with one more reference.
  vy_frame_t* (*process)(void* user, const vy_frame_t* frame, vy_error** error);
  void* user;  ///< first argument of `process`
} vysim_filter_definition;

/// Adds a definition until vysim_reset(). It takes the place of an earlier one, and of a built-in filter, of that name.
/// The filter takes any arguments of vy_filter_update_config() and ignores them. Fails for a definition without a name
/// and for items that are null.
void vysim_define_filter(const vysim_filter_definition* definition, vy_error** error);

// ---- Watching -------------------------------------------------------------------------------------------------------

/// Drops earlier records and records every call of a vy_ function from now on. A record reads
/// `vy_filter_enable(filter: FrameMirror#3, enable: false)`. An object has its kind, or its filter name, and a running
/// number, which vysim_reset() restarts at 1 for each kind. Error slots are left out.
void vysim_record_start(void);
/// Ends the recording. The records stay.
void vysim_record_stop(void);
size_t vysim_record_count(void);
/// A record, valid until the next vysim_record_start() or vysim_reset(); null past the end.
const char* vysim_record_at(size_t index);

/// Kinds of objects whose living the host counts.
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

/// How many objects of a kind are alive.
size_t vysim_live_count(vysim_kind kind);
/// "frame", "stream_profile" and so on; "unknown" for what is no kind.
const char* vysim_kind_name(vysim_kind kind);

/// How often a function (null: any) has refused a call because of what it was handed, since the last vysim_reset(): a
/// null pointer, a handle of no living object of its kind, an index past the end. All functions count, also those
/// without an error slot and those that begin with vysim_, and there is no switch. Senseless values, names that do not
/// exist, unsuitable frames and ordered faults are no refusals; nor is the null error that the functions of errors
/// take. With VYSIM_PRINT_REFUSALS in the environment, each is also printed on stderr as it happens.
uint64_t vysim_refused_count(const char* function);
/// The functions that refused a call, in alphabetical order; null past the end. The name is valid until the next
/// vysim_reset().
const char* vysim_refused_function_at(size_t index);

/// Time spent in the filters of a name since vysim_timing_start().
typedef struct vysim_filter_time {
  const char* name;      ///< valid until the next vysim_timing_start() or vysim_reset()
  uint64_t calls;        ///< of vy_filter_process()
  uint64_t nanoseconds;  ///< in these calls
} vysim_filter_time;

/// Drops earlier times and takes the time of every call of a vy_ function from now on.
void vysim_timing_start(void);
/// Ends the taking of times. The times stay.
void vysim_timing_stop(void);
/// How many filters, by name, have run.
size_t vysim_timing_filter_count(void);
/// The time spent in one of these filters; zeros and a null name past the end.
vysim_filter_time vysim_timing_filter_at(size_t index);
/// All calls of vy_ functions together, and the time spent in them. Either pointer may be null.
void vysim_timing_total(uint64_t* calls, uint64_t* nanoseconds);

/// Gives the calling thread times of its own, or takes them away. A thread that has them adds its calls to them alone,
/// and the functions above mean them when this thread calls them. Threads begin without.
void vysim_timing_own(bool own);

/// Leaves the calls of the calling thread out of records, counts, times and orders to fail, or takes them in again. For
/// a program's own calls between those that it watches. Threads begin with their calls taken in.
void vysim_ignore_thread(bool ignored);

// ---- Faults ---------------------------------------------------------------------------------------------------------

typedef enum vysim_fault {
  VYSIM_FAULT_ERROR,             ///< the call does nothing but store an error
  VYSIM_FAULT_NULL,              ///< the call does nothing, returns null (0, false) and stores no error
  VYSIM_FAULT_ERROR_WITH_RESULT  ///< the call does its work and stores an error as well
} vysim_fault;

/// Orders the nth call from now (1 = the next) of a vy_ function to go wrong. `function` is the function's name, or
/// null for any function that has an error slot. An order is carried out once. Several orders may wait at a time.
void vysim_fail_call(const char* function, uint64_t nth, vysim_fault fault);
/// Drops all waiting orders.
void vysim_fail_clear(void);
/// How many orders were carried out since the last vysim_reset().
uint64_t vysim_fail_count(void);
/// How often a vy_ function (null: any function that has an error slot) was called while counting was on, since the
/// last vysim_reset().
uint64_t vysim_call_count(const char* function);
/// Switches the counting of calls on or off. It is off at start; orders and records do not need it.
void vysim_count_calls(bool on);

/// Drops records, orders, counts, times and definitions, and switches recording, timing and counting off. Living
/// objects stay.
void vysim_reset(void);

#ifdef __cplusplus
}
#endif
