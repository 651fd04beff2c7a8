// What the command tells, to the letter.
#include "vyhost/VyhostTest.h"

namespace {

class StoriesTest : public VyhostTest {
 protected:
  /// Holds what a line of the shell prints against what is kept; `before` prints that.
  void expectTheSame(const std::string& line, const std::string& before) const {
    const Outcome outcome = shell(before + " >before && " + line + " " VYHOST_COMMAND " >now && diff before now");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err << outcome.out << "If that is meant: scripts/record-sessions";
  }
  /// What a script of stories/ prints.
  void expectAsKept(const std::string& script, const std::string& arguments) const {
    const std::string kept = VYHOST_STORIES "/" + script;
    expectTheSame("'" + kept + "' " + arguments, "cat '" + kept + ".txt'");
  }
};

TEST_F(StoriesTest, EveryDeviationOfAHost) {
  expectAsKept("deviations",
               "'" VYHOST_HOST "' '" VYHOST_DEVIATING_HOST "' '" VYHOST_INCOMPLETE_HOST "' '" VYHOST_PADDED_HOST "'");
}

TEST_F(StoriesTest, WhatCannotBe) {
  expectAsKept("refusals", "'" VYHOST_HOST "' '" VYHOST_LIBRARY "' '" VYHOST_LIBDIR "'");
}

// Recordings of sessions:
//   private     filters in the host's own hands         exceptions  errors of all kinds
//   death       a process that ends within calls        damaged     a file that is cut, with damaged records
//   reentry     calls within calls                      sensors     all sensors of a family
// Recordings that nobody can make, composed by hand:
//   families    the depth chain of each family          once        each thing that can be told, one time
//   many        the same many times, and values beside  living      a context that lives at the end
//               the right ones                          left        a processor that cannot be destroyed
//   malformed   records that are whole and wrong
class KeptStoriesTest : public StoriesTest, public testing::WithParamInterface<const char*> {};

TEST_P(KeptStoriesTest, AreToldAsBefore) {
  const std::string name = GetParam();
  const std::string kept = VYHOST_STORIES "/" + name;
  shell("zstd -dq '" + kept + ".mcap.zst' -o " + name + ".mcap");
  expectTheSame("'" VYHOST_STORIES "/tell' \"$PWD/" + name + ".mcap\"", "zstd -dqc '" + kept + ".told.zst'");
}

INSTANTIATE_TEST_SUITE_P(Of, KeptStoriesTest,
                         testing::Values("private", "exceptions", "death", "damaged", "reentry", "sensors", "families",
                                         "once", "many", "living", "left", "malformed"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
