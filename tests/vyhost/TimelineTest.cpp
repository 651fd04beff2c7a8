#include <map>

#include "vyhost/VyhostTest.h"

namespace {

using nlohmann::json;

class TimelineTest : public VyhostTest {
 protected:
  /// The events of calls, by number of the call.
  std::map<unsigned, json> timeline(const std::string& arguments) const {
    const Outcome outcome = vyhost("timeline --out t.json " + arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    std::map<unsigned, json> calls;
    const json all = json::parse(contentsOf(folder_ / "t.json"));
    for (const json& event : all["traceEvents"]) {
      if (event["ph"] != "M") calls[event["args"]["call"]] = event;
    }
    return calls;
  }
};

TEST_F(TimelineTest, NestsCallsAndNamesFilters) {
  const vyhost::Recording recording = read(makeRecording("a.mcap"));
  const auto events = timeline("a.mcap");
  ASSERT_EQ(events.size(), recording.calls.size());
  bool isNamed = false;
  for (const vyhost::Call& call : recording.calls) {
    SCOPED_TRACE(call.number);
    const json& event = events.at(static_cast<unsigned>(call.number));
    EXPECT_EQ(event["ph"], "X");
    EXPECT_EQ(event["tid"], call.thread);
    EXPECT_EQ(event["name"].get<std::string>().rfind(call.function->name, 0), 0U);
    isNamed = isNamed || event["name"] == "priv_delete_filter DisparityTransform";
    if (!call.parent) continue;
    const json& outer = events.at(static_cast<unsigned>(recording.calls[*call.parent].number));
    constexpr double kNanosecond = 0.001;
    EXPECT_GE(event["ts"], outer["ts"]);
    EXPECT_LE(event["ts"].get<double>() + event["dur"].get<double>(),
              outer["ts"].get<double>() + outer["dur"].get<double>() + kNanosecond);
  }
  EXPECT_TRUE(isNamed);
}

TEST_F(TimelineTest, LeavesCallsOpenThatNeverReturned) {
  const std::string file = makeRecording("a.mcap");
  // The records of vy_delete_filter are the last but two: it returns, then priv_delete_filter.
  write("cut.mcap", file.substr(0, file.rfind("\"crc\"")));
  auto events = timeline("cut.mcap");
  EXPECT_EQ(events.rbegin()->second["ph"], "X") << "vy_delete_filter has returned";
  EXPECT_EQ(std::next(events.rbegin())->second["ph"], "B") << "priv_delete_filter has not";
  EXPECT_EQ(std::next(events.rbegin())->second["args"]["returned"], false);

  // A return that is missing within a call that has returned.
  std::string damaged = file;
  const std::size_t last = damaged.rfind("\"crc\"");
  damaged[damaged.rfind("\"crc\"", last - 1) - 2] ^= 1;
  write("damaged.mcap", damaged);
  events = timeline("damaged.mcap");
  EXPECT_EQ(events.rbegin()->second["ph"], "X");
  EXPECT_EQ(events.rbegin()->second["args"]["returned"], false);
}

TEST_F(TimelineTest, ShowsTheCallsOfASpan) {
  const vyhost::Recording recording = read(makeRecording("a.mcap"));
  const auto seconds = [&](std::uint64_t time) {
    return std::to_string(static_cast<double>(time - recording.calls[0].beginTime) / 1e9);
  };
  const auto whole = timeline("a.mcap --from 0 --to 1000");
  EXPECT_EQ(whole.size(), recording.calls.size());
  EXPECT_EQ(timeline("a.mcap --to 0").size(), 1U);
  const auto later = timeline("a.mcap --from " + seconds(recording.calls.back().beginTime));
  EXPECT_LT(later.size(), whole.size());
  EXPECT_EQ(later.count(static_cast<unsigned>(recording.calls.back().number)), 1U);
}

}  // namespace
