// A frame in a chain: which filters run, and how failures end. The host calls of frames are in FaultSweepTest.cpp.
#include <algorithm>

#include "support/HostTest.h"

namespace {

constexpr std::uint8_t kInputStamp = 9;

/// The colour chain of a Halden camera, with three filters of our own in it that stamp 1, 2 and 3.
class FrameLoopTest : public HostTest {
 protected:
  FrameLoopTest() : halden_(openDevice(kHalden)) {}

  void build(const char* firstName = nullptr, const char* secondName = nullptr) {
    defineStamper("FrameMirror", stampers_[0], firstName);
    defineStamper("FrameFlip", stampers_[1], secondName);
    defineStamper("FrameRotate", stampers_[2]);
    expectRefused("vy_filter_config_schema_list_get_item");  // the chain publishes an item that the last one lacks
    processor_ = makeProcessor(halden_.context, kColor);
    EXPECT_EQ(updateConfig(processor_, {"1", "1"}), kNoError);  // the last one starts switched on
  }

  int runs() const { return stampers_[0].runs + stampers_[1].runs + stampers_[2].runs; }

  OpenDevice halden_;
  Stamper stampers_[3] = {{1}, {2}, {3}};
  Processor processor_;
};

Frame makeInput(int format = VY_FORMAT_Y16, int pixelType = VY_PIXEL_DISPARITY) {
  Frame input = makeFrame(format, pixelType);
  if (format != VY_FORMAT_RLE) call(vysim_frame_get_data, input.get())[0] = kInputStamp;
  return input;
}

TEST_F(FrameLoopTest, FiltersThatPassFramesOnKeepReferencesBalanced) {
  for (const char* name : {"FrameMirror", "FrameFlip", "FrameRotate"}) definePassing(name);
  expectRefused("vy_filter_config_schema_list_get_item");
  processor_ = makeProcessor(halden_.context, kColor);
  EXPECT_EQ(updateConfig(processor_, {"1", "1"}), kNoError);
  const Frame input = makeInput();
  const Outcome outcome = process(processor_, input);
  EXPECT_EQ(outcome.frame, input);
  EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 2) << "the caller's and the result's";
}

TEST_F(FrameLoopTest, SwitchedOffChainsCopyTheInput) {
  build();
  EXPECT_EQ(updateConfig(processor_, {"0", "0"}), kNoError);
  failCall("vy_filter_is_enabled", 3, kNull);  // the last filter has no switch to turn off
  const Frame input = makeInput();
  Outcome outcome;
  const std::string calls = recordCalls([&] { outcome = process(processor_, input); });
  EXPECT_EQ(calls,
            "vy_frame_add_ref(frame: frame#1)\n"
            "vy_filter_is_enabled(filter: FrameMirror#1)\n"
            "vy_filter_is_enabled(filter: FrameFlip#2)\n"
            "vy_filter_is_enabled(filter: FrameRotate#3)\n"
            "vy_delete_frame(frame: frame#1)\n"
            "vy_create_frame_from_other_frame(frame: frame#1, copy_data: true)\n");
  EXPECT_NE(outcome.frame, input);
  EXPECT_EQ(stampOf(outcome.frame), kInputStamp);
  EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 1);

  EXPECT_EQ(updateConfig(processor_, {"0", "1"}), kNoError);  // the filter's state is asked for every frame
  EXPECT_EQ(stampOf(process(processor_, input).frame), 3);
  EXPECT_EQ(stampers_[1].runs, 1);
}

// ---- Format rules -------------------------------------------------------------------------------

TEST_F(FrameLoopTest, ThreeFiltersRunForSomeFormatsOnly) {
  const std::vector<int> packed = {10, 11, 12, 21, 24};
  const std::vector<int> all = {0, 8, 9, 10, 11, 12, 13, 20, 21, 22, 24, 25};
  const struct {
    const char* filter;
    std::vector<int> formats;
    bool disparityOnly;
  } rules[] = {
      {"FrameUnpacker", packed, false},   {"TalonFrameUnpacker", packed, false}, {"CorvidPixelOffsetFix", {8}, true},
      {"TiberonDecompress", all, false},  {"frameunpacker", all, false},         {"FrameUnpacker2", all, false},
      {"MirelFrameUnpacker", all, false}, {"CorvidPixelOffset", all, false},
  };
  for (const auto& rule : rules) {
    build(rule.filter);
    EXPECT_EQ(updateConfig(processor_, {"1", "0"}), kNoError);
    for (const int format : all) {
      for (const int pixelType : {0, 1, 2, 3}) {
        stampers_[0].runs = 0;
        EXPECT_EQ(stampOf(process(processor_, makeInput(format, pixelType)).frame), 3);
        const bool admitted = std::count(rule.formats.begin(), rule.formats.end(), format) != 0 &&
                              (!rule.disparityOnly || pixelType == 0);
        EXPECT_EQ(stampers_[0].runs, admitted ? 1 : 0)
            << rule.filter << ", format " << format << ", pixel type " << pixelType;
      }
    }
  }
}

TEST_F(FrameLoopTest, TheRulesLookAtTheFrameThatWentIn) {
  build(nullptr, "FrameUnpacker");
  process(processor_, makeInput(VY_FORMAT_Y12));  // the first filter makes it Y16
  EXPECT_EQ(stampers_[1].runs, 1);
  stampers_[0].format = VY_FORMAT_Y12;
  process(processor_, makeInput(VY_FORMAT_Y16));
  EXPECT_EQ(stampers_[1].runs, 1);
}

// ---- Failures -----------------------------------------------------------------------------------

struct FailureCase {
  std::vector<Fault> faults;
  int stamp;              ///< of the result: 1 to 3 by filter, kInputStamp for a copy of the input, 0 for null
  const char* errorFrom;  ///< the function whose error the caller gets; null for none
  int runs;
};

constexpr Fault kOff1 = {"vy_filter_is_enabled", 1, kNull};
constexpr Fault kOff2 = {"vy_filter_is_enabled", 2, kNull};
constexpr Fault kOff3 = {"vy_filter_is_enabled", 3, kNull};

// Single failures are in FaultSweepTest.cpp.
const FailureCase kFailures[] = {
    // A filter gives neither frame nor error, and the input cannot be copied.
    {{{"vy_filter_process", 2, kNull}, {"vy_create_frame_from_other_frame", 1}}, 0, nullptr, 1},
    // The last release fails: reported only if there is no frame to return.
    {{{"vy_filter_process", 3}, {"vy_delete_frame", 3, kWithResult}}, 0, "vy_delete_frame", 2},
    {{{"vy_filter_process", 3, kNull}, {"vy_delete_frame", 3, kWithResult}}, 0, "vy_delete_frame", 2},
    {{{"vy_filter_process", 3, kWithResult}, {"vy_delete_frame", 3, kWithResult}}, 3, "vy_filter_process", 3},
    // The error of a query shows at the next test of the slot: behind the next filter's work, or behind the next
    // release.
    {{{"vy_frame_get_format", 4}, {"vy_filter_process", 2, kNull}}, 0, "vy_frame_get_format", 1},
    {{{"vy_filter_is_enabled", 2}, {"vy_delete_frame", 1}},
     1,
     "vy_delete_frame",
     1},  // the caller gets the later error
    // No filter runs.
    {{kOff1, kOff2, {"vy_filter_is_enabled", 3}}, 0, "vy_filter_is_enabled", 0},
    {{kOff1, kOff2, kOff3, {"vy_delete_frame", 1, kWithResult}}, 0, "vy_delete_frame", 0},
    {{kOff1, kOff2, kOff3, {"vy_create_frame_from_other_frame"}}, 0, nullptr, 0},
};

TEST_F(FrameLoopTest, FailuresEndTheChainWithTheFrameAtHand) {
  build();
  for (const FailureCase& each : kFailures) {
    std::string trace;
    for (const Fault& fault : each.faults) trace += std::string(fault.function) + ' ' + std::to_string(fault.nth) + ' ';
    SCOPED_TRACE(trace);

    const Frame input = makeInput();
    for (Stamper& stamper : stampers_) stamper.runs = 0;
    failCalls(each.faults);
    const Outcome outcome = process(processor_, input);

    EXPECT_EQ(outcome.error, each.errorFrom != nullptr ? injectedError(each.errorFrom) : kNoError);
    EXPECT_EQ(stampOf(outcome.frame), each.stamp);
    EXPECT_NE(outcome.frame, input);
    EXPECT_EQ(runs(), each.runs);
    EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 1);
  }
}

TEST_F(FrameLoopTest, AFilterWithoutFrameOrErrorSetsTheSlotToNull) {
  build();
  vy_error* const stale = vy_create_error(1, "stale", "nobody", "", 1);
  vy_error* slot = stale;
  failCall("vy_filter_process", 1, kNull);
  const Frame input = makeInput();
  const Frame output(vy_frame_processor_process_frame(processor_.get(), input.get(), &slot));
  EXPECT_EQ(slot, nullptr);
  EXPECT_EQ(stampOf(output), kInputStamp);
  vy_delete_error(stale);
}

TEST_F(FrameLoopTest, AChainOfWhichNoFilterCouldBeMadeCopiesTheInput) {
  for (const unsigned nth : {1U, 2U, 3U}) failCall("vy_create_filter", nth);
  processor_ = makeProcessor(halden_.context, kColor);
  const Frame input = makeInput();
  const Outcome outcome = process(processor_, input);
  EXPECT_EQ(stampOf(outcome.frame), kInputStamp);
  EXPECT_NE(outcome.frame, input);
  EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 1);
}

}  // namespace
