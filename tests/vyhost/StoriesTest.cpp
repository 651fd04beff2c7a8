// What the command tells of kept recordings, to the letter: of filters in the host's own hands (private), exceptions,
// ends within calls (death), records damaged in a cut file, calls within calls (reentry), all sensors of a family.
#include "vyhost/VyhostTest.h"

namespace {

class StoriesTest : public VyhostTest, public testing::WithParamInterface<const char*> {};

TEST_P(StoriesTest, AreToldAsBefore) {
  const std::string name = GetParam();
  const Outcome outcome = shell("zstd -dq '" VYHOST_STORIES "/" + name + ".mcap.zst' -o " + name +
                                ".mcap && zstd -dq '" VYHOST_STORIES "/" + name +
                                ".told.zst' -o before && '" VYHOST_STORIES "/tell' \"$PWD/" + name +
                                ".mcap\" " VYHOST_COMMAND " >now && diff before now");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err << outcome.out << "If that is meant: scripts/record-sessions";
}

INSTANTIATE_TEST_SUITE_P(Kept, StoriesTest,
                         testing::Values("private", "exceptions", "death", "damaged", "reentry", "sensors"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
