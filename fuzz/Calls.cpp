// Calls of the library in any order that its headers allow, with up to two failing host calls in each. At all times no
// errors live but those that the caller was given, the frames sent keep their references, and calls in which nothing
// fails hand the host no object that is not there. In the end no object lives but those that a failing host kept.
#include <sanitizer/lsan_interface.h>

#include <algorithm>

#include "Support.h"

namespace {

constexpr int kSteps = 30;
constexpr std::size_t kAtOnce = 3;  ///< contexts, processors and filters, each
/// The caller holds these on every input, as the faults of a step may cost some.
constexpr int kSpareReferences = 4;

/// A host function, and whether a fault in it leaves an object behind: one that it gives with an error, one that it
/// does not take back, or the profile of a frame on which a stamp failed.
struct HostFunction {
  enum Role { kAsks, kGives, kStamps, kTakes };

  const char* name;
  Role role;
  vysim_kind kind;

  bool leavesObject(vysim_fault fault) const {
    const bool isWithResult = fault == VYSIM_FAULT_ERROR_WITH_RESULT;
    return (role == kGives && isWithResult) || (role == kStamps && fault != VYSIM_FAULT_NULL) ||
           (role == kTakes && !isWithResult);
  }
  bool is(const char* other) const { return std::string(name) == other; }
};

// clang-format off
#define ASKS(name) {name, HostFunction::kAsks, VYSIM_KIND_COUNT}
#define STAMPS(name) {name, HostFunction::kStamps, VYSIM_STREAM_PROFILE}
constexpr HostFunction kHostFunctions[] = {
    {"vy_device_get_device_info", HostFunction::kGives, VYSIM_DEVICE_INFO},
    {"vy_create_filter", HostFunction::kGives, VYSIM_FILTER},
    {"vy_create_private_filter", HostFunction::kGives, VYSIM_FILTER},
    {"vy_filter_get_config_schema_list", HostFunction::kGives, VYSIM_SCHEMA_LIST},
    {"vy_frame_get_stream_profile", HostFunction::kGives, VYSIM_STREAM_PROFILE},
    STAMPS("vy_video_stream_profile_get_intrinsic"), STAMPS("vy_video_stream_profile_set_intrinsic"),
    STAMPS("vy_video_stream_profile_set_distortion"), STAMPS("vy_stream_profile_set_extrinsic_to_type"),
    {"vy_delete_error", HostFunction::kTakes, VYSIM_ERROR},
    {"vy_delete_device_info", HostFunction::kTakes, VYSIM_DEVICE_INFO},
    {"vy_delete_filter", HostFunction::kTakes, VYSIM_FILTER},
    {"vy_delete_filter_config_schema_list", HostFunction::kTakes, VYSIM_SCHEMA_LIST},
    {"vy_delete_frame", HostFunction::kTakes, VYSIM_FRAME},
    {"vy_delete_stream_profile", HostFunction::kTakes, VYSIM_STREAM_PROFILE},
    ASKS("vy_create_error"), ASKS("vy_device_info_get_vid"), ASKS("vy_device_info_get_pid"), ASKS("vy_filter_get_name"),
    ASKS("vy_filter_reset"), ASKS("vy_filter_config_schema_list_get_count"), ASKS("vy_filter_is_enabled"),
    ASKS("vy_filter_config_schema_list_get_item"), ASKS("vy_filter_update_config"), ASKS("vy_filter_get_config_value"),
    ASKS("vy_filter_set_config_value"), ASKS("vy_filter_enable"), ASKS("vy_filter_process"), ASKS("vy_frame_add_ref"),
    ASKS("vy_frame_get_format"), ASKS("vy_video_frame_get_pixel_type"), ASKS("vy_video_frame_get_width"),
    ASKS("vy_video_frame_get_height"), ASKS("vy_create_frame_from_other_frame"),
};
// clang-format on

struct Order {
  HostFunction function;
  vysim_fault fault;
  std::uint64_t dueAt;  ///< carried out at this call of the function
};

struct Open {
  const SensorCase* camera;
  vy_frame_processor_context_t* context;
};
struct Made {
  Open from;
  vy_frame_processor_t* processor;
};
struct Own {
  vy_filter_t* filter;
  vy_filter_config_schema_list_t* list;  ///< given out and not given back
};

/// A filter of the host's that the library did not make.
Own stranger() {
  static vy_filter_t* const filter = vysim::call(vy_create_filter, "FrameRotate");
  return {filter, nullptr};
}

class Session {
 public:
  Session(const std::uint8_t* data, std::size_t size) : input_(data, size) {}
  void run();

 private:
  void orderFault();
  template <typename Work>
  bool call(Work work);
  bool hasStruck(std::initializer_list<const char*> functions) const;

  std::size_t number(std::size_t highest) { return input_.ConsumeIntegralInRange<std::size_t>(0, highest); }
  /// One of the items, or now and then none.
  template <typename Item>
  Item pick(const std::vector<Item>& items) {
    const std::size_t index = number(items.size());
    return index < items.size() ? items[index] : Item{};
  }

  void step();
  void open();
  void make();
  void makeOwn();
  void sendFrame(bool isToOwn);
  void sendSettings();
  void setParameters();
  void useOwn();
  void deleteOwn();
  void giveBack(Own& own);
  void destroy(Made made);
  void close(Open open);

  FuzzedDataProvider input_;
  const Balance balance_;
  std::vector<Order> orders_, struck_;    ///< of the current call
  long left_[VYSIM_KIND_COUNT + 1] = {};  ///< objects that faults left behind, at most
  bool hasFailedList_ = false;            ///< the host has failed to give a schema list
  std::vector<Open> contexts_;
  std::vector<Made> processors_;
  std::vector<Own> ownFilters_;
};

// ---- One call ---------------------------------------------------------------------------------------

void Session::orderFault() {
  constexpr vysim_fault kFaults[] = {VYSIM_FAULT_ERROR, VYSIM_FAULT_NULL, VYSIM_FAULT_ERROR_WITH_RESULT};
  const HostFunction& function = input_.PickValueInArray(kHostFunctions);
  const std::uint64_t nth = 1 + number(5);
  const bool hasSlot = !function.is("vy_create_error") && !function.is("vy_delete_error");
  const vysim_fault fault = hasSlot ? input_.PickValueInArray(kFaults) : VYSIM_FAULT_NULL;
  for (const Order& order : orders_) {
    if (order.function.is(function.name)) return;  // it would be unknown which of two was carried out
  }
  vysim_fail_call(function.name, nth, fault);
  orders_.push_back({function, fault, vysim_call_count(function.name) + nth});
}

/// Calls the library while the host fails as the input says. Returns whether there was no error.
template <typename Work>
bool Session::call(Work work) {
  orders_.clear();
  struck_.clear();
  for (std::size_t count = number(2); count > 0; --count) orderFault();
  const Refusals refusedBefore = refusals();
  ErrorSlot error;
  work(static_cast<vy_error**>(error));
  vysim_fail_clear();
  for (const Order& order : orders_) {
    if (vysim_call_count(order.function.name) < order.dueAt) continue;
    struck_.push_back(order);
    if (order.function.leavesObject(order.fault)) ++left_[order.function.kind];
  }
  if (struck_.empty()) EXPECT_EQ(refusals(), refusedBefore) << "no fault made the library call with what is not there";
  hasFailedList_ = hasFailedList_ || hasStruck({"vy_filter_get_config_schema_list"});
  EXPECT_EQ(balance_.grown(VYSIM_ERROR), left_[VYSIM_ERROR] + (error.isSet() ? 1 : 0));
  return !error.isSet();
}

bool Session::hasStruck(std::initializer_list<const char*> functions) const {
  return std::any_of(struck_.begin(), struck_.end(), [&](const Order& order) {
    return std::any_of(functions.begin(), functions.end(), [&](const char* name) { return order.function.is(name); });
  });
}

// ---- What a caller does -----------------------------------------------------------------------------

void Session::open() {
  if (contexts_.size() == kAtOnce) return;
  const SensorCase& camera = allSensors()[number(allSensors().size() - 1)];
  Open open = {&camera, nullptr};
  const bool isFine =
      call([&](vy_error** error) { open.context = vy_create_frame_processor_context(camera.device.get(), error); });
  EXPECT_EQ(isFine, open.context != nullptr);
  if (open.context != nullptr) contexts_.push_back(open);
}

void Session::make() {
  if (processors_.size() == kAtOnce) return;
  Made made = {pick(contexts_), nullptr};
  const bool isUsual = made.from.camera != nullptr && number(7) != 7;
  const int sensor = isUsual ? made.from.camera->sensor : static_cast<int>(number(10));
  const bool isFine = call([&](vy_error** error) {
    made.processor = vy_create_frame_processor(made.from.context, static_cast<VYSensorType>(sensor), error);
  });
  EXPECT_EQ(made.processor != nullptr, made.from.context != nullptr);
  EXPECT_TRUE(isFine || made.from.context == nullptr) << "what the host refuses a chain is left out of it silently";
  if (made.processor != nullptr) processors_.push_back(made);
}

void Session::makeOwn() {
  if (ownFilters_.size() == kAtOnce) return;
  constexpr const char* kNames[] = {"HardwareD2CProcessor", "DisparityTransform", "FrameMirror", nullptr};
  const char* const name = input_.PickValueInArray(kNames);
  vy_filter_t* filter = nullptr;
  const bool isFine = call([&](vy_error** error) { filter = priv_create_filter(name, error); });
  EXPECT_TRUE(isFine == (filter != nullptr) || hasStruck({"vy_create_error"}));
  if (filter != nullptr && !contexts_.empty())
    ownFilters_.push_back({filter, nullptr});  // without a context it is dead at once
}

void Session::sendFrame(bool isToOwn) {
  const Made made = pick(processors_);
  const Own own = pick(ownFilters_);
  const bool isSuitable = made.from.camera != nullptr && number(7) != 7;
  const SensorCase& camera = isSuitable ? *made.from.camera : allSensors()[number(allSensors().size() - 1)];
  const Frame& frame = camera.inputs[number(camera.inputs.size() - 1)];
  const int references = vysim_frame_get_ref_count(frame.get());
  vy_frame_t* output = nullptr;
  const bool isFine = call([&](vy_error** error) {
    output = isToOwn ? priv_filter_process(own.filter, frame.get(), error)
                     : vy_frame_processor_process_frame(made.processor, frame.get(), error);
  });
  EXPECT_TRUE(!isFine || output != nullptr || !struck_.empty()) << "neither a frame nor an error";

  // A refused release leaves one reference too many. There is one too few if a reference was never added, or if a
  // release worked while an error was in the slot: it is then repeated at the end of the walk.
  const bool isUncounted = hasStruck({"vy_delete_frame", "vy_frame_add_ref", "vy_filter_is_enabled",
                                      "vy_filter_get_name", "vy_frame_get_format", "vy_video_frame_get_pixel_type"});
  const bool isDead = output == nullptr || (isUncounted && vysim_frame_get_ref_count(output) == 0);
  if (!isDead) vysim::call(vy_delete_frame, output);
  const int now = vysim_frame_get_ref_count(frame.get());
  EXPECT_NEAR(now, references, isUncounted ? 3 : 0) << "references on the input";
  for (int i = now; i < references; ++i) vysim::call(vy_frame_add_ref, frame.get());
  for (int i = now; i > references; --i) vysim::call(vy_delete_frame, frame.get());
}

void Session::sendSettings() {
  vy_frame_processor_t* const processor = pick(processors_).processor;
  const char* schema = nullptr;
  call([&](vy_error** error) { schema = vy_frame_processor_get_config_schema(processor, error); });
  const std::vector<std::string> texts = valuesInForce(schema != nullptr ? schema : "");
  std::vector<const char*> values;
  for (const std::string& text : texts) {
    constexpr const char* kOthers[] = {"0", "1", "270", "65536"};
    values.push_back(number(3) == 3 ? input_.PickValueInArray(kOthers) : text.c_str());
  }
  call([&](vy_error** error) { vy_frame_processor_update_config(processor, 0, values.data(), error); });
}

void Session::setParameters() {
  const auto set = [this](auto function, auto* object) {
    constexpr float kScales[] = {1, 2, 0.5F, 0};
    const float scale = input_.PickValueInArray(kScales);
    const auto border = input_.ConsumeIntegralInRange<std::int16_t>(-4, 4);
    const bool applyScale = input_.ConsumeBool();
    call([&](vy_error** error) {
      function(object, {20, 20, 8, 4, 16, 8}, 0, scale, border, border, 0, 0, applyScale, false, error);
    });
  };
  if (input_.ConsumeBool()) return set(priv_filter_set_hardware_d2c_params, pick(ownFilters_).filter);
  set(vy_frame_processor_set_hardware_d2c_params, pick(processors_).processor);
}

void Session::useOwn() {
  const std::size_t index = number(ownFilters_.size());
  Own other = stranger();
  Own& own = index < ownFilters_.size() ? ownFilters_[index] : other;
  const char* texts[] = {"1", "1", "1000", "0", "0", "0", "0", "0", "0", "0"};
  const auto count = static_cast<std::uint8_t>(10 - number(10));
  vy_filter_config_schema_list_t* list = nullptr;
  const bool isFine = call([&, operation = number(12)](vy_error** error) {
    // clang-format off
    switch (operation) {
      case 0: priv_filter_get_name(own.filter, error); break;
      case 1: priv_filter_update_config(own.filter, count, texts, error); break;
      case 2: priv_filter_get_config_value(own.filter, "MaxDepth", error); break;
      case 3: priv_filter_set_config_value(own.filter, "MaxDepth", count * 100.0, error); break;
      case 4: priv_filter_reset(own.filter, error); break;
      case 5: priv_filter_enable(own.filter, count == 10, error); break;
      case 6: priv_filter_is_enabled(own.filter, error); break;
      case 7: priv_filter_config_schema_list_get_count(own.list, error); break;
      case 8: priv_filter_config_schema_list_get_item(own.list, std::min<std::uint32_t>(count, 9), error); break;
      default: if (own.list == nullptr) list = priv_filter_get_config_schema_list(own.filter, error);
    }
    // clang-format on
  });
  if (isFine && list != nullptr) own.list = list;
}

void Session::giveBack(Own& own) {
  call([&](vy_error** error) { priv_filter_delete_config_schema_list(own.list, error); });
  own.list = nullptr;
}

/// The filter lives on. Its list is given back, unless a fault made the library note another one, or none.
void Session::deleteOwn() {
  if (ownFilters_.empty()) return;
  Own& own = ownFilters_[number(ownFilters_.size() - 1)];
  call([&](vy_error** error) { priv_delete_filter(own.filter, error); });
  if (!struck_.empty() || hasFailedList_) giveBack(own);
  own.list = nullptr;
}

void Session::destroy(Made made) {
  const auto isIt = [&](const Made& each) { return each.processor == made.processor; };
  processors_.erase(std::remove_if(processors_.begin(), processors_.end(), isIt), processors_.end());
  const bool isFine = call([&](vy_error** error) { vy_destroy_frame_processor(made.processor, error); });
  EXPECT_TRUE(isFine == (made.processor != nullptr) || hasStruck({"vy_create_error"}));
}

/// Closes a context, after its processors. The last one takes the library's own filters with it.
void Session::close(Open open) {
  const std::vector<Made> made = processors_;
  for (const Made& each : made) {
    if (each.from.context == open.context) destroy(each);
  }
  const auto isIt = [&](const Open& each) { return each.context == open.context; };
  contexts_.erase(std::remove_if(contexts_.begin(), contexts_.end(), isIt), contexts_.end());
  if (contexts_.empty()) {
    for (Own& own : ownFilters_) giveBack(own);
    ownFilters_.clear();
  }
  const bool isFine = call([&](vy_error** error) { vy_destroy_frame_processor_context(open.context, error); });
  EXPECT_TRUE(isFine == (open.context != nullptr) || hasStruck({"vy_create_error"}));
}

void Session::step() {
  // clang-format off
  switch (number(14)) {
    case 0: return open();
    case 1: return make();
    case 2: return makeOwn();
    case 3: case 4: case 5: return sendFrame(false);
    case 6: return sendFrame(true);
    case 7: return sendSettings();
    case 8: return setParameters();
    case 9: case 10: case 11: return useOwn();
    case 12: case 13: return deleteOwn();
    default: return input_.ConsumeBool() ? destroy(pick(processors_)) : close(pick(contexts_));
  }
  // clang-format on
}

void Session::run() {
  open();
  make();
  makeOwn();
  for (int i = 0; i < kSteps && input_.remaining_bytes() > 0; ++i) step();
  while (!contexts_.empty()) close(contexts_.back());
  for (int i = 0; i < VYSIM_KIND_COUNT; ++i) {
    const auto kind = static_cast<vysim_kind>(i);
    const bool isExact = kind == VYSIM_FILTER || kind == VYSIM_DEVICE_INFO || kind == VYSIM_ERROR;
    EXPECT_GE(balance_.grown(kind), isExact ? left_[kind] : 0) << vysim_kind_name(kind) << " objects lost";
    EXPECT_LE(balance_.grown(kind), left_[kind]) << vysim_kind_name(kind) << " objects left over";
  }
}

}  // namespace

/// Objects that a failing host keeps are counted above. Memory of the library is never allocated inside a host
/// function.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libTavrixSDK.so\n";
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const SensorCase& sensor : allSensors()) {
    for (const Frame& input : sensor.inputs) {
      while (vysim_frame_get_ref_count(input.get()) <= kSpareReferences) vysim::call(vy_frame_add_ref, input.get());
    }
  }
  stranger();
  vysim_count_calls(true);
  Session(data, size).run();
  // The fuzzer's own check would run after nearly every session, because a failing host keeps objects.
  static unsigned sessions = 0;
  if (++sessions % 64 == 0) EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0) << "in one of the last 64 sessions";
  return 0;
}
