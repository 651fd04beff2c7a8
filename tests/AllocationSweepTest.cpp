// Every allocation of the library fails once, in a whole scenario for every sensor of every family. Allocations of the
// host are not touched: the program has a C++ runtime of its own (see CMakeLists.txt).
#include <new>

#include "support/FailingNew.h"
#include "support/Scenario.h"

namespace {

class AllocationRun : public Scenario {
 public:
  /// The nth allocation fails; 0: none does.
  AllocationRun(const SensorCase& sensor, std::uint64_t failing) : Scenario(sensor), failing_(failing) {}

  std::uint64_t count() const { return count_; }
  int thrown() const { return thrown_; }
  /// The call in which the allocation failed: its kind, and its number from 1.
  Step failedIn() const { return failedIn_; }
  int failedInCall() const { return failedInCall_; }
  const std::string& text() const { return schema(); }

 private:
  void call(Step step, const Work& work) override {
    ErrorSlot error;
    const std::size_t errorsBefore = vysim_live_count(VYSIM_ERROR);
    const std::uint64_t countBefore = count_;
    allocations = {true, count_, failing_};
    try {
      work(error);
      allocations.watched = false;
    } catch (const std::bad_alloc&) {
      allocations.watched = false;
      ++thrown_;
      EXPECT_FALSE(error.isSet()) << "an exception and an error for one failure";
    }
    count_ = allocations.count;
    ++calls_;
    if (failing_ > countBefore && failing_ <= count_) {
      failedIn_ = step;
      failedInCall_ = calls_;
    }
    EXPECT_EQ(vysim_live_count(VYSIM_ERROR) - errorsBefore, error.isSet() ? 1U : 0U);
    EXPECT_EQ(error.take(), kNoError);
    if (step == Step::kFrame || step == Step::kSchema || step == Step::kHardwareD2C || step == Step::kDestroy ||
        step == Step::kClose) {
      EXPECT_EQ(count_, countBefore) << "a call that is to do without memory asked for some";
    }
  }

  void receive(const Frame& input, Frame output) override {
    EXPECT_NE(output, nullptr);
    EXPECT_EQ(vysim_frame_get_ref_count(input.get()), output == input ? 2 : 1);
  }

  const std::uint64_t failing_;
  std::uint64_t count_ = 0;
  int thrown_ = 0;
  int calls_ = 0;
  Step failedIn_ = Step::kClose;
  int failedInCall_ = 0;
};

constexpr int kFirstProcessor = 2;  // the number of the call that makes it

/// A schema text without the lines of one filter.
std::string without(const std::string& schema, const std::string& filter) {
  std::string rest;
  for (const std::string& line : splitLines(schema)) {
    if (line.compare(0, filter.size() + 1, filter + "#") != 0) rest += line + "\n";
  }
  return rest;
}

class AllocationSweepTest : public HostTest {
 protected:
  void sweep(const SensorCase& sensor);
  /// One run in which an allocation fails, given the schema of one in which none does.
  void fail(const SensorCase& sensor, std::uint64_t failing, const std::string& wholeSchema);

  std::uint64_t allocations_ = 0;
};

void AllocationSweepTest::sweep(const SensorCase& sensor) {
  AllocationRun undisturbed(sensor, 0);
  undisturbed.run();
  ASSERT_GT(undisturbed.count(), 10U) << "allocations of the library are not seen";
  for (std::uint64_t failing = 1; failing <= undisturbed.count() && !HasFailure(); ++failing) {
    if (++allocations_ % sweepStep() != 0) continue;
    SCOPED_TRACE(sensor.family + " sensor " + std::to_string(sensor.sensor) + ", allocation " +
                 std::to_string(failing) + " of " + std::to_string(undisturbed.count()));
    const std::int64_t piecesBefore = piecesAlive;
    fail(sensor, failing, undisturbed.text());
    EXPECT_EQ(piecesAlive, piecesBefore) << "memory lost";
  }
}

void AllocationSweepTest::fail(const SensorCase& sensor, std::uint64_t failing, const std::string& wholeSchema) {
  AllocationRun run(sensor, failing);
  run.run();
  EXPECT_LE(run.thrown(), 1);
  if (run.thrown() != 0) return;
  // Only the making of a filter of the library's own catches the exception; the chain is then without that filter.
  EXPECT_EQ(run.failedIn(), Scenario::Step::kMake);
  if (run.failedInCall() != kFirstProcessor) return;  // the scenario reads the schema of the first only
  EXPECT_NE(run.text(), wholeSchema);
  EXPECT_TRUE(run.text() == without(wholeSchema, "HardwareD2CProcessor") ||
              run.text() == without(wholeSchema, "DisparityTransform"))
      << run.text();
}

TEST_F(AllocationSweepTest, EveryAllocationFailsOnce) {
  setAllDeviceLists();
  for (std::size_t i = 0; i < vysim_family_count(); ++i) {
    for (const SensorCase& sensor : openSensors(*vysim_family_at(i))) sweep(sensor);
  }
}

TEST_F(AllocationSweepTest, AListOfProductIdsStaysAsItWasWhenItCannotBeReplaced) {
  setDeviceList(0, deviceList({{kMaker, 1}}));
  const std::vector<std::uint8_t> others = deviceList({{kMaker, 2}});
  allocations = {true, 0, 1};
  EXPECT_THROW(setDeviceList(0, others), std::bad_alloc);
  allocations.watched = false;
  const OpenDevice camera = openDevice(1);
  EXPECT_NE(schemaOf(makeProcessor(camera.context, kDepth)), "");
}

// Looking for a filter takes memory only for names of more than 255 characters.
TEST_F(AllocationSweepTest, DestroyingWithoutMemoryLeavesAFilterToTheRegistry) {
  for (const std::size_t length : {255U, 256U}) {
    const std::string name(length, 'n');
    definePassing("OpenNIDisparityTransform", name.c_str(), true);
    const OpenDevice camera = openDevice(kSpecialOpenNI);
    expectRefused("vy_filter_config_schema_list_get_item", 8);  // published, but the stand-in has no items
    Processor processor = makeProcessor(camera.context, kDepth);
    allocations = {true, 0, 1};
    processor.reset();
    allocations.watched = false;
    EXPECT_EQ(allocations.count, length > 255 ? 1U : 0U);
  }
}

}  // namespace
