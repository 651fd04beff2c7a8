// The host's records as the library passes them, held against the host's ABI when the library is compiled: a header
// that lays one out differently does not build.
#include <TavrixSDK.h>

#include <cstddef>

namespace {

constexpr std::size_t kPointer = sizeof(void*);

static_assert(sizeof(VYCameraIntrinsic) == 20, "4 floats, 2 16-bit integers");
static_assert(offsetof(VYCameraIntrinsic, fx) == 0 && offsetof(VYCameraIntrinsic, fy) == 4);
static_assert(offsetof(VYCameraIntrinsic, cx) == 8 && offsetof(VYCameraIntrinsic, cy) == 12);
static_assert(offsetof(VYCameraIntrinsic, width) == 16 && offsetof(VYCameraIntrinsic, height) == 18);

static_assert(sizeof(VYCameraDistortion) == 36, "8 floats, 1 32-bit integer");
static_assert(offsetof(VYCameraDistortion, k1) == 0 && offsetof(VYCameraDistortion, k2) == 4);
static_assert(offsetof(VYCameraDistortion, k3) == 8 && offsetof(VYCameraDistortion, k4) == 12);
static_assert(offsetof(VYCameraDistortion, k5) == 16 && offsetof(VYCameraDistortion, k6) == 20);
static_assert(offsetof(VYCameraDistortion, p1) == 24 && offsetof(VYCameraDistortion, p2) == 28);
static_assert(offsetof(VYCameraDistortion, model) == 32);

static_assert(sizeof(VYExtrinsic) == 48, "12 floats");
static_assert(offsetof(VYExtrinsic, rot) == 0 && offsetof(VYExtrinsic, trans) == 36);

// 44 bytes on a 32-bit target, 52 on a 64-bit one.
static_assert(sizeof(VYFilterConfigSchemaItem) == 2 * kPointer + 36, "2 texts, 1 enumeration, 4 doubles");
static_assert(offsetof(VYFilterConfigSchemaItem, name) == 0 && offsetof(VYFilterConfigSchemaItem, type) == kPointer);
static_assert(offsetof(VYFilterConfigSchemaItem, min) == kPointer + 4);
static_assert(offsetof(VYFilterConfigSchemaItem, max) == kPointer + 12);
static_assert(offsetof(VYFilterConfigSchemaItem, step) == kPointer + 20);
static_assert(offsetof(VYFilterConfigSchemaItem, def) == kPointer + 28);
static_assert(offsetof(VYFilterConfigSchemaItem, desc) == kPointer + 36);

static_assert(sizeof(VYSensorType) == 4 && sizeof(VYStreamType) == 4 && sizeof(VYFormat) == 4, "enumerations are int");
static_assert(sizeof(VYPixelType) == 4 && sizeof(VYFilterConfigValueType) == 4, "enumerations are int");

}  // namespace
