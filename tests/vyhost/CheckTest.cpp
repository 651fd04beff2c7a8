// What `vyhost check` says of hosts that deviate on purpose, and of recordings that show it.
#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "RecordingChecks.h"
#include "vyhost/VyhostTest.h"

namespace {

using nlohmann::json;

class CheckTest : public VyhostTest {
 protected:
  Outcome check(const std::string& library, const std::string& options = "") const {
    return vyhost("check '" + library + "' " + options);
  }
};

/// The lines of a report that begin with these two columns.
std::string linesOf(const std::string& report, const std::string& verdict, const std::string& checkName) {
  std::istringstream lines(report);
  std::string found;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind(fmt::format("{:<11}{} ", verdict, checkName), 0) == 0) found += line + "\n";
  }
  return found;
}

// To the letter.
TEST_F(CheckTest, TellsEveryDeviation) {
  const Outcome outcome = shell("'" VYHOST_STORIES "/deviations' '" VYHOST_HOST "' '" VYHOST_DEVIATING_HOST
                                "' " VYHOST_COMMAND " >now && diff '" VYHOST_STORIES "/deviations.txt' now");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err << outcome.out << "If that is meant: scripts/record-sessions";
}

TEST_F(CheckTest, SeesPaddedRecordsAndMissingFunctions) {
  if (sizeof(void*) == 8) {  // otherwise both layouts are the same
    EXPECT_NE(linesOf(check(VYHOST_PADDED_HOST, "--only settings").out, "FAIL", "settings")
                  .find("a padded record of 56 bytes: the library reads one packed to 52"),
              std::string::npos);
  }
  const Outcome outcome = check(VYHOST_INCOMPLETE_HOST);
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_NE(linesOf(outcome.out, "FAIL", "functions").find("vy_frame_add_ref is missing"), std::string::npos)
      << outcome.out;
  EXPECT_NE(linesOf(outcome.out, "warning", "error functions").find("vy_error_get_args is missing"), std::string::npos)
      << outcome.out;
  // What lacks a function is not tried, and the rest is.
  EXPECT_NE(linesOf(outcome.out, "not tried", "error fields"), "") << outcome.out;
  EXPECT_NE(linesOf(outcome.out, "not tried", "bad arguments"), "") << outcome.out;
  EXPECT_NE(linesOf(outcome.out, "ok", "creation"), "") << outcome.out;
}

TEST_F(CheckTest, RefusesWhatCannotBeChecked) {
  write("text", "not a library");
  write("broken.so",
        "\x7F"
        "ELF and no more");
  const struct {
    std::string arguments, said;
  } rows[] = {
      {"nothere", "cannot open nothere: No such file or directory; give a host's"},
      {"text", "text is neither a library nor a recording; give a host's"},
      {"broken.so", "file too short; give the libTavrixSDK.so of a host"},
      {"'" VYHOST_LIBRARY "'", "it is the frame processing library, not its host; give"},
      {"'" VYHOST_HOST "' --only nothing", "there is no check \"nothing\"; "},
      {"'" VYHOST_HOST "' --timeout 0", "--timeout"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const Outcome outcome = vyhost("check " + row.arguments);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find(row.said), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
}

// ---- Recordings -----------------------------------------------------------------------------------------------------

/// A recorded call in few words. It fails if it has an error text.
struct Row {
  const char* function;
  const char* arguments;
  const char* result = "null";
  const char* error = nullptr;
  bool returns = true;
  std::uint64_t milliseconds = 1;
};

vyhost::Recording recordingOf(const std::vector<Row>& rows) {
  constexpr std::uint64_t kMillisecond = 1000000;
  vyhost::Recording recording;
  for (const Row& row : rows) {
    vyhost::Call call;
    const std::size_t position = recording.calls.size();
    call.number = position + 1;
    call.function = vyhost::findFunction(row.function);
    call.beginTime = (position + 1) * 1000 * kMillisecond;
    call.arguments = json::parse(row.arguments);
    call.errorBefore = 0;
    recording.events.push_back({position, false});
    if (row.returns) {
      call.endTime = call.beginTime + row.milliseconds * kMillisecond;
      call.result = json::parse(row.result);
      call.errorAfter = row.error != nullptr ? call.number : 0;
      if (row.error != nullptr) call.newError = vyhost::ErrorText{1, row.error, "", "", 0};
      recording.events.push_back({position, true});
    }
    recording.calls.push_back(call);
  }
  return recording;
}

TEST(RecordingCheckTest, SaysWhatTheHostDoes) {
  constexpr auto kOk = vyhost::Verdict::ok, kWarning = vyhost::Verdict::warning, kFail = vyhost::Verdict::fail,
                 kNotTried = vyhost::Verdict::notTried;
  const char* const kGetIntrinsic = "vy_video_stream_profile_get_intrinsic";
  const char* const kGetItem = "vy_filter_config_schema_list_get_item";
  const char* const kCreateFilter = "vy_create_filter";
  const char* const kProcess = "vy_filter_process";
  const char* const kAddRef = "vy_frame_add_ref";
  const char* const kDeleteFrame = "vy_delete_frame";
  const char* const good = "[500,500,320,240,640,480]";
  const struct {
    const char* checkName;
    vyhost::Verdict verdict;
    const char* said;
    std::vector<Row> rows;
  } cases[] = {
      {"records", kOk, "", {{kGetIntrinsic, "[1]", good}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", R"(["f32:7fc00000",500,320,240,640,480])"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,320,240,-31072,17395]"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"(["A",0,5,1,1,1,"a"])"}}},
      {"records", kOk, "", {{kGetItem, "[1,0]", R"(["A",2,0.5,0.5,0,0.5,"a"])"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"(["A",3,0,9,1,1,"a"])"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"(["A",-1,0,9,1,1,"a"])"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"(["A",0,2,9,1,1,"a"])"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"(["A",0,0,5,9,6,"a"])"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"(["A",0,0,5,-1,1,"a"])"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"([null,0,0,5,1,1,"a"])"}}},
      {"records", kFail, "cannot be right", {{kGetItem, "[1,0]", R"(["A",0,0,5,1,1,null])"}}},
      {"records", kOk, "", {{kGetIntrinsic, "[1]", "[0.001,999999,-32768,32768,16384,16384]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[0,500,320,240,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,0,320,240,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[1000000,500,320,240,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,1000000,320,240,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,1281,240,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,320,961,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,1e-310,240,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,320,1e-310,640,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,0,240,0,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,320,0,640,0]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,320,240,16385,480]"}}},
      {"records", kFail, "cannot be right", {{kGetIntrinsic, "[1]", "[500,500,320,240,640,16385]"}}},
      {"records",
       kFail,
       "is called with an intrinsic",
       {{"vy_frame_processor_set_hardware_d2c_params", "[1,[0,500,320,240,640,480],0,1,0,0,0,0,true,false]"}}},
      {"records", kOk, "", {{kGetItem, "[1,9]", "[null,0,0,0,0,0,null]", "past the end"}}},
      {"sizes", kFail, "gives 16385 pixels", {{"vy_video_frame_get_width", "[1]", "16385"}}},
      {"sizes", kFail, "gives 0 pixels", {{"vy_video_frame_get_height", "[1]", "0"}}},
      {"sizes", kOk, "", {{"vy_video_frame_get_height", "[1]", "16384"}}},
      {"ids", kOk, "", {{"vy_device_info_get_pid", "[1]", "65535"}}},
      {"ids", kFail, "gives 65536", {{"vy_device_info_get_pid", "[1]", "65536"}}},
      {"ids", kFail, "gives -1", {{"vy_device_info_get_vid", "[1]", "-1"}}},
      {"names",
       kFail,
       "reports the name \"Mirror\" after \"FrameMirror\"",
       {{kCreateFilter, R"(["FrameMirror"])", "1"}, {"vy_filter_get_name", "[1]", R"("Mirror")"}}},
      {"names",
       kOk,
       "",
       {{kCreateFilter, R"(["FrameMirror"])", "1"}, {"vy_filter_get_name", "[1]", R"("FrameMirror")"}}},
      {"references",
       kOk,
       "",
       {{kAddRef, "[1]"}, {kProcess, "[1,1]", "2"}, {kDeleteFrame, "[1]"}, {kDeleteFrame, "[2]"}}},
      {"references", kFail, "1 not given back", {{kProcess, "[1,1]", "2"}}},
      {"references", kFail, "1 not given back", {{kAddRef, "[1]"}, {kDeleteFrame, "[1]", "null", "refused"}}},
      {"references",
       kFail,
       "gives a frame back more often",
       {{kAddRef, "[1]"}, {kDeleteFrame, "[1]"}, {kDeleteFrame, "[1]"}}},
      {"references", kFail, "1 not given back", {{"vy_frame_get_stream_profile", "[1]", "1"}}},
      {"references", kFail, "1 not given back", {{kCreateFilter, R"(["A"])", "1"}}},
      {"references",
       kNotTried,
       "live when the recording ends",
       {{"vy_create_frame_processor", "[1,3]", "1"}, {kCreateFilter, R"(["A"])", "1"}}},
      {"references",
       kNotTried,
       "ends within a call",
       {{kProcess, "[1,1]", "2"}, {kDeleteFrame, "[2]", "null", nullptr, false}}},
      {"failures", kFail, "failed: unknown; the filter is left out", {{kCreateFilter, R"(["A"])", "0", "unknown"}}},
      {"failures", kWarning, "failed: no memory", {{kProcess, "[1,1]", "0", "no memory"}}},
      {"error texts", kWarning, "without a message", {{kProcess, "[1,1]", "0", ""}}},
      {"nulls", kFail, "null without an error", {{kProcess, "[1,1]", "0"}}},
      {"returns", kFail, "call 1 on thread 0 never returned", {{kProcess, "[1,1]", "0", nullptr, false}}},
      {"times", kWarning, "in 1 call, 40.0 ms", {{kProcess, "[1,1]", "1", nullptr, true, 40}}},
      {"times", kOk, "", {{kProcess, "[1,1]", "1", nullptr, true, 30}}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(fmt::format("{}: {}", each.checkName, each.said));
    const vyhost::CheckReport report = vyhost::checkRecording(recordingOf(each.rows), each.checkName);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings[0].verdict, each.verdict);
    EXPECT_NE(report.findings[0].text.find(each.said), std::string::npos) << report.findings[0].text;
  }
}

}  // namespace
