// The cases that are measured, from a chain without filters to a registry of a thousand.
#include <benchmark/benchmark.h>
#include <vy_frame_processor.h>
#include <vy_private_filter.h>

#include <cstdlib>
#include <cstring>

#include "FloorChain.h"
#include "Measure.h"
#include "TrivialHost.h"
#include "device/ChainCatalogue.h"
#include "processor/FrameProcessor.h"
#include "support/SchemaText.h"

namespace {

constexpr VYCameraIntrinsic kIntrinsic = {14, 14, 8, 4, 16, 8};

using vysim::call;
using vysim::Device;
using vysim::Filter;
using vysim::Frame;
using Context = vysim::Owner<vy_destroy_frame_processor_context>;
using Processor = vysim::Owner<vy_destroy_frame_processor>;

const vysim_family& family(const std::string& name) {
  const vysim_family* const found = vysim_find_family(name.c_str());
  if (found == nullptr) std::abort();
  return *found;
}

std::vector<FilterConfig> recordsOf(const vysim_family& family, VYSensorType sensor) {
  return deviceInfoConfig::makeFamilyChains(family.vid, family.pids[0])[sensor];
}

std::vector<FilterConfig> depthRecords(const vysim_family& family) {
  return recordsOf(family, VY_SENSOR_DEPTH);
}

Device makeDevice(const vysim_family& family) {
  return Device(vysim_create_device(family.vid, family.pids[0]));
}

/// A context, and a number of private filters in the registry that it keeps alive.
class Registry {
 public:
  explicit Registry(std::size_t filters)
      : device_(vysim_create_device(1, 1)),
        context_(call(vy_create_frame_processor_context, device_.get())),
        floor_(filters + kRoom) {
    for (std::size_t i = 0; i < filters; ++i) {
      newest_ = call(priv_create_filter, i % 2 == 0 ? "DisparityTransform" : "HardwareD2CProcessor");
      floor_registry* const registry = floor_.get();
      registry->handles[registry->count++] =
          call(vy_create_private_filter, i % 2 == 0 ? "OpenNIDisparityTransform" : "DepthResize");
    }
  }
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;
  ~Registry() {
    const floor_registry* const registry = floor_.get();
    for (std::size_t i = 0; i < registry->count; ++i) call(vy_delete_filter, registry->handles[i]);
  }

  FloorRegistry& floor() { return floor_; }
  vy_filter_t* newest() const { return newest_; }

 private:
  static constexpr std::size_t kRoom = 1024;  ///< for the filters that a case adds

  Device device_;
  Context context_;
  FloorRegistry floor_;
  vy_filter_t* newest_ = nullptr;
};

/// One operation on the filter that was registered last.
class Operation : public Work {
 public:
  explicit Operation(std::size_t filters) : registry_(filters) {}

  void library(std::size_t times) override {
    vy_error* error = nullptr;
    for (std::size_t i = 0; i < times; ++i) priv_filter_is_enabled(registry_.newest(), &error);
  }
  void floor(std::size_t times) override {
    const floor_registry* const registry = registry_.floor().get();
    for (std::size_t i = 0; i < times; ++i) floor_lookup(registry, registry->count);
  }

 private:
  Registry registry_;
};

/// Frames through a chain of host filters that is not in the catalogue.
class Length : public Work {
 public:
  Length(std::size_t running, std::size_t disabled)
      : processor_(nullptr, makeRecords(running, disabled)),
        chain_(makeRecords(running, disabled), registry_, VY_FORMAT_Y16, VY_PIXEL_DEPTH),
        frame_(call(vysim_create_frame, 16U, 8U, VY_FORMAT_Y16, VY_PIXEL_DEPTH)) {
    floor_build_chain(chain_.get());
  }
  ~Length() override { floor_delete_chain(chain_.get()); }

  void library(std::size_t times) override {
    IFrameProcessor& processor = processor_;
    for (std::size_t i = 0; i < times; ++i) {
      vy_error* error = nullptr;
      vy_delete_frame(processor.process(frame_.get(), &error), &error);
    }
  }
  void floor(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) {
      vy_error* error = nullptr;
      vy_delete_frame(floor_process(chain_.get(), frame_.get()), &error);
    }
  }

 private:
  static std::vector<FilterConfig> makeRecords(std::size_t running, std::size_t disabled) {
    constexpr const char* kNames[] = {"NoiseRemovalFilter", "DisparityTransform", "FrameMirror", "FrameFlip"};
    std::vector<FilterConfig> records;
    for (std::size_t i = 0; i < running + disabled; ++i) {
      FilterConfig& record = records.emplace_back();
      record.name = kNames[i % 4];
      record.enabled = i < running ? 1 : 0;
      record.kind = FilterConfig::kHostFilter;
    }
    return records;
  }

  FloorRegistry registry_;
  BasicFrameProcessor processor_;
  FloorChain chain_;
  Frame frame_;
};

/// The depth processor of a camera, as a host has it.
class DepthCamera : public Work {
 public:
  /// `registered` private filters are in the registry before those of the camera.
  DepthCamera(const std::string& name, std::size_t registered, bool hardwareD2C)
      : registry_(registered),
        device_(makeDevice(family(name))),
        context_(call(vy_create_frame_processor_context, device_.get())),
        processor_(call(vy_create_frame_processor, context_.get(), VY_SENSOR_DEPTH)),
        chain_(depthRecords(family(name)), registry_.floor(), depthStream(family(name)).format,
               depthStream(family(name)).pixel_type),
        frame_(makeSmallFrame(depthStream(family(name)))) {
    floor_build_chain(chain_.get());
    readValues(hardwareD2C);
    call(vy_frame_processor_update_config, processor_.get(), count(), values());
    call([this](vy_error** error) {
      vy_frame_processor_set_hardware_d2c_params(processor_.get(), kIntrinsic, 0, 1, 0, 0, 0, 0, false, false, error);
    });
    chain_.get()->intrinsic = kIntrinsic;
    for (std::size_t i = 0; i < chain_.get()->count; ++i) {
      floor_link& link = chain_.get()->links[i];
      if (link.is_hardware_d2c) link.enabled = hardwareD2C;
    }
    // The first frame configures the hardware D2C filter.
    Frame(call(vy_frame_processor_process_frame, processor_.get(), frame_.get())).reset();
  }
  ~DepthCamera() override {
    for (std::size_t i = 0; i < chain_.get()->count; ++i) {
      const floor_link& link = chain_.get()->links[i];
      if (!link.is_own) call(vy_delete_filter, link.filter);
    }
  }

  void library(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) {
      vy_error* error = nullptr;
      vy_delete_frame(vy_frame_processor_process_frame(processor_.get(), frame_.get(), &error), &error);
    }
  }
  void floor(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) {
      vy_error* error = nullptr;
      vy_delete_frame(floor_process(chain_.get(), frame_.get()), &error);
    }
  }

 protected:
  vy_frame_processor_t* processor() const { return processor_.get(); }
  floor_chain* chain() { return chain_.get(); }
  const char** values() { return pointers_.data(); }
  std::uint8_t count() const { return static_cast<std::uint8_t>(pointers_.size()); }

 private:
  /// The values in force, and the switch of the hardware D2C filter.
  void readValues(bool hardwareD2C) {
    for (const Setting& setting : settingsOf(call(vy_frame_processor_get_config_schema, processor_.get()))) {
      const bool isSwitch = setting.key == "HardwareD2CProcessor#255";
      values_.push_back(!isSwitch ? setting.value : hardwareD2C ? "1" : "0");
    }
    pointers_ = pointersTo(values_);
  }

  Registry registry_;
  Device device_;
  Context context_;
  Processor processor_;
  FloorChain chain_;
  Frame frame_;
  std::vector<std::string> values_;
  std::vector<const char*> pointers_;
};

class Command : public DepthCamera {
 public:
  explicit Command(const std::string& name) : DepthCamera(name, 0, false) {}

  void library(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) {
      vy_error* error = nullptr;
      vy_frame_processor_update_config(processor(), count(), values(), &error);
    }
  }
  void floor(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) floor_update_config(chain(), values());
  }
};

class SchemaText : public DepthCamera {
 public:
  SchemaText() : DepthCamera("Corvid", 0, false) {}

  void library(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) {
      vy_error* error = nullptr;
      text_ = vy_frame_processor_get_config_schema(processor(), &error);
    }
  }
  /// The library makes no host call.
  void floor(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) text_ = "";
  }

 private:
  const char* volatile text_ = nullptr;
};

/// The schema lines of a filter with two items and its switch.
class SchemaLines : public Work {
 public:
  SchemaLines()
      : chain_(recordsOf(family("Vashti"), VY_SENSOR_COLOR), registry_, VY_FORMAT_Y16, VY_PIXEL_DEPTH),
        record_(depthRecords(family("Vashti")).front()) {
    std::vector<FilterConfig> records = {record_};
    BasicFrameProcessor::registerFunctionPtrs(records);
    record_ = records.front();
    filter_.reset(call(vy_create_filter, record_.name.c_str()));
    link_.items = record_.exposedItems.data();
    link_.item_count = record_.exposedItems.size();
    link_.filter = filter_.get();
  }

  void library(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) {
      benchmark::DoNotOptimize(BasicFrameProcessor::generateFilterConfigSchemaCsv(filter_.get(), record_));
    }
  }
  void floor(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) floor_schema(chain_.get(), &link_);
  }

 private:
  FloorRegistry registry_;
  FloorChain chain_;
  FilterConfig record_;
  Filter filter_;
  floor_link link_{};
};

/// Opens a camera, makes all its processors and gives everything back. If another context keeps the registry alive, the
/// private filters of each opening stay in it, on both sides.
class Opening : public Work {
 public:
  Opening(const std::string& name, std::size_t registered)
      : others_(registered != 0 ? std::make_unique<Registry>(registered) : nullptr),
        registry_(others_ != nullptr ? others_->floor() : ownRegistry_),
        device_(makeDevice(family(name))) {
    const vysim_family& opened = family(name);
    for (const auto& [sensor, records] : deviceInfoConfig::makeFamilyChains(opened.vid, opened.pids[0])) {
      sensors_.push_back(sensor);
      chains_.push_back(std::make_unique<FloorChain>(records, registry_, VY_FORMAT_Y16, VY_PIXEL_DEPTH));
    }
  }

  void library(std::size_t times) override {
    vy_frame_processor_t* processors[8] = {};
    for (std::size_t i = 0; i < times; ++i) {
      vy_error* error = nullptr;
      vy_frame_processor_context_t* const context = vy_create_frame_processor_context(device_.get(), &error);
      for (std::size_t k = 0; k < sensors_.size(); ++k) {
        processors[k] = vy_create_frame_processor(context, sensors_[k], &error);
      }
      for (std::size_t k = 0; k < sensors_.size(); ++k) vy_destroy_frame_processor(processors[k], &error);
      vy_destroy_frame_processor_context(context, &error);
    }
  }
  void floor(std::size_t times) override {
    for (std::size_t i = 0; i < times; ++i) {
      ownRegistry_.clear();
      vy_device_info_t* const info = floor_open_device(device_.get());
      for (const auto& chain : chains_) floor_build_chain(chain->get());
      for (const auto& chain : chains_) floor_delete_chain(chain->get());
      floor_close_device(info, ownRegistry_.get());
    }
  }

 private:
  std::unique_ptr<Registry> others_;  ///< none if the registry comes and goes with the camera
  FloorRegistry ownRegistry_;
  FloorRegistry& registry_;
  Device device_;
  std::vector<VYSensorType> sensors_;
  std::vector<std::unique_ptr<FloorChain>> chains_;
};

template <typename Kind, typename... Arguments>
Case makeCase(const std::string& name, Arguments... arguments) {
  return {name, [=] { return std::make_unique<Kind>(arguments...); }, true};
}

}  // namespace

std::vector<Case> allCases() {
  std::vector<Case> cases;
  for (const std::size_t running : {0U, 1U, 4U, 8U, 16U, 64U}) {
    cases.push_back(makeCase<Length>("length/" + std::to_string(running), running, std::size_t{0}));
  }
  cases.push_back(makeCase<Length>("disabled/8", std::size_t{0}, std::size_t{8}));
  cases.push_back(makeCase<Length>("disabled/8-of-16", std::size_t{8}, std::size_t{8}));
  for (std::size_t i = 0; i < vysim_family_count(); ++i) {
    const std::string name = vysim_family_at(i)->name;
    cases.push_back(makeCase<DepthCamera>("frame/" + name, name, std::size_t{0}, false));
  }
  cases.push_back(makeCase<DepthCamera>("hardware-d2c/Corvid", std::string("Corvid"), std::size_t{0}, true));
  for (const std::size_t registered : {1U, 2U, 10U, 100U, 1000U}) {
    const std::string size = std::to_string(registered);
    cases.push_back(makeCase<Operation>("operation/registry-" + size, registered));
  }
  for (const std::size_t registered : {1U, 10U, 100U, 1000U}) {
    const std::string size = std::to_string(registered);
    cases.push_back(
        makeCase<DepthCamera>("frame/SpecialOpenNI/registry-" + size, std::string("SpecialOpenNI"), registered, false));
  }
  cases.push_back(makeCase<SchemaText>("schema/text"));
  cases.push_back(makeCase<SchemaLines>("schema/lines"));
  cases.push_back(makeCase<Command>("command/Corvid", std::string("Corvid")));
  cases.push_back(makeCase<Command>("command/SpecialOpenNI", std::string("SpecialOpenNI")));
  for (const char* const name : {"Vashti", "Corvid", "SpecialOpenNI"}) {
    cases.push_back(makeCase<Opening>(std::string("open/") + name, std::string(name), std::size_t{0}));
  }
  for (const std::size_t registered : {1U, 10U, 100U, 1000U}) {
    const std::string size = std::to_string(registered);
    cases.push_back(makeCase<Opening>("open/SpecialOpenNI/registry-" + size, std::string("SpecialOpenNI"), registered));
    cases.back().isTimed = false;
  }
  return cases;
}
