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

// To the letter.
TEST_F(ReplayTest, DifferencesAreTold) {
  const Outcome outcome =
      shell("'" STORIES "/differences' '" FAULTY_DIR "' '" VYHOST "' >now && diff '" STORIES "/differences.txt' now");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err << outcome.out << "If that is meant: scripts/record-sessions";
}

TEST_F(ReplayTest, TheFirstDifferenceEndsAReplay) {
  const struct {
    const char *fault, *session;
    std::vector<std::string> told;  // in this order
  } cases[] = {
      {"KeptDeviceInfo",
       "depth Corvid",
       {"difference 1: ", "another call", "vy_destroy_frame_processor_context(context 1)", "vy_delete_device_info("}},
      {"SwallowedError",
       "faults",
       {"the library made another call", "expected:  vy_delete_frame(", "got:       vy_delete_error(error "}},
      {"Crash", "depth Corvid", {"the library crashed (", "vy_frame_processor_get_config_schema, on thread 1"}},
      {"Hang",
       "depth Corvid",
       {"neither made the next call nor returned", "expected:  the return of ",
        "vy_frame_processor_get_config_schema(processor 1)", "got:       nothing"}},
  };
  for (const auto& c : cases) {
    const std::string library = "'" FAULTY_DIR "/libfaulty_" + std::string(c.fault) + ".so'";
    const Outcome outcome = replay(record(c.session), "--library " + library);
    EXPECT_EQ(outcome.exitCode, 1) << c.fault;
    EXPECT_EQ(missingPiece(outcome.out, c.told), "") << c.fault << ": " << outcome.out;
    EXPECT_EQ(outcome.out.find("difference 2: "), std::string::npos) << outcome.out;
  }
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

}  // namespace
