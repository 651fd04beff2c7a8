// Recordings of sessions, replayed against the library and against copies of it with a fault.
#include <vector>

#include "support/CommandTest.h"

namespace {

namespace fs = std::filesystem;

class ReplayTest : public CommandTest {
 protected:
  /// Both streams of the command together.
  Outcome run(const std::string& line) const { return shell(line + " 2>&1"); }

  /// The recording of a session of Sessions.cpp, made when first wanted.
  fs::path record(const std::string& session) const {
    fs::path file = folder_ / (session + ".mcap");
    if (!fs::exists(file)) {
      const Outcome outcome = run("VY_RECORDING='" + file.string() + "' '" SESSIONS "' " + session);
      EXPECT_EQ(outcome.exitCode, 0) << session << ": " << outcome.out;
    }
    return file;
  }

  Outcome replay(const fs::path& file, const std::string& arguments = "") const {
    return run("'" VYHOST "' replay '" + file.string() + "' " + arguments);
  }
  Outcome replayFaulty(const fs::path& file, const std::string& fault, const std::string& arguments = "") const {
    return replay(file, "--library '" FAULTY_DIR "/libfaulty_" + fault + ".so' " + arguments);
  }
};

/// The pieces in their order, each behind the one before; empty if all are there.
std::string missingPiece(const std::string& text, const std::vector<std::string>& pieces) {
  std::size_t place = 0;
  for (const std::string& piece : pieces) {
    place = text.find(piece, place);
    if (place == std::string::npos) return piece;
    place += piece.size();
  }
  return {};
}

TEST_F(ReplayTest, EverySessionIsTheSameWithTheLibraryThatWasRecorded) {
  for (const char* const session : {"sensors", "faults", "private", "exceptions", "reentry", "values", "threads"}) {
    const Outcome outcome = replay(record(session));
    EXPECT_EQ(outcome.exitCode, 0) << session << ": " << outcome.out;
    EXPECT_EQ(outcome.out.rfind("the same: ", 0), 0U) << session << ": " << outcome.out;
  }
  EXPECT_EQ(missingPiece(replay(record("threads")).out, {"on 9 threads"}), "");
}

TEST_F(ReplayTest, KeptRecordingsAreTheSame) {
  int count = 0;
  for (const auto& entry : fs::directory_iterator(RECORDINGS)) {
    if (entry.path().extension() != ".zst") continue;
    ++count;
    const fs::path file = folder_ / entry.path().stem();
    const Outcome unpacked = run("zstd -dq '" + entry.path().string() + "' -o '" + file.string() + "'");
    ASSERT_EQ(unpacked.exitCode, 0) << unpacked.out;
    const Outcome outcome = replay(file);
    EXPECT_EQ(outcome.exitCode, 0) << file.filename() << ": " << outcome.out
                                   << "If the library is meant to make other host calls: scripts/record-sessions";
  }
  EXPECT_EQ(count, 10) << "one a family";
}

TEST_F(ReplayTest, TheFirstDifferingCallIsTold) {
  const struct {
    const char *fault, *session;
    /// What is told, in this order.
    const char *first, *second = "", *third = "", *fourth = "", *fifth = "", *sixth = "";
  } cases[] = {
      {"SwappedIds", "depth", "another call", "vy_device_get_device_info(device 1) = device info 1",
       "expected:  vy_device_info_get_pid(", "got:       vy_device_info_get_vid("},
      {"KeptDeviceInfo", "depth", "another call", "vy_destroy_frame_processor_context(context 1)",
       "expected:  vy_delete_device_info("},
      {"SwappedPair", "depth", "another call", "before it:", "vy_filter_is_enabled(", " = true",
       "expected:  vy_frame_get_format(", "got:       vy_video_frame_get_pixel_type("},
      {"KeptFrame", "depth", "recording has one call more", "vy_frame_processor_process_frame(",
       "expected:  vy_delete_frame(frame ", "got:       the return"},
      {"FirstFrameAgain", "depth", "an argument differs", "expected:  vy_filter_process(", "frame: expected frame ",
       ", got frame "},
      {"SwallowedError", "faults", "the library made another call", "expected:  vy_delete_frame(",
       "got:       vy_delete_error(error "},
      {"SwitchedOff", "depth", "an argument differs", "got:       vy_filter_enable(filter ",
       "enable: expected true, got false"},
      {"NoSlot", "depth", "content of its error slot", "vy_filter_config_schema_list_get_item(",
       "expected:  no error\n", "got:       no error slot", "in vy_filter_set_config_value("},
      {"SecondLookup", "depth", "another call", "vy_frame_processor_update_config(", "got:       vy_filter_get_name("},
      {"OtherException", "exceptions", "another way", "expected:  an exception of type St16invalid_argument",
       "got:       an exception of type St12out_of_range"},
      {"OtherTypeName", "depth", "the result differs", "the texts part after ", "integer", "whole"},
      {"OtherStream", "depth", "an argument differs", "vy_stream_profile_set_extrinsic_to_type(",
       "type: expected 2, got 1"},
      {"OtherErrorText", "private", "an argument differs", "expected:  vy_create_error(",
       "message: expected \"filter is nullptr\", got \"filter is null\""},
      {"Crash", "depth", "the library crashed (", "vy_frame_processor_get_config_schema, on thread 1"},
      {"Hang", "depth", "neither made the next call nor returned", "expected:  the return of ",
       "vy_frame_processor_get_config_schema(processor 1)", "got:       nothing"},
  };
  for (const auto& c : cases) {
    const std::string session = c.session == std::string("depth") ? "depth Corvid" : c.session;
    const Outcome outcome = replayFaulty(record(session), c.fault);
    EXPECT_EQ(outcome.exitCode, 1) << c.fault;
    EXPECT_EQ(missingPiece(outcome.out, {c.first, c.second, c.third, c.fourth, c.fifth, c.sixth}), "")
        << c.fault << ": " << outcome.out;
  }
}

TEST_F(ReplayTest, AllDifferencesAreCounted) {
  // The ids in another order, and one of them twice: a call that comes early, one that comes late, one too many.
  const Outcome ids = replayFaulty(record("depth Corvid"), "SwappedIds", "--all");
  EXPECT_EQ(ids.exitCode, 1);
  EXPECT_EQ(missingPiece(ids.out, {"difference 1: ", "difference 3: ", "\n3 differences\n"}), "") << ids.out;
}

TEST_F(ReplayTest, CallsOfOtherThreadsThatOverlapAreTold) {
  // The second thread makes its context alone, and never leaves the library again; then the first one makes its own.
  const Outcome outcome = replayFaulty(record("death"), "SwappedIds", "--all");
  const std::string overlap = "  calls of thread 2 overlapped with this one, and the order of what they share is not ";
  EXPECT_EQ(missingPiece(outcome.out, {"difference 3: ", "\ndifference 4: ", overlap, "difference 5: ", overlap}), "");
  EXPECT_LT(outcome.out.find("\ndifference 4: "), outcome.out.find("overlapped")) << outcome.out;
}

TEST_F(ReplayTest, CallsThatNeverReturnedAreToldAndNotWaitedFor) {
  const fs::path whole = record("death");
  const Outcome dead = replay(whole);
  EXPECT_EQ(dead.exitCode, 0) << dead.out;
  EXPECT_EQ(missingPiece(dead.out, {"never returned in the recording: call ", "vy_frame_processor_process_frame(",
                                    "vy_filter_process(", "the same: ", "on 2 threads"}),
            "")
      << dead.out;
  // Cut anywhere, also within a record.
  for (const unsigned part : {2U, 3U, 5U, 7U}) {
    const fs::path cut = folder_ / "cut.mcap";
    fs::copy_file(whole, cut, fs::copy_options::overwrite_existing);
    fs::resize_file(cut, fs::file_size(whole) / part);
    const Outcome outcome = replay(cut);
    EXPECT_EQ(outcome.exitCode, 0) << "1/" << part << ": " << outcome.out;
  }
}

TEST_F(ReplayTest, WhatCannotBeReplayedIsToldInOneLine) {
  const std::string file = record("private").string();
  write("text.mcap", "not a recording");
  const struct {
    std::string arguments;
    std::vector<std::string> told;
  } cases[] = {
      {"absent.mcap", {"absent.mcap", "No such file"}},
      {"'" + path("text.mcap") + "'", {"text.mcap"}},
      {"'" + file + "' --library absent.so", {"absent.so", "--library"}},
      {"'" + file + "' --library /dev/null", {"cannot load /dev/null: /dev/null: ", "; --library"}},
      {"", {"FILE", "required"}},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run("'" VYHOST "' replay " + c.arguments);
    EXPECT_EQ(outcome.exitCode, 2) << c.arguments;
    EXPECT_EQ(outcome.out.find('\n'), outcome.out.size() - 1) << outcome.out;
    EXPECT_EQ(missingPiece(outcome.out, c.told), "") << outcome.out;
  }
}

}  // namespace
