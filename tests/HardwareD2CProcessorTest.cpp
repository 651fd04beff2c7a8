// The hardware D2C filter: the calls it makes for a frame, its failures, and how parameters reach it through a chain.
#include "d2c/HardwareD2CProcessor.h"

#include "support/WithoutHostFilter.h"

namespace {

constexpr VYCameraIntrinsic kIntrinsic = {600, 500, 320.5F, 200, 640, 400};

/// The filter around a "DepthResize" that makes new frames.
class HardwareD2CProcessorTest : public HostTest {
 protected:
  HardwareD2CProcessorTest() {
    defineStamper("DepthResize", stamper_, nullptr, true);
    filter_ = std::make_unique<HardwareD2CProcessor>();
  }
  void setParams(float scale, bool applyScale) {
    call([&](vy_error** error) {
      filter_->set_hardware_d2c_params(kIntrinsic, 1, scale, -10, 4, 6, -2, applyScale, true, error);
    });
  }
  std::string callsForAFrame() {
    return recordCalls([&] { Frame(call(&HardwareD2CProcessor::filter_process, filter_.get(), input_.get())); });
  }

  Stamper stamper_ = {5};
  std::unique_ptr<HardwareD2CProcessor> filter_;
  const Frame input_ = makeFrame(VY_FORMAT_Y16, VY_PIXEL_DEPTH, 8, 4);
};

TEST_F(HardwareD2CProcessorTest, AFrameIsResizedAndStamped) {
  setParams(2, true);
  EXPECT_EQ(callsForAFrame(),
            "vy_video_frame_get_width(frame: frame#1)\n"
            "vy_video_frame_get_height(frame: frame#1)\n"
            "vy_filter_update_config(filter: DepthResize#1, argc: 7, argv: [\"12\", \"10\", \"2.000000000\", \"-10\", "
            "\"6\", \"4\", \"-2\"])\n"
            "vy_filter_process(filter: DepthResize#1, frame: frame#1)\n"
            "vy_frame_get_stream_profile(frame: frame#2)\n"
            "vy_video_stream_profile_get_intrinsic(profile: stream_profile#1)\n"
            "vy_video_stream_profile_set_intrinsic(profile: stream_profile#1, intrinsic: {600, 500, 320.5, 200, 640, "
            "400})\n"
            "vy_video_stream_profile_set_distortion(profile: stream_profile#1, distortion: {0, 0, 0, 0, 0, 0, 0, 0, "
            "0})\n"
            "vy_stream_profile_set_extrinsic_to_type(profile: stream_profile#1, type: 2, extrinsic: {1, 0, 0, 0, 1, 0, "
            "0, 0, 1, 0, 0, 0})\n"
            "vy_delete_stream_profile(profile: stream_profile#1)\n"
            "vy_delete_frame(frame: frame#2)\n");
}

TEST_F(HardwareD2CProcessorTest, ParametersAreAppliedOncePerSet) {
  const auto configuration = [this] {
    const auto calls = callsOf("vy_filter_update_config", callsForAFrame());
    return calls.size() == 1 ? calls[0].substr(calls[0].find('[')) : std::to_string(calls.size()) + " calls";
  };
  setParams(2, true);
  EXPECT_EQ(configuration(), "[\"12\", \"10\", \"2.000000000\", \"-10\", \"6\", \"4\", \"-2\"])");
  EXPECT_EQ(configuration(), "0 calls");
  setParams(2, true);  // the same values again
  EXPECT_EQ(configuration(), "[\"12\", \"10\", \"2.000000000\", \"-10\", \"6\", \"4\", \"-2\"])");
  setParams(2, false);  // folds: 12 x 10 halved
  EXPECT_EQ(configuration(), "[\"6\", \"5\", \"1.000000000\", \"-5\", \"3\", \"2\", \"-1\"])");
  EXPECT_NE(callsForAFrame().find("intrinsic: {300, 250, 160.25, 100, 320, 200}"), std::string::npos)
      << "the folded intrinsics, and folded once, are stamped on later frames";
  failCall("vy_filter_update_config");  // dropped
  call(&HardwareD2CProcessor::reset_filter, filter_.get());
  EXPECT_EQ(configuration(), "[\"0\", \"0\", \"0.000000000\", \"0\", \"0\", \"0\", \"0\"])");
  EXPECT_EQ(configuration(), "0 calls") << "not even when the host refused";
  EXPECT_NE(callsForAFrame().find("intrinsic: {0, 0, 0, 0, 0, 0}"), std::string::npos);
}

// Single failures are in FaultSweepTest.cpp.
TEST_F(HardwareD2CProcessorTest, TheLaterOfTwoErrorsIsTheCallers) {
  setParams(1, true);
  ErrorSlot error;
  for (const char* first : {"vy_video_frame_get_width", "vy_video_frame_get_height"}) {
    failCall(first);
    failCall("vy_filter_process");
    EXPECT_EQ(filter_->filter_process(input_.get(), error), nullptr);
    EXPECT_EQ(error.take(), injectedError("vy_filter_process"));
  }
}

TEST_F(HardwareD2CProcessorTest, OtherOperations) {
  ErrorSlot error;
  EXPECT_STREQ(filter_->get_name(), "HardwareD2CProcessor");
  EXPECT_EQ(call(&HardwareD2CProcessor::filter_process, filter_.get(), nullptr), nullptr);
  EXPECT_EQ(filter_->get_filter_config_schema(error), nullptr);
  EXPECT_EQ(error.take(), ownError("the function does not support parameter retrieval", "get_filter_config_schema", 9));
  const char* arguments[] = {"640", "400", "1.0", "0", "0", "0", "0"};
  filter_->update_filter_config(7, arguments, error);
  EXPECT_EQ(error.take(), ownError("the number of params error", "update_filter_config", 9));
  EXPECT_EQ(filter_->get_config_schema_list(nullptr, error), nullptr);
  EXPECT_EQ(error.take(), ownError("filter is nullptr", "get_config_schema_list"));

  WithoutHostFilter<HardwareD2CProcessor> broken;
  EXPECT_EQ(broken.filter_process(input_.get(), error), nullptr);
  EXPECT_EQ(error.take(), ownError("device or filter is nullptr", "filter_process"));
  EXPECT_EQ(broken.get_filter_name(error), nullptr);
  EXPECT_EQ(error.take(), ownError("filter is nullptr", "get_filter_name"));
}

// Another filter of the library's stands before it in the chain, and refuses the parameters.
TEST_F(HardwareD2CProcessorTest, ParametersReachTheFilterThroughTheChain) {
  for (const char* name : {"FrameUnpacker", "NoiseRemovalFilter", "FrameMirror", "FrameFlip", "FrameRotate"}) {
    definePassing(name);
  }
  definePassing("OpenNIDisparityTransform", nullptr, true);
  const OpenDevice camera = openDevice(kSpecialOpenNI);
  expectRefused("vy_filter_config_schema_list_get_item", 11);  // published, but the stand-ins have no items
  const Processor depth = makeProcessor(camera.context, kDepth);
  EXPECT_EQ(updateConfig(depth, {"1", "1", "1", "0", "0"}), kNoError);  // of noise, disparity, D2C, mirror, flip
  setHardwareD2C(depth, {kIntrinsic, 2, -2, 2, -4, 4, true});           // would fold if it were asked to
  Outcome outcome;
  const std::string calls = recordCalls([&] { outcome = process(depth, input_); });
  EXPECT_EQ(outcome.error, kNoError);
  EXPECT_EQ(stampOf(outcome.frame), 5);
  EXPECT_NE(calls.find("[\"10\", \"14\", \"2.000000000\", \"-2\", \"-4\", \"2\", \"4\"]"), std::string::npos) << calls;
  EXPECT_NE(calls.find("intrinsic: {600, 500, 320.5, 200, 640, 400}"), std::string::npos) << calls;
}

}  // namespace
