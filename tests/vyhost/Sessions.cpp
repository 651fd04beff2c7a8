// What the tests of replays record: sessions with the library that go the same way every time. The program runs with
// the recording twin.
//
//   vyhost_sessions sensors [FAMILY]   every sensor of every family, or of one
//                   depth FAMILY       the depth sensor alone, in short
//                   families           says their names, a line each
//                   faults             every host function fails, in every way (VYFP_SWEEP_STEP: every Nth)
//                   private            the library's own filters in the host's hands; null handles, unknown names
//                   exceptions         those that the library throws, and those of the host that pass through it
//                   reentry            a host filter that calls the library
//                   values             numbers and texts that are no everyday ones
//                   threads            eight threads, each with sensors of its own
//                   death              the process ends within a call, with another thread in one
#include <recording/Functions.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <limits>
#include <map>
#include <shared_mutex>
#include <stdexcept>
#include <thread>

#include "support/Scenario.h"

namespace {

/// Goes through a scenario; what an exception ends is left as it is.
class Session : public Scenario {
 public:
  using Scenario::Scenario;

 protected:
  void call(Step /*step*/, const Work& work) override {
    ErrorSlot error;
    try {
      work(error);
    } catch (const std::exception&) {
    }
  }

 private:
  void receive(const Frame& /*input*/, Frame /*output*/) override {}
};

void runSensors(const vysim_family& family, int onlySensor = 0) {
  for (const SensorCase& sensor : openSensors(family)) {
    if (onlySensor == 0 || static_cast<int>(sensor.sensor) == onlySensor) Session(sensor).run();
  }
}

void runFamilies() {
  for (std::size_t i = 0; i < vysim_family_count(); ++i) runSensors(*vysim_family_at(i));
}

/// The shortest session that has everything: its recordings are kept.
void runDepth(const vysim_family& family) {
  const OpenDevice camera = openDevice(family.pids[0], family.vid);
  const Processor processor = makeProcessor(camera.context, kDepth);
  const std::vector<std::string> texts = valuesInForce(schemaOf(processor));
  updateConfig(processor, pointersTo(texts));
  for (const SensorCase& sensor : openSensors(family)) {
    if (sensor.sensor != static_cast<VYSensorType>(kDepth)) continue;
    process(processor, sensor.inputs[0]);
    setHardwareD2C(processor, {{20, 20, 8, 4, 16, 8}, 2, 1, 1, 0, 0, true});
    process(processor, sensor.inputs[1]);
  }
}

void runFaults() {
  const char* const functions[] = {
#define VY_NAME(result, name, parameters, arguments, names, effect) #name,
      VY_HOST_FUNCTIONS(VY_NAME) VY_BARE_HOST_FUNCTIONS(VY_NAME)};
  uint64_t faults = 0;
  // The two families with filters of the library's own.
  for (const char* const family : {"Corvid", "SpecialOpenNI"}) {
    for (const char* const function : functions) {
      for (const vysim_fault fault : {VYSIM_FAULT_ERROR, VYSIM_FAULT_NULL, VYSIM_FAULT_ERROR_WITH_RESULT}) {
        if (++faults % sweepStep() != 0) continue;
        for (SensorCase& sensor : openSensors(*vysim_find_family(family))) {
          if (sensor.sensor != static_cast<VYSensorType>(kDepth)) continue;
          vysim_fail_call(function, 1, fault);
          vysim_fail_call(function, 4, fault);
          Session(sensor).run();
          vysim_fail_clear();
          // Without the reference that it was to take, the library releases the caller's.
          for (Frame& input : sensor.inputs) {
            if (vysim_frame_get_ref_count(input.get()) == 0) static_cast<void>(input.release());
          }
        }
      }
    }
  }
}

void usePrivateFilters() {
  for (const char* const name : {"HardwareD2CProcessor", "DisparityTransform", "NoSuchFilter"}) {
    vy_filter_t* filter = priv_create_filter(name, ErrorSlot());
    if (filter == nullptr) filter = priv_create_private_filter(name, ErrorSlot());
    const Frame frame = makeFrame();
    const char* values[] = {"1", "2"};
    priv_filter_get_name(filter, ErrorSlot());
    vy_filter_config_schema_list_t* const list = priv_filter_get_config_schema_list(filter, ErrorSlot());
    priv_filter_config_schema_list_get_count(list, ErrorSlot());
    priv_filter_config_schema_list_get_item(list, 0, ErrorSlot());
    priv_filter_delete_config_schema_list(list, ErrorSlot());
    priv_filter_update_config(filter, 2, values, ErrorSlot());
    priv_filter_get_config_value(filter, "size", ErrorSlot());
    priv_filter_set_config_value(filter, "size", 3, ErrorSlot());
    priv_filter_reset(filter, ErrorSlot());
    priv_filter_enable(filter, true, ErrorSlot());
    priv_filter_is_enabled(filter, ErrorSlot());
    priv_filter_set_hardware_d2c_params(filter, {20, 20, 8, 4, 16, 8}, 0, 2, 0, 0, 0, 0, true, false, ErrorSlot());
    const Frame output(priv_filter_process(filter, frame.get(), ErrorSlot()));
    priv_delete_filter(filter, ErrorSlot());
  }
  vy_destroy_frame_processor(nullptr, ErrorSlot());
  vy_frame_processor_get_config_schema(nullptr, ErrorSlot());
  vy_get_commit_hash();
}

void runPrivateFilters() {
  usePrivateFilters();
  const OpenDevice keeper = openDevice(kHalden);  // a context keeps the filters alive
  usePrivateFilters();
}

void defineProcess(const char* name, vy_frame_t* (*process)(void*, const vy_frame_t*, vy_error**),
                   void* user = nullptr) {
  vysim_filter_definition definition = {};
  definition.name = name;
  definition.process = process;
  definition.user = user;
  defineFilter(definition);
}

void runExceptions() {
  definePassing("FrameMirror", "Frame#Mirror");
  runSensors(*vysim_find_family("Vashti"), kDepth);
  defineProcess("FrameMirror", [](void*, const vy_frame_t*, vy_error**) -> vy_frame_t* { throw std::bad_alloc(); });
  runSensors(*vysim_find_family("Corvid"), kDepth);
  defineProcess("FrameMirror",
                [](void*, const vy_frame_t*, vy_error**) -> vy_frame_t* { throw std::range_error("far"); });
  runSensors(*vysim_find_family("Corvid"), kDepth);
}

void runReentry() {
  defineProcess("FrameMirror", [](void*, const vy_frame_t* frame, vy_error** error) {
    vy_filter_t* const filter = priv_create_filter("DisparityTransform", error);
    vy_frame_t* const result = priv_filter_process(filter, frame, error);
    priv_delete_filter(filter, error);
    return result;
  });
  runSensors(*vysim_find_family("Corvid"), kDepth);
}

void runValues() {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  constexpr double kEndless = std::numeric_limits<double>::infinity();
  static const VYFilterConfigSchemaItem items[] = {
      {"gr\xC3\xB6\xC3\x9F"
       "e\t\"\\",
       VY_FILTER_CONFIG_VALUE_TYPE_FLOAT, -0.0, 0.1, 1e-300, 1.0 / 3, "\xFF\x80\x7F\x01"},
      {"limit", VY_FILTER_CONFIG_VALUE_TYPE_FLOAT, kNone, kEndless, -kEndless, -0.0, nullptr},
      {"count", VY_FILTER_CONFIG_VALUE_TYPE_INT, -2147483648.0, 2147483647, 1e15, 16777217, ""}};
  for (const char* const name : {"NoiseRemovalFilter", "FrameMirror", "FrameFlip", "FrameRotate"}) {
    vysim_filter_definition definition = {};
    definition.name = name;
    definition.items = items;
    definition.item_count = 3;
    defineFilter(definition);
  }
  runFamilies();
}

/// One of several at once. What adds to the registry of filters, or ends it, has the library for itself: every look at
/// the registry asks each of its filters for its name, and no recording tells when another thread's filter got there.
class ThreadSession : public Session {
 public:
  using Session::Session;

 private:
  void call(Step step, const Work& work) override {
    static std::shared_mutex mutex;
    if (step == Step::kOpen || step == Step::kMake || step == Step::kClose) {
      const std::lock_guard<std::shared_mutex> alone(mutex);
      Session::call(step, work);
    } else {
      const std::shared_lock<std::shared_mutex> together(mutex);
      Session::call(step, work);
    }
  }
};

void runThreads() {
  std::vector<std::thread> threads;
  std::atomic<unsigned> ready{0};
  for (unsigned i = 0; i < 8; ++i) {
    threads.emplace_back([i, &ready] {
      const std::vector<SensorCase> sensors = openSensors(*vysim_family_at(i));
      for (++ready; ready < 8;) std::this_thread::yield();
      for (const SensorCase& sensor : sensors) ThreadSession(sensor).run();
    });
  }
  for (std::thread& thread : threads) thread.join();
}

void runDeath() {
  static std::atomic<bool> isInside{false};
  defineProcess("FrameMirror", [](void*, const vy_frame_t*, vy_error**) -> vy_frame_t* {
    if (isInside.exchange(true)) ::_exit(0);
    for (;;) ::pause();
  });
  const vysim_family& family = *vysim_find_family("Corvid");
  std::thread([&family] { runSensors(family, kDepth); }).detach();
  while (!isInside) std::this_thread::yield();
  runSensors(family, kDepth);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string kind = argc > 1 ? argv[1] : "";
  const vysim_family* const family = argc > 2 ? vysim_find_family(argv[2]) : nullptr;
  if (kind == "families") {
    for (std::size_t i = 0; i < vysim_family_count(); ++i) std::puts(vysim_family_at(i)->name);
    return 0;  // without a call of the library, so that nothing is recorded
  }
  setAllDeviceLists();
  if (kind == "depth" && family != nullptr) {
    runDepth(*family);
    return 0;
  }
  if (kind == "sensors" && family != nullptr) {
    runSensors(*family);
    return 0;
  }
  const std::map<std::string, void (*)()> sessions = {
      {"sensors", runFamilies}, {"faults", runFaults}, {"private", runPrivateFilters}, {"exceptions", runExceptions},
      {"reentry", runReentry},  {"values", runValues}, {"threads", runThreads},        {"death", runDeath}};
  const auto session = sessions.find(kind);
  if (session == sessions.end()) {
    std::fprintf(stderr, "vyhost_sessions: no session \"%s\"\n", kind.c_str());
    return 2;
  }
  session->second();
  return 0;
}
