// Recordings of sessions, replayed against the library and against copies of it with a fault.
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

TEST_F(ReplayTest, EverySessionIsTheSameWithTheLibraryThatWasRecorded) {
  for (const char* const session : {"sensors", "faults", "private", "exceptions", "reentry", "values", "threads"}) {
    const Outcome outcome = replay(record(session));
    EXPECT_EQ(outcome.exitCode, 0) << session << ": " << outcome.out;
    EXPECT_EQ(outcome.out.rfind("the same: ", 0), 0U) << session << ": " << outcome.out;
  }
  EXPECT_NE(replay(record("threads")).out.find(" on 9 threads\n"), std::string::npos);
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

TEST_F(ReplayTest, CallsThatNeverReturnedAreNotWaitedFor) {
  const fs::path whole = record("death");
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
