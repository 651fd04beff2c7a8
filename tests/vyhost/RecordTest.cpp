#include <signal.h>

#include <regex>

#include "vyhost/VyhostTest.h"

namespace {

namespace fs = std::filesystem;

using RecordTest = VyhostTest;

const std::string kProgram = " -- '" VYHOST_SMALL_PROGRAM "' ";

TEST_F(RecordTest, EndsAsTheProgramEnds) {
  const struct {
    std::string command;
    int exitCode;
  } rows[] = {
      {kProgram, 0},
      {kProgram + "7", 7},
      {kProgram + "-9", 128 + SIGKILL},
      {kProgram + "-15", 128 + SIGTERM},
      {" -- sh -c 'exit 42'", 42},
      {" -- sh -c 'kill -TERM $PPID; exec sleep 20'", 128 + SIGTERM},  // passed on by the command
  };
  for (const auto& row : rows) EXPECT_EQ(vyhost("record" + row.command).exitCode, row.exitCode) << row.command;
}

TEST_F(RecordTest, SaysWhereTheRecordingIs) {
  fs::create_directory(folder_ / "folder");
  write("busy.mcap", "");
  write("busy-2.mcap", "");
  const struct {
    const char* out;
    const char* file;
  } rows[] = {
      {"", "vy-recording-[0-9]+\\.mcap"},
      {"--out new.mcap", "new\\.mcap"},
      {"--out busy.mcap", "busy-3\\.mcap"},
      {"--out folder", "folder/vy-recording-[0-9]+\\.mcap"},
      {"--out plain", "plain"},
      {"--out plain", "plain-2"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.out);
    const Outcome outcome = vyhost(std::string("record ") + row.out + kProgram);
    std::smatch match;
    const std::regex says("vyhost: the recording is " + folder_.string() + "/(" + row.file + ")\n");
    ASSERT_TRUE(std::regex_match(outcome.err, match, says)) << outcome.err;
    EXPECT_GT(vyhost::Recording::read(path(match[1])).calls.size(), 5U);
  }
  EXPECT_EQ(contentsOf(folder_ / "busy.mcap") + contentsOf(folder_ / "busy-2.mcap"), "");
}

TEST_F(RecordTest, SaysSoWhereTheStandardOutputTakesNothing) {
  makeRecording("a.mcap");
  for (const char* arguments : {"--help", "--version", "show a.mcap", "show --calls a.mcap", "show --json a.mcap",
                                "check a.mcap", "check --json a.mcap", "replay a.mcap"}) {
    for (const char* output : {" >/dev/full", " >&-"}) {
      const Outcome outcome = vyhost(std::string(arguments) + output);
      EXPECT_EQ(outcome.exitCode, 2) << arguments << output;
      EXPECT_EQ(outcome.err, "vyhost: cannot write to the standard output\n") << arguments << output;
    }
  }
}

TEST_F(RecordTest, LeavesTheRestOfTheEnvironmentAsItIs) {
  setenv("LD_LIBRARY_PATH", "/nowhere", 1);
  setenv("VYHOST_TEST", "a=b", 1);
  const Outcome outcome = vyhost("record -- sh -c 'echo $LD_LIBRARY_PATH $VYHOST_TEST' -- --out x");
  unsetenv("LD_LIBRARY_PATH");
  unsetenv("VYHOST_TEST");
  EXPECT_TRUE(std::regex_match(outcome.out, std::regex("/[^:]*:/nowhere a=b\n"))) << outcome.out;
}

}  // namespace
