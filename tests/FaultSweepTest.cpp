// Every host call of the library fails once in each possible way, in a whole scenario for every sensor of every family.
// With stand-in filters, which take any frame, the outcome of a frame must be that of a model of the rules. With the
// host's own filters, what is true of every frame must hold. The host calls of all other steps must be those of a model
// with either.
#include <optional>

#include "support/ChainModel.h"
#include "support/FrameModel.h"
#include "support/HostFilters.h"
#include "support/Scenario.h"

namespace {

using Kinds = std::array<long, VYSIM_KIND_COUNT>;

// ---- Filters that take any frame ----------------------------------------------------------------

constexpr std::uint32_t kStandInWidth = 4;  // inputs are wider

/// The stamp on the frames of a stand-in, from 1; 0 if there is no stand-in of that name.
std::uint8_t stampFor(const std::string& name) {
  std::uint8_t stamp = 1;
  for (const HostFilter& each : kHostFilters) {
    if (name == each.name) return stamp;
    ++stamp;
  }
  return 0;
}

class StandIns {
 public:
  StandIns() {
    for (VYFilterConfigSchemaItem& item : items_)
      item = {"Value", VY_FILTER_CONFIG_VALUE_TYPE_INT, 0, 9, 1, 5, "a value"};
    for (std::size_t i = 0; i < std::size(kHostFilters); ++i) stampers_[i].stamp = stampFor(kHostFilters[i].name);
  }

  void define() {
    for (std::size_t i = 0; i < std::size(kHostFilters); ++i) {
      defineFilter({kHostFilters[i].name, nullptr, kHostFilters[i].isPrivate, items_.data(),
                    static_cast<std::uint32_t>(items_.size()), stamp, &stampers_[i]});
    }
  }

 private:
  static vy_frame_t* stamp(void* user, const vy_frame_t* /*input*/, vy_error** error) {
    vy_frame_t* const output = vysim_create_frame(kStandInWidth, 2, VY_FORMAT_Y16, VY_PIXEL_DISPARITY, error);
    vysim_frame_get_data(output, error)[0] = static_cast<Stamper*>(user)->stamp;
    return output;
  }

  std::array<VYFilterConfigSchemaItem, 10> items_;
  Stamper stampers_[std::size(kHostFilters)];
};

// ---- One way through a scenario -----------------------------------------------------------------

/// What a call of the library did.
struct StepLog {
  Scenario::Step step;
  ModelChain chain;                ///< as the call found it; its links are those that the call makes, if it makes them
  std::vector<std::string> calls;  ///< host calls, without those on error objects
  std::uint64_t errorsMade = 0;
  std::uint64_t errorsDeleted = 0;
};
using Log = std::vector<StepLog>;

/// What a step does, if it is none of a frame.
ChainModel modelOf(const StepLog& log, std::uint64_t failing, vysim_fault fault) {
  ChainModel model(log.chain, failing, fault);
  switch (log.step) {
    case Scenario::Step::kMake:
      model.build();
      break;
    case Scenario::Step::kSettings:
      model.command();
      break;
    case Scenario::Step::kHardwareD2C:
      model.setHardwareD2C();
      break;
    case Scenario::Step::kDestroy:
      model.destroy();
      break;
    case Scenario::Step::kClose:
      model.close();
      break;
    default:
      break;
  }
  return model;
}

/// A fault: the nth host call (of `function`, or of all that can fail) of one step.
struct Strike {
  const char* function = nullptr;
  std::size_t step = 0;
  std::uint64_t nth = 0;  ///< 0: nothing fails
  vysim_fault kind = VYSIM_FAULT_ERROR;
  std::string call;  ///< the record of the call
};

std::string functionOf(const std::string& record) {
  return record.substr(0, record.find('('));
}

bool isAboutErrors(const std::string& function) {
  return function == "vy_create_error" || function == "vy_delete_error";
}

/// No family's sensors give more frames.
constexpr int kInputsAtMost = 20;
/// The test holds these on every input, as a fault may cost one.
constexpr int kSpareReferences = 2;

class FaultRun : public Scenario {
 public:
  FaultRun(const SensorCase& sensor, const Strike& strike, const Log* faultless, bool modelled)
      : Scenario(sensor),
        strike_(strike),
        function_(functionOf(strike.call)),
        faultless_(faultless),
        modelled_(modelled) {}

  Log takeLog();
  /// Objects that the fault leaves behind: the host refused to take them back, or gave them out together with an error.
  const Kinds& left() const { return left_; }
  /// Calls that the fault makes the library hand null or a dead frame to.
  const Refusals& refused() const { return refused_; }

 private:
  void call(Step step, const Work& work) override;
  void receive(const Frame& input, Frame output) override;

  bool isFaultless() const { return strike_.nth == 0; }
  bool isStruckStep() const { return !isFaultless() && log_.size() == strike_.step + 1; }
  /// Whether the current or last step is the first of its kind.
  bool isFirstOf(Step step) const {
    return std::count_if(log_.begin(), log_.end(), [step](const StepLog& each) { return each.step == step; }) < 2;
  }
  bool isOnOwnFilter() const {
    return strike_.call.find(": DepthResize#") != std::string::npos ||
           strike_.call.find(": OpenNIDisparityTransform#") != std::string::npos;
  }
  void readRecords(StepLog& done) const;
  void noteChain(StepLog& done);
  void expectLeft();
  void expectCalls(const StepLog& done);
  void expectWhatWasMade(const StepLog& end);
  int expectFrame(const Frame& input, const Frame& output);
  /// As the last call found it.
  const ModelChain& chainOfStep() const {
    return isFaultless() ? log_.back().chain : (*faultless_)[strike_.step].chain;
  }
  FrameModel frameModelOf(const Frame& input) const { return {chainOfStep(), input, strike_.nth, strike_.kind}; }

  const Strike& strike_;
  const std::string function_;  ///< the one that fails
  const Log* const faultless_;
  const bool modelled_;
  Log log_;
  Kinds left_ = {};
  Refusals refused_;
  ModelChain chain_;  ///< of the first processor
  std::vector<ModelLink> secondLinks_;
  std::optional<ChainModel> madeByFault_;  ///< of the first processor
  Error error_;                            ///< of the last call
};

void FaultRun::call(Step step, const Work& work) {
  log_.push_back({step, chain_, {}});
  if (step == Step::kDestroy && !isFirstOf(step)) log_.back().chain.links = secondLinks_;
  StepLog& done = log_.back();
  const bool isEndOfStruck = step == Step::kDestroy && madeByFault_.has_value() && isFirstOf(step);
  const bool recording = isFaultless() || isStruckStep() || isEndOfStruck;
  const Balance objects;

  if (recording) vysim_record_start();
  if (isStruckStep()) vysim_fail_call(strike_.function, strike_.nth, strike_.kind);
  ErrorSlot error;
  work(error);
  if (recording) vysim_record_stop();

  if (isStruckStep() && function_ == "vy_delete_error") left_[VYSIM_ERROR] = 1;
  EXPECT_EQ(objects.grown(VYSIM_ERROR), (error.isSet() ? 1 : 0) + (isStruckStep() ? left_[VYSIM_ERROR] : 0))
      << "error objects alive must be those that the caller was given";
  error_ = error.take();
  if (recording) readRecords(done);
  if (isEndOfStruck) expectWhatWasMade(done);
  if (isFaultless()) {
    EXPECT_EQ(error_, kNoError);
    noteChain(done);
  }
  if (isStruckStep()) {
    EXPECT_EQ(vysim_fail_count(), 1U) << "the fault did not strike";
    if (step != Step::kFrame) {
      expectLeft();
      expectCalls(done);
    }
  }
}

void FaultRun::readRecords(StepLog& done) const {
  for (std::size_t i = 0; i < vysim_record_count(); ++i) {
    const std::string record = vysim_record_at(i);
    const std::string function = functionOf(record);
    if (function == "vy_create_error") ++done.errorsMade;
    if (function == "vy_delete_error") ++done.errorsDeleted;
    if (!isAboutErrors(function)) done.calls.push_back(record);
  }
}

/// Follows the chains and the registry by the calls of a step.
void FaultRun::noteChain(StepLog& done) {
  std::vector<ModelLink>& links = isFirstOf(Step::kMake) ? chain_.links : secondLinks_;
  for (const std::string& record : done.calls) {
    const std::string function = functionOf(record);
    if (function == "vy_create_filter" || function == "vy_create_private_filter") {
      const std::size_t begin = record.find('"') + 1;
      ModelLink link = {record.substr(begin, record.rfind('"') - begin) + "#" + std::to_string(++chain_.filtersMade),
                        false};
      if (link.isOwn()) chain_.registry.push_back(link.label);
      link.enabled = link.isOwn() && !link.isResize();  // the library keeps these switches to itself
      links.push_back(link);
    }
    if (done.step == Step::kMake && function == "vy_filter_update_config") links.back().isConfigured = true;
    for (ModelLink& link : chain_.links) {
      const std::string call = "vy_filter_enable(filter: " + link.label + ", enable: ";
      if (record.compare(0, call.size(), call) == 0) link.enabled = record.compare(call.size(), 4, "true") == 0;
    }
    if (done.step == Step::kFrame && function == "vy_filter_update_config") chain_.resizeIsConfigured = true;
  }
  if (done.step == Step::kMake) done.chain.links = links;
  if (done.step == Step::kHardwareD2C) chain_.resizeIsConfigured = false;
  if (done.step != Step::kSettings) return;
  for (ModelLink& link : chain_.links) link.enabled = link.enabled || link.isOwn();
}

/// The log of a faultless run, with the items that each filter publishes.
Log FaultRun::takeLog() {
  for (StepLog& each : log_) {
    for (ModelLink& link : each.chain.links) {
      for (const Setting& setting : settingsOf(schema())) {
        if (setting.filter() == link.name()) link.items.push_back(std::stoi(setting.item()));
      }
    }
  }
  return std::move(log_);
}

void FaultRun::expectCalls(const StepLog& done) {
  if (done.step == Step::kOpen) {
    // A device info that is null, and no error: the questions to it tell.
    if (strike_.kind == VYSIM_FAULT_NULL && function_ == "vy_device_get_device_info") {
      refused_ = {{"vy_device_info_get_pid", 1}, {"vy_device_info_get_vid", 1}};
    } else if (strike_.kind != VYSIM_FAULT_NULL) {
      EXPECT_EQ(error_, injectedError(function_.c_str()));
    }
    return;
  }
  const std::uint64_t failing = isAboutErrors(function_) ? 0 : strike_.nth;
  const ChainModel model = modelOf((*faultless_)[strike_.step], failing, strike_.kind);
  if (done.step == Step::kMake && isFirstOf(Step::kMake)) madeByFault_.emplace(model);
  refused_ = model.refused;
  EXPECT_EQ(canonicalCalls(done.calls), model.calls);
  EXPECT_EQ(error_.function, model.error.function);
  EXPECT_EQ(error_.exceptionType, model.error.type);
}

/// A processor whose making was struck has the schema, and gives back the filters, of what could be made.
void FaultRun::expectWhatWasMade(const StepLog& end) {
  std::string keys;
  for (const Setting& setting : settingsOf(schema())) keys += setting.key + "\n";
  EXPECT_EQ(keys, madeByFault_->keys);
  ChainModel model(madeByFault_->built, 0, VYSIM_FAULT_ERROR);
  model.destroy();
  EXPECT_EQ(canonicalCalls(end.calls), model.calls);
}

void FaultRun::expectLeft() {
  const struct {
    const char* make;  ///< an object that it gives with an error is left alone
    const char* take;  ///< an object that it refuses to take back stays
    vysim_kind kind;
  } pairs[] = {
      {"vy_create_filter", "vy_delete_filter", VYSIM_FILTER},
      {"vy_create_private_filter", nullptr, VYSIM_FILTER},
      {"vy_device_get_device_info", "vy_delete_device_info", VYSIM_DEVICE_INFO},
      {"vy_filter_get_config_schema_list", "vy_delete_filter_config_schema_list", VYSIM_SCHEMA_LIST},
  };
  // The registry notes every list that its filters give out, with an error or without, and gives one back with the
  // filter.
  for (const auto& pair : pairs) {
    const bool isWithResult = strike_.kind == VYSIM_FAULT_ERROR_WITH_RESULT;
    const bool isLeft = isWithResult ? function_ == pair.make && !(isOnOwnFilter() && pair.kind == VYSIM_SCHEMA_LIST)
                                     : pair.take != nullptr && function_ == pair.take;
    if (isLeft) ++left_[pair.kind];
  }
}

void FaultRun::receive(const Frame& input, Frame output) {
  const int references = vysim_frame_get_ref_count(input.get()) - (output == input ? 1 : 0);
  int expected = 1 + kSpareReferences;
  if (modelled_ && (isFaultless() || isStruckStep())) {
    expected += expectFrame(input, output);
  } else if (isStruckStep()) {
    refused_ = frameModelOf(input).refused;
    left_[VYSIM_FRAME] = left_[VYSIM_STREAM_PROFILE] = 1;  // at most
    EXPECT_NEAR(references, expected, 1);
    expected = references;
  } else {
    EXPECT_TRUE(output != nullptr || !(error_ == kNoError)) << "neither a frame nor an error";
  }
  EXPECT_EQ(references, expected) << "references on the input";
  for (int i = references; i < 1 + kSpareReferences; ++i) vysim::call(vy_frame_add_ref, input.get());
  for (int i = references; i > 1 + kSpareReferences; --i) vysim::call(vy_delete_frame, input.get());
}

/// Compares a frame with the model. Returns how many references the input has gained (or lost).
int FaultRun::expectFrame(const Frame& input, const Frame& output) {
  const FrameModel model = frameModelOf(input);
  refused_ = model.refused;
  left_[VYSIM_FRAME] += model.framesLeft;
  left_[VYSIM_STREAM_PROFILE] += model.profilesLeft;
  EXPECT_EQ(canonicalCalls(log_.back().calls), model.calls);
  EXPECT_EQ(error_.function, model.error.function);
  EXPECT_EQ(error_.exceptionType, model.error.type);
  EXPECT_EQ(output != nullptr, model.result != FrameModel::kNone);
  if (output == nullptr || model.result == FrameModel::kNone) return model.inputReferences;

  EXPECT_EQ(vysim_frame_get_ref_count(output.get()), model.resultReferences);
  const bool isCopy = vysim::call(vy_video_frame_get_width, output.get()) != kStandInWidth;
  EXPECT_EQ(isCopy, model.result == FrameModel::kCopy);
  EXPECT_NE(output, input);
  if (!isCopy && model.result != FrameModel::kCopy) {
    const ModelLink& maker = chainOfStep().links[static_cast<std::size_t>(model.result) - 1];
    EXPECT_EQ(stampOf(output), stampFor(maker.hostName())) << "from " << maker.label;
  }
  return model.inputReferences;
}

// ---- All ways -----------------------------------------------------------------------------------

class FaultSweepTest : public HostTest, public testing::WithParamInterface<std::size_t> {
 protected:
  void sweepFamily(bool modelled);

 private:
  void sweep(const SensorCase& sensor);
  Log run(const SensorCase& sensor, const Strike& strike, const Log* faultless);
  void strikeAt(const SensorCase& sensor, Strike strike, const Log& faultless);

  bool modelled_ = false;
  StandIns standIns_;
  std::uint64_t faults_ = 0;  ///< found
};

Log FaultSweepTest::run(const SensorCase& sensor, const Strike& strike, const Log* faultless) {
  vysim_reset();
  // Frames are told apart by number, so the numbers of the inputs must not be used again.
  for (int i = 0; i < kInputsAtMost; ++i) makeFrame();
  if (modelled_) standIns_.define();
  const Balance objects;
  FaultRun way(sensor, strike, faultless, modelled_);
  way.run();
  EXPECT_EQ(refusals(), way.refused()) << "calls that the host refused";
  for (std::size_t i = 0; i < way.left().size(); ++i) {
    const auto kind = static_cast<vysim_kind>(i);
    const long left = objects.grown(kind);
    const bool isBound = !modelled_ && (kind == VYSIM_FRAME || kind == VYSIM_STREAM_PROFILE);
    EXPECT_TRUE(left == way.left()[i] || (isBound && left < way.left()[i]))
        << vysim_kind_name(kind) << " objects left: " << left << " instead of " << way.left()[i];
    expectLeftBehind(kind, left);
  }
  return way.takeLog();
}

void FaultSweepTest::strikeAt(const SensorCase& sensor, Strike strike, const Log& faultless) {
  if (HasFailure() || ++faults_ % sweepStep() != 0) return;
  SCOPED_TRACE(sensor.family + " sensor " + std::to_string(sensor.sensor) + ", step " + std::to_string(strike.step) +
               ", call " + std::to_string(strike.nth) + " fails as " + std::to_string(strike.kind) + ": " +
               strike.call);
  run(sensor, strike, &faultless);
}

void FaultSweepTest::sweep(const SensorCase& sensor) {
  const Log faultless = run(sensor, {}, nullptr);
  for (const StepLog& step : faultless) {
    if (step.step == Scenario::Step::kFrame || step.step == Scenario::Step::kOpen) continue;
    EXPECT_EQ(canonicalCalls(step.calls), modelOf(step, 0, VYSIM_FAULT_ERROR).calls);
  }
  for (std::size_t step = 0; step < faultless.size() && !HasFailure(); ++step) {
    const StepLog& log = faultless[step];
    for (std::uint64_t nth = 1; nth <= log.calls.size(); ++nth) {
      for (const vysim_fault kind : {VYSIM_FAULT_ERROR, VYSIM_FAULT_NULL, VYSIM_FAULT_ERROR_WITH_RESULT}) {
        strikeAt(sensor, {nullptr, step, nth, kind, log.calls[static_cast<std::size_t>(nth) - 1]}, faultless);
      }
    }
    for (std::uint64_t nth = 1; nth <= log.errorsMade; ++nth) {
      strikeAt(sensor, {"vy_create_error", step, nth, VYSIM_FAULT_NULL, "vy_create_error("}, faultless);
    }
    for (std::uint64_t nth = 1; nth <= log.errorsDeleted; ++nth) {
      strikeAt(sensor, {"vy_delete_error", step, nth, VYSIM_FAULT_NULL, "vy_delete_error("}, faultless);
    }
  }
}

void FaultSweepTest::sweepFamily(bool modelled) {
  modelled_ = modelled;
  setAllDeviceLists();
  const std::vector<SensorCase> sensors = openSensors(*vysim_family_at(GetParam()));
  for (const SensorCase& sensor : sensors) {
    for (const Frame& input : sensor.inputs) {
      for (int i = 0; i < kSpareReferences; ++i) vysim::call(vy_frame_add_ref, input.get());
    }
    sweep(sensor);
    for (const Frame& input : sensor.inputs) {
      for (int i = 0; i < kSpareReferences; ++i) vysim::call(vy_delete_frame, input.get());
    }
  }
  vysim_reset();
}

TEST_P(FaultSweepTest, EveryHostCallFailsOnceWithFiltersThatTakeAnyFrame) {
  sweepFamily(true);
}

TEST_P(FaultSweepTest, EveryHostCallFailsOnceWithTheHostsFilters) {
  sweepFamily(false);
}

INSTANTIATE_TEST_SUITE_P(Families, FaultSweepTest, testing::Range<std::size_t>(0, 10),
                         [](const auto& family) { return std::string(vysim_family_at(family.param)->name); });

TEST(FaultSweepFamilies, AreAll) {
  EXPECT_EQ(vysim_family_count(), 10U);
}

}  // namespace
