// What tests of the frame processor library rely on in the simulated host.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "simhost/SimulatedHost.h"
#include "support/CommaLocale.h"

namespace {

/// Cameras are not counted: this stands behind the kinds of those handles that are.
constexpr auto kCamera = static_cast<vysim_kind>(VYSIM_STREAM_PROFILE + 1);

/// A function that takes a handle as its first argument.
struct HandleCall {
  const char* function;
  vysim_kind kind;
  std::function<void(void*, vy_error**)> call;
};

template <typename Result, typename Handle, typename... Parameter, typename... Rest>
HandleCall on(vysim_kind kind, const char* name, Result (*function)(Handle*, Parameter...), Rest... rest) {
  return {name, kind, [=](void* handle, vy_error** error) { function(static_cast<Handle*>(handle), rest..., error); }};
}

vy_frame_t* mirrorFrame(const vy_frame_t* frame, vy_error** error) {
  return vy_filter_process(makeFilter("FrameMirror").get(), frame, error);
}

void getTruth(const vy_frame_t* frame, vy_error** error) {
  uint16_t depth = 0;
  vysim_camera_get_truth(openCamera("Talon", 8, 8).get(), frame, &depth, error);
}

/// All of them; those that delete come last.
std::vector<HandleCall> handleCalls() {
  const vysim_kind device = VYSIM_DEVICE, info = VYSIM_DEVICE_INFO, filter = VYSIM_FILTER, list = VYSIM_SCHEMA_LIST,
                   frame = VYSIM_FRAME, profile = VYSIM_STREAM_PROFILE;
  const auto none = static_cast<const vy_frame_t*>(nullptr);
  return {
      on(device, "vy_device_get_device_info", vy_device_get_device_info),
      on(info, "vy_device_info_get_vid", vy_device_info_get_vid),
      on(info, "vy_device_info_get_pid", vy_device_info_get_pid),
      on(filter, "vy_filter_get_name", vy_filter_get_name),
      on(filter, "vy_filter_get_config_schema", vy_filter_get_config_schema),
      on(filter, "vy_filter_get_config_schema_list", vy_filter_get_config_schema_list),
      on(filter, "vy_filter_update_config", vy_filter_update_config, uint8_t{0}, nullptr),
      on(filter, "vy_filter_get_config_value", vy_filter_get_config_value, "Angle"),
      on(filter, "vy_filter_set_config_value", vy_filter_set_config_value, "Angle", 90.0),
      on(filter, "vy_filter_reset", vy_filter_reset),
      on(filter, "vy_filter_enable", vy_filter_enable, true),
      on(filter, "vy_filter_is_enabled", vy_filter_is_enabled),
      on(filter, "vy_filter_process", vy_filter_process, none),
      on(frame, "vy_filter_process", mirrorFrame),
      on(list, "vy_filter_config_schema_list_get_count", vy_filter_config_schema_list_get_count),
      on(list, "vy_filter_config_schema_list_get_item", vy_filter_config_schema_list_get_item, 0U),
      on(frame, "vy_frame_add_ref", vy_frame_add_ref),
      on(frame, "vy_frame_get_format", vy_frame_get_format),
      on(frame, "vy_video_frame_get_pixel_type", vy_video_frame_get_pixel_type),
      on(frame, "vy_video_frame_get_width", vy_video_frame_get_width),
      on(frame, "vy_video_frame_get_height", vy_video_frame_get_height),
      on(frame, "vy_create_frame_from_other_frame", vy_create_frame_from_other_frame, true),
      on(frame, "vy_frame_get_stream_profile", vy_frame_get_stream_profile),
      on(frame, "vysim_frame_get_data", vysim_frame_get_data),
      on(frame, "vysim_frame_get_size", vysim_frame_get_size),
      on(frame, "vysim_frame_get_number", vysim_frame_get_number),
      on(profile, "vysim_profile_get_distortion", vysim_profile_get_distortion),
      on(profile, "vysim_profile_get_extrinsic", vysim_profile_get_extrinsic, VY_STREAM_COLOR),
      on(profile, "vy_video_stream_profile_get_intrinsic", vy_video_stream_profile_get_intrinsic),
      on(profile, "vy_video_stream_profile_set_intrinsic", vy_video_stream_profile_set_intrinsic, VYCameraIntrinsic{}),
      on(profile, "vy_video_stream_profile_set_distortion", vy_video_stream_profile_set_distortion,
         VYCameraDistortion{}),
      on(profile, "vy_stream_profile_set_extrinsic_to_type", vy_stream_profile_set_extrinsic_to_type, VY_STREAM_COLOR,
         VYExtrinsic{}),
      on(frame, "vysim_camera_get_truth", getTruth),
      on(kCamera, "vysim_camera_get_device", vysim_camera_get_device),
      on(kCamera, "vysim_camera_next_frame", vysim_camera_next_frame, VY_SENSOR_DEPTH),
      on(kCamera, "vysim_camera_make_frame", vysim_camera_make_frame, VY_SENSOR_DEPTH, 7U, nullptr, size_t{0}),
      on(kCamera, "vysim_camera_pause", vysim_camera_pause, true),
      on(kCamera, "vysim_camera_get_truth", vysim_camera_get_truth, none, nullptr),
      on(kCamera, "vysim_camera_get_depth_tolerance", vysim_camera_get_depth_tolerance, uint16_t{7}),
      on(kCamera, "vysim_close_camera", vysim_close_camera),
      on(device, "vysim_delete_device", vysim_delete_device),
      on(info, "vy_delete_device_info", vy_delete_device_info),
      on(filter, "vy_delete_filter", vy_delete_filter),
      on(list, "vy_delete_filter_config_schema_list", vy_delete_filter_config_schema_list),
      on(frame, "vy_delete_frame", vy_delete_frame),
      on(profile, "vy_delete_stream_profile", vy_delete_stream_profile)};
}

TEST_F(SimulatedHost, RefusesNullWrongAndDeadHandles) {
  const Device device(vysim_create_device(1, 2));
  const Frame frame = makeFrame();
  vy_filter_t* const rotate = makeFilter("FrameRotate").release();
  void* const dead[] = {vysim_create_device(1, 2),
                        call(vy_device_get_device_info, device.get()),
                        rotate,
                        call(vy_filter_get_config_schema_list, rotate),
                        makeFrame().release(),
                        call(vy_frame_get_stream_profile, frame.get()),
                        openCamera("Talon", 8, 8).release()};  // in the order of vysim_kind
  for (const HandleCall& each : handleCalls()) {
    const std::string name = each.function;
    const bool deletes = name.find("_delete_") != std::string::npos || name.find("_close_") != std::string::npos;
    if (deletes) each.call(dead[each.kind], nullptr);
  }
  for (const HandleCall& each : handleCalls()) {
    void* const wrong = each.kind == VYSIM_DEVICE ? static_cast<void*>(frame.get()) : device.get();
    int notAnObject[64] = {};
    const uint64_t refused = vysim_refused_count(each.function);
    for (const auto& [handle, type] :
         {std::pair<void*, int>(nullptr, kInvalidValue), std::pair(wrong, kWrongObject),
          std::pair<void*, int>(notAnObject, kWrongObject), std::pair(dead[each.kind], kDeadObject)}) {
      ErrorSlot slot;
      each.call(handle, slot);
      const Error error = slot.take();
      EXPECT_EQ(error.exceptionType, type) << each.function << ": " << error.message;
      EXPECT_EQ(error.function, each.function);
      EXPECT_EQ(error.status, 1);
      const std::string argument = " " + error.message.substr(0, error.message.find_first_of(" :")) + ": ";
      EXPECT_NE((" " + error.args).find(argument), std::string::npos) << error.message << ", with " << error.args;
      each.call(handle, nullptr);  // an error that nobody wants is dropped
    }
    EXPECT_EQ(vysim_refused_count(each.function), refused + 8) << each.function;
  }
  auto* deadFrame = static_cast<vy_frame_t*>(dead[VYSIM_FRAME]);
  EXPECT_EQ(vysim_frame_get_ref_count(deadFrame), 0);
  for (int i = 0; i < 256; ++i) makeFrame();  // it stays dead while others come and go
  ErrorSlot slot;
  EXPECT_EQ(vy_video_frame_get_width(deadFrame, slot), 0U);
  EXPECT_EQ(slot.take().message, "frame is dead: frame#2 was deleted before");
}

TEST_F(SimulatedHost, FiltersRefuseSettingsThatMakeNoSense) {
  const struct {
    const char* filter;
    std::vector<const char*> arguments;  // if empty, the item is set instead
    const char* item;
    double value;
    const char* messagePart;
  } refusals[] = {
      {"FrameRotate", {}, "Angle", 45, "0 to 270 in steps of 90 but is 45"},
      {"FrameRotate", {}, "angle", 90, "no item \"angle\": it has Angle"},
      {"FrameMirror", {"1"}, nullptr, 0, "takes no arguments but got 1"},
      {"NoiseRemovalFilter", {"80", "256", "848"}, nullptr, 0, "takes 4 arguments"},
      {"NoiseRemovalFilter", {"80", "256", "848", "x"}, nullptr, 0, "ReferenceHeight must be a number"},
      {"FrameRotate", {""}, nullptr, 0, "Angle must be a number but is \"\""},
      {"FrameRotate", {"90x"}, nullptr, 0, "Angle must be a number but is \"90x\""},
      {"FrameRotate", {nullptr}, nullptr, 0, "Angle must be a number but is null"},
      {"FrameRotate", {"90", "90"}, nullptr, 0, "FrameRotate takes 1 arguments (Angle) but got 2"},
      {"FrameMirror", {}, "Angle", 90, "FrameMirror has no item \"Angle\": it has none at all"},
      {"NoiseRemovalFilter", {}, "MaxSpeckleSize", std::nan(""), "nan"},
      {"DisparityTransform", {}, "HoleValue", 1, "no item"},
      {"DepthResize", {"4294967295", "48", "1", "0", "0", "0", "0"}, nullptr, 0, "OutputWidth"},
  };
  for (const auto& each : refusals) {
    const Filter filter = makeFilter(each.filter);
    ErrorSlot slot;
    std::vector<const char*> arguments = each.arguments;
    if (arguments.empty()) {
      vy_filter_set_config_value(filter.get(), each.item, each.value, slot);
    } else {
      vy_filter_update_config(filter.get(), static_cast<uint8_t>(arguments.size()), arguments.data(), slot);
    }
    const Error error = slot.take();
    EXPECT_NE(error.message.find(each.messagePart), std::string::npos) << each.filter << ": " << error.message;
    const bool isUnknown = error.message.find(" has no item ") != std::string::npos;
    EXPECT_EQ(error.exceptionType, isUnknown ? kNotFound : kInvalidValue) << error.message;
    const SchemaList list(call(vy_filter_get_config_schema_list, filter.get()));
    for (uint32_t i = 0; i < call(vy_filter_config_schema_list_get_count, list.get()); ++i) {
      const VYFilterConfigSchemaItem item = call(vy_filter_config_schema_list_get_item, list.get(), i);
      EXPECT_EQ(call(vy_filter_get_config_value, filter.get(), item.name), double{item.def}) << item.name;
    }
  }
}

TEST_F(SimulatedHost, ArgumentTextsHaveAPointWhateverTheLocale) {
  const CommaLocale locale;
  const Filter resize = makeFilter("DepthResize");
  for (const auto& [scale, isNumber] : {std::pair("1.500000000", true), std::pair("0,5", false)}) {
    const char* arguments[] = {"64", "48", scale, "0", "0", "0", "0"};
    ErrorSlot slot;
    vy_filter_update_config(resize.get(), 7, arguments, slot);
    EXPECT_EQ(slot.isSet(), !isNumber) << slot.take().message;
    EXPECT_EQ(call(vy_filter_get_config_value, resize.get(), "Scale"), 1.5) << "after " << scale;
  }
}

TEST_F(SimulatedHost, FiltersRefuseFramesThatTheyCannotWorkOn) {
  const struct {
    const char* filter;
    bool isPrivate;
    VYFormat format;
    VYPixelType type;
  } cases[] = {{"FrameUnpacker", false, VY_FORMAT_Y16, VY_PIXEL_DISPARITY},
               {"TalonFrameUnpacker", false, VY_FORMAT_RLE, VY_PIXEL_DISPARITY},
               {"TiberonDecompress", false, VY_FORMAT_Y12, VY_PIXEL_DISPARITY},
               {"CorvidPixelOffsetFix", false, VY_FORMAT_Y16, VY_PIXEL_DEPTH},
               {"NoiseRemovalFilter", false, VY_FORMAT_Y12, VY_PIXEL_DISPARITY},
               {"DisparityTransform", false, VY_FORMAT_Y16, VY_PIXEL_DEPTH},
               {"DisparityTransform", false, VY_FORMAT_Y16, VY_PIXEL_DISPARITY},  // a profile without a baseline
               {"OpenNIDisparityTransform", true, VY_FORMAT_Y8, VY_PIXEL_DISPARITY},
               {"HardwareD2DCorrectionFilter", false, VY_FORMAT_Y16, VY_PIXEL_DISPARITY},
               {"FrameMirror", false, VY_FORMAT_Y10_MIPI, VY_PIXEL_INTENSITY},
               {"FrameFlip", false, static_cast<VYFormat>(13), VY_PIXEL_INTENSITY},
               {"FrameRotate", false, VY_FORMAT_Y14, VY_PIXEL_INTENSITY},
               {"DepthResize", true, VY_FORMAT_Y11, VY_PIXEL_DEPTH}};
  for (const auto& each : cases) {
    const Filter filter = makeFilter(each.filter);
    const Frame frame = makeFrame(each.format, each.type);
    ErrorSlot slot;
    EXPECT_EQ(vy_filter_process(filter.get(), frame.get(), slot), nullptr);
    const Error error = slot.take();
    EXPECT_EQ(error.exceptionType, kUnsuitableFrame) << each.filter << ": " << error.message;
    const auto otherWay = each.isPrivate ? vy_create_filter : vy_create_private_filter;
    EXPECT_EQ(otherWay(each.filter, slot), nullptr);
    const Error refusal = slot.take();
    EXPECT_EQ(refusal.exceptionType, kNotFound) << each.filter;
    const char* const way = each.isPrivate ? "is private: create it with vy_create_private_filter"
                                           : "is public: create it with vy_create_filter";
    EXPECT_NE(refusal.message.find(way), std::string::npos) << refusal.message;
  }
}

TEST_F(SimulatedHost, DefinedFiltersReplaceBuiltInOnesUntilReset) {
  vysim_filter_definition definition{};
  definition.name = "FrameMirror";
  definition.reported_name = "Mine";
  definition.process = [](void*, const vy_frame_t*, vy_error** error) -> vy_frame_t* {
    *error = vy_create_error(1, "mine alone", "process", "", 9);
    return nullptr;
  };
  call(vysim_define_filter, &definition);
  const Filter filter = makeFilter("FrameMirror");
  vysim_reset();
  const Filter builtIn = makeFilter("FrameMirror");
  EXPECT_STREQ(call(vy_filter_get_name, filter.get()), "Mine");
  EXPECT_STREQ(call(vy_filter_get_name, builtIn.get()), "FrameMirror");
  ErrorSlot slot;
  EXPECT_EQ(vy_filter_process(filter.get(), makeFrame().get(), slot), nullptr);
  EXPECT_EQ(slot.take().message, "mine alone");
}

}  // namespace
