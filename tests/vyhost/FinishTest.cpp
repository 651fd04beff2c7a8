#include <regex>

#include "Failure.h"
#include "vyhost/VyhostTest.h"

namespace {

namespace fs = std::filesystem;

using FinishTest = VyhostTest;

TEST_F(FinishTest, KeepsEveryCall) {
  const std::string file = makeRecording("a.mcap");
  const Outcome outcome = vyhost("finish a.mcap --out b.mcap");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_TRUE(std::regex_match(outcome.out, std::regex("b\\.mcap: [0-9]+ calls\n"))) << outcome.out;
  EXPECT_EQ(contentsOf(folder_ / "a.mcap"), file);
  const vyhost::Recording finished = vyhost::Recording::read(path("b.mcap"));
  EXPECT_TRUE(finished.isFinished);
  EXPECT_EQ(textOf(finished), textOf(read(file)));

  // A finished file stays as it is.
  const std::string once = contentsOf(folder_ / "b.mcap");
  EXPECT_EQ(vyhost("finish b.mcap").exitCode, 0);
  EXPECT_EQ(contentsOf(folder_ / "b.mcap"), once);
}

TEST_F(FinishTest, ReplacesTheFileThroughALinkAndSaysWhatItLeavesOut) {
  std::string file = makeRecording("a.mcap");
  file.resize(file.size() - 5);
  file[file.find("DisparityTransform\"]")] = 'X';
  write("a.mcap", file);
  fs::permissions(folder_ / "a.mcap", fs::perms::owner_all);
  fs::create_symlink("a.mcap", folder_ / "link");
  const vyhost::Recording before = read(file);
  fs::remove(folder_ / "read.mcap");
  EXPECT_EQ(before.damagedRecords, 1U);

  const Outcome outcome = vyhost("finish link");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("; damaged records left out: 1; bytes of the record it broke off in left out: "),
            std::string::npos)
      << outcome.out;
  EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
  EXPECT_EQ(fs::status(folder_ / "a.mcap").permissions(), fs::perms::owner_all);
  const vyhost::Recording after = vyhost::Recording::read(path("a.mcap"));
  EXPECT_TRUE(after.isFinished);
  EXPECT_EQ(after.damagedRecords, 0U);
  EXPECT_EQ(textOf(after), textOf(before));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 2) << "something else was left behind";
}

TEST_F(FinishTest, LosesAChunkAtMostWhenAFinishedFileIsDamaged) {
  makeRecording("a.mcap");
  EXPECT_EQ(vyhost("finish a.mcap").exitCode, 0);
  const std::string file = contentsOf(folder_ / "a.mcap");
  for (std::size_t at = 0; at < file.size(); at += 3) {
    SCOPED_TRACE(at);
    std::string damaged = file;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 << at % 8));
    try {
      read(damaged);
    } catch (const vyhost::Failure&) {
    }
    if (at == 0) continue;
    try {
      EXPECT_FALSE(read(file.substr(0, at)).isFinished);
    } catch (const vyhost::Failure&) {
    }
  }
}

TEST_F(FinishTest, LeavesAFileAloneThatIsBeingWritten) {
  const std::string program = "record --out a.mcap -- '" VYHOST_SMALL_PROGRAM "' 0 ";
  const std::string finish = "\"" VYHOST_COMMAND " finish a.mcap";
  const Outcome refused = vyhost(program + finish + "\"");
  EXPECT_EQ(refused.exitCode, 101);
  EXPECT_NE(refused.err.find("vyhost: a.mcap is being written by process"), std::string::npos) << refused.err;
  EXPECT_GT(vyhost::Recording::read(path("a.mcap")).calls.size(), 5U);
  fs::remove(folder_ / "a.mcap");
  EXPECT_EQ(vyhost(program + finish + " --out b.mcap\"").exitCode, 0);
  EXPECT_TRUE(vyhost::Recording::read(path("b.mcap")).isFinished);
}

}  // namespace
