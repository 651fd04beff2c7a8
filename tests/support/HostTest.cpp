#include "support/HostTest.h"

#include <tuple>

bool vysim::operator==(const Error& a, const Error& b) {
  return std::tie(a.status, a.message, a.function, a.exceptionType) ==
         std::tie(b.status, b.message, b.function, b.exceptionType);
}

std::ostream& vysim::operator<<(std::ostream& out, const Error& error) {
  if (error == kNoError) return out << "no error";
  return out << '"' << error.message << "\" from " << error.function << ", status " << error.status << ", type "
             << error.exceptionType;
}

Error ownError(const char* message, const char* function, int exceptionType) {
  return {1, message, function, "", exceptionType};
}

Error injectedError(const char* function) {
  return {1, "injected fault", function, "", 8};
}

void expectNoRefusals() {
  vysim::onRefusal = [](const Error& error) { ADD_FAILURE() << "an object was not taken back: " << error; };
}

OpenDevice openDevice(int pid, int vid) {
  Device device(vysim_create_device(vid, pid));
  Context context(call(vy_create_frame_processor_context, device.get()));
  EXPECT_NE(context, nullptr);
  return {std::move(device), std::move(context)};
}

Processor makeProcessor(const Context& context, int sensor) {
  Processor processor(call(vy_create_frame_processor, context.get(), static_cast<VYSensorType>(sensor)));
  EXPECT_NE(processor, nullptr);
  return processor;
}

std::string schemaOf(const Processor& processor) {
  const char* const schema = call(vy_frame_processor_get_config_schema, processor.get());
  return schema != nullptr ? schema : "(null)";
}

Error updateConfig(const Processor& processor, std::vector<const char*> values) {
  ErrorSlot error;
  vy_frame_processor_update_config(processor.get(), static_cast<std::uint8_t>(values.size()), values.data(), error);
  return error.take();
}

void setHardwareD2C(const Processor& processor, const D2CParameters& p) {
  const auto set = [&](vy_error** error) {
    vy_frame_processor_set_hardware_d2c_params(processor.get(), p.intrinsic, 0, p.scale, p.left, p.top, p.right,
                                               p.bottom, p.applyScale, false, error);
  };
  call(set);
}

Outcome process(const Processor& processor, const Frame& input) {
  ErrorSlot error;
  Frame frame(vy_frame_processor_process_frame(processor.get(), input.get(), error));
  return {std::move(frame), error.take()};
}

void setDeviceList(int type, const std::vector<std::uint8_t>& bytes) {
  call(vy_set_device_info_data, type, bytes.data(), static_cast<int>(bytes.size()));
}

void emptyDeviceLists() {
  for (const int type : kListTypes) setDeviceList(type, {0});  // less than a record empties a list
}

void setAllDeviceLists() {
  for (const int type : kListTypes) {
    const std::uint8_t* data = nullptr;
    const int size = vysim_device_list(type, &data);
    call(vy_set_device_info_data, type, data, size);
  }
}

std::vector<std::uint8_t> deviceList(const std::vector<Ids>& devices) {
  std::vector<std::uint8_t> bytes;
  for (const auto& [vid, pid] : devices) {
    for (const int byte : {vid, vid >> 8, pid, pid >> 8}) bytes.push_back(static_cast<std::uint8_t>(byte & 0xFF));
  }
  return bytes;
}

Frame makeFrame(int format, int pixelType, std::uint32_t width, std::uint32_t height) {
  return Frame(
      call(vysim_create_frame, width, height, static_cast<VYFormat>(format), static_cast<VYPixelType>(pixelType)));
}

void defineFilter(const vysim_filter_definition& definition) {
  call(vysim_define_filter, &definition);
}

void definePassing(const char* name, const char* reportedName, bool isPrivate) {
  defineFilter({name, reportedName, isPrivate, nullptr, 0, nullptr, nullptr});
}

void defineStamper(const char* name, Stamper& stamper, const char* reportedName, bool isPrivate) {
  const auto stampFrame = [](void* user, const vy_frame_t* input, vy_error** error) {
    auto& self = *static_cast<Stamper*>(user);
    ++self.runs;
    vy_frame_t* const output = vysim_create_frame(4, 2, self.format, VY_PIXEL_DISPARITY, error);
    vysim_frame_get_data(output, error)[0] = self.stamp;
    EXPECT_GT(vysim_frame_get_ref_count(input), 0) << "a filter was given a frame that is gone";
    return output;
  };
  defineFilter({name, reportedName, isPrivate, nullptr, 0, stampFrame, &stamper});
}

int stampOf(const Frame& frame) {
  return frame != nullptr ? call(vysim_frame_get_data, frame.get())[0] : 0;
}

std::vector<std::string> callsOf(const std::string& function, const std::string& calls) {
  std::vector<std::string> found;
  for (const std::string& line : splitLines(calls)) {
    if (line.compare(0, function.size() + 1, function + "(") == 0) found.push_back(line);
  }
  return found;
}

Refusals refusals() {
  Refusals all;
  for (std::size_t i = 0; const char* const function = vysim_refused_function_at(i); ++i) {
    all[function] = vysim_refused_count(function);
  }
  return all;
}

Balance::Balance() {
  for (int kind = 0; kind < VYSIM_KIND_COUNT; ++kind)
    accept(static_cast<vysim_kind>(kind), grown(static_cast<vysim_kind>(kind)));
}

long Balance::grown(vysim_kind kind) const {
  return static_cast<long>(vysim_live_count(kind)) - before_[kind];
}

void Balance::expectLevel() const {
  for (int kind = 0; kind < VYSIM_KIND_COUNT; ++kind) {
    EXPECT_EQ(grown(static_cast<vysim_kind>(kind)), 0)
        << vysim_kind_name(static_cast<vysim_kind>(kind)) << " objects left over";
  }
}

HostTest::HostTest() {
  expectNoRefusals();
  vysim_reset();
  emptyDeviceLists();
}

// Not TearDown(): derived fixtures still hold objects then.
HostTest::~HostTest() {
  EXPECT_EQ(vysim_fail_count(), ordered_) << "a fault that was ordered did not strike";
  EXPECT_EQ(refusals(), refused_) << "calls that the host refused";
  vysim_reset();
  balance_.expectLevel();
}

void HostTest::failCall(const char* function, std::uint64_t nth, vysim_fault kind) {
  vysim_fail_call(function, nth, kind);
  ++ordered_;
}

void HostTest::failCalls(const std::vector<Fault>& faults) {
  for (const Fault& fault : faults) failCall(fault.function, fault.nth, fault.kind);
}
