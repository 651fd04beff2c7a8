/// The C interface of libvy_frame_processor: filter chains for the frames of a depth camera.
///
/// A host makes one context per camera and one processor per sensor stream of it, pushes every frame through the
/// stream's processor, and destroys processors and context when the camera closes.
///
/// Rules that hold for every function here:
///  - The last argument is the error slot. It must not be null, and must hold null on entry. A function that fails
///    stores a host error object in it, which the caller deletes with vy_delete_error(); on success the slot is not
///    touched unless the function says otherwise. An error object that lies in the slot already is overwritten, not
///    deleted.
///  - Errors of the library's own have status 1, exception type 4 and the failing function's name. Errors of the
///    library's own filters name the operation that failed instead, and have type 9 where the operation is not offered.
///    Errors of host calls made on the way arrive in the same slot unchanged.
///  - A null handle is an error, in the destroy functions too: "NULL pointer passed for argument".
///  - Texts are C strings of bytes; numbers in texts follow the C library's current numeric locale. Only the scale that
///    the host's "DepthResize" is configured with always has a point.
///  - When memory runs out, std::bad_alloc reaches the caller, and what was half built is released. There are two
///    exceptions: a filter of the library's own that cannot be made for want of memory is left out of its chain, and
///    nothing is thrown while a filter is deleted. The destroy functions and frames on their way need no memory, unless
///    a host names one of its filters with more than 255 characters. Other exceptions are named where they may come.
///  - The library starts no thread and calls the host only from within a call of its own. It holds no lock meanwhile.
///
/// Thread words used below: *reentrant* means that calls on different handles may run at the same time; *thread-bound*
/// means that one handle is for one thread at a time.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include <TavrixSDK.h>

#if defined(__GNUC__)
#define VY_FRAME_PROCESSOR_API __attribute__((visibility("default")))
#else
#define VY_FRAME_PROCESSOR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// The chains of one camera.
typedef struct vy_frame_processor_context_t vy_frame_processor_context_t;

/// The live filter chain of one sensor stream; may be empty, see vy_create_frame_processor().
typedef struct vy_frame_processor_t vy_frame_processor_t;

/// Makes the context of a camera: asks the host for the device's vendor and product id and looks up the chains of its
/// family. A device of no known family is not an error: its context has no chains.
///
/// @param device  The camera; lent for the call.
/// @param error   Error slot. Null device, or a host error while the ids are read.
/// @return A context owned by the caller (vy_destroy_frame_processor_context()), or null on error.
///
/// Reentrant, but never at the same time as vy_set_device_info_data().
VY_FRAME_PROCESSOR_API vy_frame_processor_context_t* vy_create_frame_processor_context(vy_device_t* device,
                                                                                       vy_error** error);

/// Destroys a context. The processors made from it come first: with the last context of the process the library's own
/// filters go, and a processor that still has one in its chain must not be used or destroyed any more.
///
/// @param context  The context; invalid afterwards.
/// @param error    Error slot. Null context.
///
/// Reentrant.
VY_FRAME_PROCESSOR_API void vy_destroy_frame_processor_context(vy_frame_processor_context_t* context, vy_error** error);

/// Makes the processor of one sensor stream: creates, configures and switches the filters of the chain. A filter that
/// cannot be created, configured or switched is left out silently. Each call makes a new, independent processor.
///
/// @param context      The camera's context.
/// @param sensor_type  The sensor. One without a chain is not an error: the result is a handle without a processor, on
///                     which every function but vy_destroy_frame_processor() reports a null pointer.
/// @param error        Error slot. Null context.
/// @return A processor handle owned by the caller (vy_destroy_frame_processor()), or null on error.
///
/// Reentrant; several threads may use one context.
VY_FRAME_PROCESSOR_API vy_frame_processor_t* vy_create_frame_processor(vy_frame_processor_context_t* context,
                                                                       VYSensorType sensor_type, vy_error** error);

/// Destroys a processor and the host filters of its chain. The library's own filters (HardwareD2CProcessor, and the
/// Special OpenNI family's DisparityTransform) are kept until the last context of the process is gone. Each processor
/// made adds to what is kept, and makes frames and settings of chains with such filters slower until then.
///
/// @param processor  The handle; invalid afterwards.
/// @param error      Error slot. Null handle.
///
/// Reentrant. Not while another call runs on the same handle, except for vy_frame_processor_set_hardware_d2c_params():
/// once under way, that call keeps the processor alive.
VY_FRAME_PROCESSOR_API void vy_destroy_frame_processor(vy_frame_processor_t* processor, vy_error** error);

/// Sends a frame through the enabled filters of the chain.
///
/// @param processor  The processor.
/// @param frame      The frame; lent for the call. Its reference count is the same afterwards, unless the host's own
///                   vy_frame_add_ref() or vy_delete_frame() reported an error on the way.
/// @param error      Error slot. Null handle, empty handle or null frame; or the error of the filter that failed, which
///                   ends the chain. A filter that gives neither frame nor error also ends it and sets *error to null.
/// @return A frame with one reference that the caller owns (vy_delete_frame()): the last filter's output, or a copy of
///         `frame` when no filter ran. A copy of `frame`, too, when a filter gave neither frame nor error: what those
///         before it made is dropped. Null with the error of a filter that failed, or of a query that failed when no
///         filter ran. A frame *and* an error when a filter returns both, or when an error that came up between two
///         filters ends the chain: the frame is the caller's then, too. Null without an error when the host fails to
///         make the copy.
///
/// Thread-bound as far as the filters of the chain are.
VY_FRAME_PROCESSOR_API vy_frame_t* vy_frame_processor_process_frame(vy_frame_processor_t* processor, vy_frame_t* frame,
                                                                    vy_error** error);

/// The settings of the chain as CSV text without a header, one line a setting, columns separated by a comma and a
/// space: key (the name that the filter reports, "#", item index; index 255 is the filter's on/off switch), type
/// ("integer", "float", "boolean"), minimum, maximum, step, value when the processor was made, description. Nothing is
/// quoted: the description may hold ", " itself. Integers are plain, floats have six decimals. The value of a boolean
/// item, and its range, always read 0; a switch line shows 0, 1, 1 and whether the filter starts switched on. A setting
/// that the filter fails to tell about is not listed. Values that were set later do not show.
///
/// @param processor  The processor.
/// @param error      Error slot. Null or empty handle.
/// @return The text, possibly empty; it belongs to the processor and lives as long. Null on error.
///
/// Reentrant; several threads may ask one processor.
VY_FRAME_PROCESSOR_API const char* vy_frame_processor_get_config_schema(vy_frame_processor_t* processor,
                                                                        vy_error** error);

/// Sets all published settings: one text per line of the schema, in the order of the lines. A text that strtol() reads
/// as 1 switches a filter on, any other off; every other setting is what strtod() reads, 0 for a text that is no
/// number. Values are not compared with the published range: the filter decides. Each value goes to the first
/// filter that reports the name of its key; one for an item that the filter does not have is skipped. A "#", a "," or a
/// line feed in a filter's name garbles the lines, and so may a line feed in a description: std::invalid_argument or
/// std::out_of_range may be thrown then, before anything is set.
///
/// @param processor  The processor.
/// @param argc       How many texts there are; not consulted.
/// @param argv       The texts; at least as many as the schema has lines. Neither it nor any text may be null. Lent for
///                   the call.
/// @param error      Error slot. Null or empty handle; or the error of the first filter that refuses a value: settings
///                   before it stay applied, those after it are not touched.
///
/// Thread-bound, with vy_frame_processor_process_frame(), as far as the filters are.
VY_FRAME_PROCESSOR_API void vy_frame_processor_update_config(vy_frame_processor_t* processor, uint8_t argc,
                                                             const char** argv, vy_error** error);

/// Hands hardware depth-to-colour parameters to the library's own filters in a depth processor's chain. The hardware
/// D2C filter starts switched off (setting "HardwareD2CProcessor#255"). From its next frame on it uses the parameters,
/// and stamps them on what it puts out, with zero distortion and an identity extrinsic to colour. Switched on without
/// parameters it stamps zeros. The output size is derived from that next frame: when the frame size changes later, hand
/// the parameters over again. On a processor of another sensor, or a chain without such a filter, the call does nothing
/// and reports nothing. Parameters that "DepthResize" refuses are not reported either.
///
/// @param processor      The processor.
/// @param intrinsic      Intrinsics to stamp on output frames, in pixels of the output.
/// @param reserved_byte  Kept with the parameters; without effect.
/// @param scale          Factor from frame size to output size, before borders.
/// @param pad_left       Border columns, added on the first side; negative removes columns. Pixels of the output.
/// @param pad_top        Border rows on the first side, likewise.
/// @param pad_right      Border columns on the second side, likewise.
/// @param pad_bottom     Border rows on the second side, likewise.
/// @param apply_scale    True: frames come out at the scaled size. False: frames keep their size where the numbers
///                       allow it, and the scale goes into the intrinsics and borders instead.
/// @param reserved_flag  Kept with the parameters; without effect.
/// @param error          Error slot. Null or empty handle.
///
/// Keeps the processor alive while it runs. Not while a frame is processed.
VY_FRAME_PROCESSOR_API void vy_frame_processor_set_hardware_d2c_params(
    vy_frame_processor_t* processor, VYCameraIntrinsic intrinsic, uint8_t reserved_byte, float scale, int16_t pad_left,
    int16_t pad_top, int16_t pad_right, int16_t pad_bottom, bool apply_scale, bool reserved_flag, vy_error** error);

/// Replaces one of the product-id lists that the host fills. Contexts made later follow the new list; those made before
/// keep their chains.
///
/// @param type   0: the Talon family, 3: Mirel, 6: Pellan. Any other type does nothing and reports nothing.
/// @param data   Records of 4 bytes: vendor id, then product id, 16 bits each, little-endian. Copied.
/// @param size   Bytes of `data`; an incomplete last record is ignored, so that 1 to 3 bytes empty the list. A negative
///               size of a known type throws std::length_error and leaves the list as it was.
/// @param error  Error slot. Null data or size 0, whatever the type: "Fail to set device info data".
///
/// Not at the same time as itself or vy_create_frame_processor_context().
VY_FRAME_PROCESSOR_API void vy_set_device_info_data(int type, const uint8_t* data, int size, vy_error** error);

/// The source revision that the library was built from: seven characters, all zeros where the build knew none. The text
/// is constant. Reentrant.
VY_FRAME_PROCESSOR_API const char* vy_get_commit_hash(void);

#ifdef __cplusplus
}
#endif
