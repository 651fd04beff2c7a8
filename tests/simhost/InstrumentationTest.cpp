// What records, counts, times, faults and errors of the simulated host say.
#include <functional>
#include <new>
#include <stdexcept>
#include <thread>
#include <tuple>

#include "simhost/SimulatedHost.h"

namespace {

class Instrumentation : public SimulatedHost {};

/// Defines a filter for the length of a test.
void define(const char* name, vy_frame_t* (*process)(void*, const vy_frame_t*, vy_error**), void* user = nullptr) {
  const vysim_filter_definition definition{name, nullptr, false, nullptr, 0, process, user};
  call(vysim_define_filter, &definition);
}

TEST_F(Instrumentation, TextsShowEveryArgument) {
  const Frame frame = makeFrame();  // frame#1
  const Filter rotate = makeFilter("FrameRotate");
  const Device device(vysim_create_device(1, 2));
  const StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
  const SchemaList list(call(vy_filter_get_config_schema_list, rotate.get()));
  vy_error* const error = vy_create_error(1, "m", "f", "a", 4);
  const uint32_t noObject[16] = {};
  const auto* const stranger = reinterpret_cast<const vy_frame_t*>(noObject);
  const char* arguments[] = {"90", nullptr};
  const std::pair<std::function<void()>, const char*> calls[] = {
      {[&] { vy_frame_get_format(nullptr, nullptr); }, "vy_frame_get_format(frame: null)"},
      {[&] { vy_frame_get_format(stranger, nullptr); }, "vy_frame_get_format(frame: no object)"},
      {[&] { vy_create_private_filter(nullptr, nullptr); }, "vy_create_private_filter(name: null)"},
      {[&] { vy_filter_update_config(rotate.get(), 2, arguments, nullptr); },
       "vy_filter_update_config(filter: FrameRotate#1, argc: 2, argv: [\"90\", null])"},
      {[&] { vy_filter_update_config(rotate.get(), 1, nullptr, nullptr); },
       "vy_filter_update_config(filter: FrameRotate#1, argc: 1, argv: null)"},
      {[&] { vy_filter_set_config_value(rotate.get(), "Angle", 0.25, nullptr); },
       "vy_filter_set_config_value(filter: FrameRotate#1, item: \"Angle\", value: 0.25)"},
      {[&] { vy_filter_enable(rotate.get(), true, nullptr); }, "vy_filter_enable(filter: FrameRotate#1, enable: true)"},
      {[&] { vy_filter_config_schema_list_get_item(list.get(), 7, nullptr); },
       "vy_filter_config_schema_list_get_item(list: schema_list#1, index: 7)"},
      {[&] { vy_device_info_get_vid(nullptr, nullptr); }, "vy_device_info_get_vid(info: null)"},
      {[&] { DeviceInfo(vy_device_get_device_info(device.get(), nullptr)); },
       "vy_device_get_device_info(device: device#1)"},
      {[] {}, "vy_delete_device_info(info: device_info#1)"},
      {[&] {
         vy_video_stream_profile_set_intrinsic(profile.get(), {1, 2, 3, 4.5F, 5, -6}, nullptr);
       },
       "vy_video_stream_profile_set_intrinsic(profile: stream_profile#1, intrinsic: {1, 2, 3, 4.5, 5, -6})"},
      {[&] {
         vy_video_stream_profile_set_distortion(profile.get(), {1, 2, 3, 4, 5, 6, 7, 8, 9}, nullptr);
       },
       "vy_video_stream_profile_set_distortion(profile: stream_profile#1, distortion: {1, 2, 3, 4, 5, 6, 7, 8, 9})"},
      {[&] {
         vy_stream_profile_set_extrinsic_to_type(profile.get(), VY_STREAM_COLOR,
                                                 {{1, 2, 3, 4, 5, 6, 7, 8, 9}, {10, 11, 12}}, nullptr);
       },
       "vy_stream_profile_set_extrinsic_to_type(profile: stream_profile#1, type: 2, extrinsic: {1, 2, 3, 4, 5, 6, 7, "
       "8, 9, 10, 11, 12})"},
      {[&] { vy_error_get_status(error); }, "vy_error_get_status(error: error#1)"},
      {[&] { vy_error_get_message(nullptr); }, "vy_error_get_message(error: null)"},
      {[&] { vy_delete_error(nullptr); }, nullptr},
      {[&] { vy_delete_error(error); }, "vy_delete_error(error: error#1)"},
      {[&] { vy_delete_error(vy_create_error(-1, "m", nullptr, "a", 4)); },
       "vy_create_error(status: -1, message: \"m\", function: null, args: \"a\", exception_type: 4)"},
      {[] {}, "vy_delete_error(error: error#2)"},
  };
  vysim_record_start();
  std::vector<std::string> expected;
  for (const auto& [work, text] : calls) {
    work();
    if (text != nullptr) expected.push_back(text);
  }
  vysim_record_stop();
  vy_frame_get_format(frame.get(), nullptr);
  ASSERT_EQ(vysim_record_count(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(vysim_record_at(i), expected[i]);
  EXPECT_EQ(vysim_record_at(expected.size()), nullptr);
  vysim_record_start();
  EXPECT_EQ(vysim_record_count(), 0U);

  const VYCameraDistortion distortion = call(vysim_profile_get_distortion, profile.get());
  EXPECT_TRUE(distortion.k1 == 1 && distortion.p2 == 8 && distortion.model == 9);
  EXPECT_EQ(call(vysim_profile_get_extrinsic, profile.get(), VY_STREAM_COLOR).trans[2], 12);
  ErrorSlot slot;
  vysim_profile_get_extrinsic(profile.get(), VY_STREAM_IR, slot);
  const Error none = slot.take();
  EXPECT_EQ(none.message, "no extrinsic to stream type 1 was set");
  EXPECT_EQ(none.args, "profile: stream_profile#1, type: 1");
  vysim_reset();
  vy_frame_get_format(frame.get(), nullptr);
  EXPECT_EQ(vysim_record_count(), 0U) << "reset ends the recording and drops the records";
  vysim_create_frame(0, 1, VY_FORMAT_Y8, VY_PIXEL_DEPTH, slot);
  EXPECT_EQ(slot.take().args, "width: 0, height: 1, format: 9, pixel_type: 1");
  vysim_open_camera("Nobody", nullptr, slot);
  EXPECT_EQ(slot.take().args, "family: \"Nobody\"");
  const Camera camera = openCamera("Talon", 8, 8);
  vysim_camera_next_frame(camera.get(), VY_SENSOR_IR, slot);
  EXPECT_EQ(slot.take().args, "camera: camera#1, sensor: 1");
}

TEST_F(Instrumentation, AThreadHasTimesOfItsOwnIfItWantsThem) {
  const Frame frame = makeFrame();
  const Filter mirror = makeFilter("FrameMirror"), flip = makeFilter("FrameFlip");
  const auto run = [&](const Filter& filter) { Frame(call(vy_filter_process, filter.get(), frame.get())); };
  const auto times = [] {
    std::string text;
    for (size_t i = 0; i < vysim_timing_filter_count(); ++i) {
      text += vysim_timing_filter_at(i).name + (" " + std::to_string(vysim_timing_filter_at(i).calls)) + ", ";
    }
    uint64_t calls = 0;
    vysim_timing_total(&calls, nullptr);
    return text + std::to_string(calls);
  };
  std::thread([&] {
    vysim_timing_own(true);
    run(mirror);
    EXPECT_EQ(times(), "0") << "off until it is started";
    vysim_timing_start();
    run(mirror);
    std::thread([&] {
      run(flip);
      EXPECT_EQ(times(), "0") << "not timed: nobody asked for the common times";
      vysim_timing_start();
      run(flip);
      EXPECT_EQ(times(), "FrameFlip 1, 2") << "the call that gives the frame back counts";
    }).join();
    vysim_timing_own(true);
    EXPECT_EQ(times(), "FrameMirror 1, 2");
    vysim_timing_stop();
    run(mirror);
    EXPECT_EQ(times(), "FrameMirror 1, 2");
    vysim_timing_start();
    vysim_timing_own(false);
    run(mirror);
    EXPECT_EQ(times(), "FrameFlip 1, FrameMirror 1, 4") << "the common times again, which still run";
    vysim_timing_own(true);
    vysim_timing_start();
  }).join();
  vysim_timing_stop();
  run(flip);
  EXPECT_EQ(times(), "FrameFlip 1, FrameMirror 1, 4") << "a thread's own times end with it";
}

TEST_F(Instrumentation, AnIgnoredThreadIsLeftAlone) {
  const Frame frame = makeFrame();
  vysim_record_start();
  vysim_count_calls(true);
  vysim_timing_start();
  vysim_fail_call("vy_frame_get_format", 1, VYSIM_FAULT_ERROR);
  vysim_ignore_thread(true);
  call(vy_frame_get_format, frame.get());
  uint64_t calls = 0;
  vysim_timing_total(&calls, nullptr);
  EXPECT_TRUE(calls == 0 && vysim_record_count() == 0 && vysim_call_count(nullptr) == 0);
  std::thread([&] {
    ErrorSlot slot;
    vy_frame_get_format(frame.get(), slot);
    EXPECT_EQ(slot.take().message, "injected fault") << "other threads are not ignored";
  }).join();
  vysim_ignore_thread(false);
  call(vy_frame_get_format, frame.get());
  vysim_timing_total(&calls, nullptr);
  EXPECT_EQ(vysim_call_count("vy_frame_get_format"), 2U);
  EXPECT_GE(calls, 2U);
}

// A filter that calls the host from within the host: each call is counted, but only the outermost is timed.
TEST_F(Instrumentation, NestedCallsAreCountedEachAndTimedOnce) {
  struct Inner {
    Filter mirror = makeFilter("FrameMirror");
  } inner;
  const auto work = [](void* user, const vy_frame_t* frame, vy_error** error) {
    return vy_filter_process(static_cast<Inner*>(user)->mirror.get(), frame, error);
  };
  define("Outer", work, &inner);
  define("Failing", [](void*, const vy_frame_t*, vy_error** error) -> vy_frame_t* {
    *error = vy_create_error(1, "no", "process", "", 9);
    return nullptr;
  });
  const Filter outer = makeFilter("Outer");
  const Filter failing = makeFilter("Failing");
  const Frame frame = makeFrame();
  const Frame packed = makeFrame(VY_FORMAT_Y12);
  const auto run = [&] {
    vy_delete_frame(call(vy_filter_process, outer.get(), frame.get()), nullptr);
    EXPECT_EQ(vy_filter_process(failing.get(), frame.get(), nullptr), nullptr);
    EXPECT_EQ(vy_filter_process(inner.mirror.get(), packed.get(), nullptr), nullptr);
  };
  run();  // unwatched
  vysim_timing_start();
  vysim_count_calls(true);
  run();
  uint64_t calls = 0, nanoseconds = 0;
  vysim_timing_total(&calls, &nanoseconds);
  EXPECT_EQ(calls, 4U);
  EXPECT_EQ(vysim_call_count("vy_filter_process"), 4U);
  EXPECT_EQ(vysim_call_count("vy_create_error"), 1U);
  EXPECT_EQ(vysim_call_count(nullptr), 5U) << "functions without a slot are left out";
  EXPECT_EQ(vysim_call_count("vy_frame_get_format"), 0U);
  const std::pair<const char*, uint64_t> filters[] = {{"FrameMirror", 2}, {"Outer", 1}, {"Failing", 1}};
  ASSERT_EQ(vysim_timing_filter_count(), std::size(filters));
  uint64_t inFilters = 0;
  for (size_t i = 0; i < std::size(filters); ++i) {
    const vysim_filter_time time = vysim_timing_filter_at(i);
    EXPECT_STREQ(time.name, filters[i].first);
    EXPECT_EQ(time.calls, filters[i].second);
    EXPECT_GT(time.nanoseconds, 0U);
    if (i > 0) inFilters += time.nanoseconds;
  }
  EXPECT_LE(inFilters, nanoseconds);
  const vysim_filter_time none = vysim_timing_filter_at(3);
  EXPECT_TRUE(none.name == nullptr && none.calls == 0 && none.nanoseconds == 0);
  run();
  EXPECT_GT(vysim_timing_filter_at(1).nanoseconds, 0U);
  vysim_record_start();
  vysim_timing_stop();
  vysim_count_calls(false);
  run();
  EXPECT_GT(vysim_record_count(), 0U) << "each is switched for itself";
  vysim_timing_total(&calls, nullptr);
  uint64_t later = 0;
  vysim_timing_total(nullptr, &later);
  EXPECT_TRUE(calls == 8U && later > nanoseconds);
  EXPECT_EQ(vysim_timing_filter_at(0).calls, 4U);
  EXPECT_EQ(vysim_call_count("vy_filter_process"), 8U);
  vysim_timing_start();
  vysim_timing_total(&calls, &later);
  EXPECT_TRUE(calls == 0 && later == 0 && vysim_timing_filter_count() == 0);
  run();
  vysim_reset();
  vysim_timing_total(&calls, &later);
  EXPECT_TRUE(calls == 0 && later == 0 && vysim_timing_filter_count() == 0);
  EXPECT_TRUE(vysim_call_count("vy_filter_process") == 0 && vysim_call_count(nullptr) == 0);
  run();
  EXPECT_TRUE(vysim_timing_filter_count() == 0 && vysim_call_count("vy_filter_process") == 0) << "reset switches off";
}

TEST_F(Instrumentation, OrdersToFailStrikeInTheirTurn) {
  const Frame frame = makeFrame();
  const auto width = [&] { return vy_video_frame_get_width(frame.get(), nullptr); };
  struct Order {
    const char* function;
    uint64_t nth;
    vysim_fault fault;
  };
  const char* const self = "vy_video_frame_get_width";
  const struct {
    std::vector<Order> orders;
    std::string widths;  ///< of five calls; 0 where one failed
    uint64_t done;
  } cases[] = {
      {{{self, 1, VYSIM_FAULT_NULL}}, "06666", 1},
      {{{self, 0, VYSIM_FAULT_NULL}}, "06666", 1},
      {{{self, 2, VYSIM_FAULT_ERROR}}, "60666", 1},
      {{{nullptr, 3, VYSIM_FAULT_ERROR}}, "66066", 1},
      {{{self, 1, VYSIM_FAULT_ERROR_WITH_RESULT}}, "66666", 1},
      {{{self, 6, VYSIM_FAULT_ERROR}}, "66666", 0},
      {{{"vy_video_frame_get_height", 1, VYSIM_FAULT_ERROR}}, "66666", 0},
      {{{self, 2, VYSIM_FAULT_NULL}, {self, 4, VYSIM_FAULT_ERROR}}, "60606", 2},
      {{{self, 4, VYSIM_FAULT_NULL}, {nullptr, 2, VYSIM_FAULT_ERROR}}, "60606", 2},
      {{{self, 2, VYSIM_FAULT_NULL}, {self, 2, VYSIM_FAULT_ERROR}}, "60066", 2},  // both due: one call after the other
  };
  for (const auto& each : cases) {
    vysim_reset();
    for (const Order& order : each.orders) vysim_fail_call(order.function, order.nth, order.fault);
    std::string widths;
    for (int i = 0; i < 5; ++i) widths += std::to_string(width());
    EXPECT_EQ(widths, each.widths) << "case " << &each - cases;
    EXPECT_EQ(vysim_fail_count(), each.done) << "case " << &each - cases;
  }
  vysim_reset();
  EXPECT_EQ(vysim_fail_count(), 0U);
  vysim_fail_call(self, 1, VYSIM_FAULT_NULL);
  vysim_fail_clear();
  EXPECT_EQ(width(), 6U);
  vysim_fail_call(self, 1, VYSIM_FAULT_NULL);
  vysim_reset();
  EXPECT_EQ(width(), 6U);

  ErrorSlot slot;
  for (const vysim_fault fault : {VYSIM_FAULT_ERROR, VYSIM_FAULT_ERROR_WITH_RESULT}) {
    vysim_fail_call("vy_create_frame_from_other_frame", 1, fault);
    const Frame copy(vy_create_frame_from_other_frame(frame.get(), true, slot));
    const Error injected = slot.take();
    EXPECT_EQ(injected.message, "injected fault");
    EXPECT_TRUE(injected.exceptionType == kInjected && injected.args.find("frame: frame#1") == 0);
    EXPECT_EQ(copy != nullptr, fault == VYSIM_FAULT_ERROR_WITH_RESULT);
  }

  // A call that fails by itself reports its own error. An error that nobody takes is dropped.
  vysim_fail_call(self, 1, VYSIM_FAULT_ERROR_WITH_RESULT);
  vysim_fail_call(self, 2, VYSIM_FAULT_ERROR_WITH_RESULT);
  EXPECT_EQ(vy_video_frame_get_width(nullptr, slot), 0U);
  EXPECT_EQ(slot.take().exceptionType, kInvalidValue);
  EXPECT_EQ(vy_video_frame_get_width(nullptr, nullptr), 0U);
  EXPECT_EQ(vysim_live_count(VYSIM_ERROR), 0U);
}

// Whatever a call runs into becomes an error object.
TEST_F(Instrumentation, ExceptionsBecomeErrors) {
  using Process = vy_frame_t* (*)(void*, const vy_frame_t*, vy_error**);
  const std::tuple<Process, int, const char*> cases[] = {
      {[](void*, const vy_frame_t*, vy_error**) -> vy_frame_t* { throw std::bad_alloc(); }, kOutOfMemory,
       "out of memory"},
      {[](void*, const vy_frame_t*, vy_error**) -> vy_frame_t* { throw std::range_error("why"); }, kInternal, "why"},
      {[](void*, const vy_frame_t*, vy_error**) -> vy_frame_t* { throw 7; }, kInternal,
       "something that is no exception of the simulated host was thrown"},
  };
  for (const auto& [work, type, message] : cases) {
    define("Throwing", work);
    const Filter filter = makeFilter("Throwing");
    ErrorSlot slot;
    EXPECT_EQ(vy_filter_process(filter.get(), makeFrame().get(), slot), nullptr);
    const Error error = slot.take();
    EXPECT_EQ(error.message, message);
    EXPECT_TRUE(error.exceptionType == type && error.status == 1 && error.function == "vy_filter_process");
  }
}

TEST_F(Instrumentation, FunctionsWithoutASlotFailByNameOnly) {
  vysim_fail_call(nullptr, 1, VYSIM_FAULT_NULL);
  vy_error* const error = vy_create_error(7, "m", "f", nullptr, 4);
  ASSERT_NE(error, nullptr);
  vysim_fail_clear();
  for (const vysim_fault fault : {VYSIM_FAULT_NULL, VYSIM_FAULT_ERROR, VYSIM_FAULT_ERROR_WITH_RESULT}) {
    vysim_fail_call("vy_error_get_status", 1, fault);
    vysim_fail_call("vy_error_get_message", 1, fault);
    const bool works = fault == VYSIM_FAULT_ERROR_WITH_RESULT;
    EXPECT_EQ(vy_error_get_status(error), works ? 7 : 0);
    EXPECT_STREQ(vy_error_get_message(error), works ? "m" : "");
  }
  EXPECT_STREQ(vy_error_get_function(error), "f");
  EXPECT_STREQ(vy_error_get_args(error), "");
  EXPECT_EQ(vy_error_get_exception_type(error), 4);
  vy_delete_error(error);
  EXPECT_EQ(vy_error_get_status(error), 0) << "of a dead error";
  EXPECT_STREQ(vy_error_get_message(nullptr), "");
}

TEST_F(Instrumentation, DefinitionsAreCheckedAndTheirErrorsHandedOn) {
  const VYFilterConfigSchemaItem items[] = {{"Size", VY_FILTER_CONFIG_VALUE_TYPE_INT, 1, 9, 2, 3, nullptr},
                                            {"Free", VY_FILTER_CONFIG_VALUE_TYPE_INT, 1, 9, 0, 3, "any"}};
  const struct {
    vysim_filter_definition definition;
    int type;
  } cases[] = {
      {{nullptr, nullptr, false, nullptr, 0, nullptr, nullptr}, kInvalidValue},
      {{"", nullptr, false, nullptr, 0, nullptr, nullptr}, kInvalidValue},
      {{"Sized", nullptr, false, nullptr, 1, nullptr, nullptr}, kInvalidValue},
      {{"Sized", nullptr, true, items, 2, nullptr, nullptr}, 0},
  };
  ErrorSlot slot;
  for (const auto& each : cases) {
    vysim_define_filter(&each.definition, slot);
    EXPECT_EQ(slot.take().exceptionType, each.type) << "case " << &each - cases;
  }
  vysim_define_filter(nullptr, slot);
  EXPECT_EQ(slot.take().exceptionType, kInvalidValue);
  EXPECT_EQ(vy_create_filter("Sized", slot), nullptr);
  EXPECT_EQ(slot.take().exceptionType, kNotFound);
  const Filter sized(call(vy_create_private_filter, "Sized"));
  EXPECT_STREQ(call(vy_filter_get_config_schema, sized.get()), "Size,integer,1,9,2,3,\nFree,integer,1,9,0,3,any\n");
  call(vy_filter_set_config_value, sized.get(), "Free", 2.5);  // without steps
  const char* arguments[] = {"any", "thing"};
  call(vy_filter_update_config, sized.get(), uint8_t{2}, arguments);
  const Frame frame = makeFrame();
  EXPECT_EQ(process(sized, frame).get(), frame.get());
  EXPECT_TRUE(call(vy_filter_is_enabled, sized.get()));
  call(vy_filter_enable, sized.get(), false);
  call(vy_filter_reset, sized.get());
  EXPECT_FALSE(call(vy_filter_is_enabled, sized.get()));
}

}  // namespace
