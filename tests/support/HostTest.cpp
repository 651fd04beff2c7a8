#include "support/HostTest.h"

#include <sstream>

std::ostream& operator<<(std::ostream& out, const ErrorText& error) {
  if (error == kNoError) return out << "no error";
  return out << '"' << error.message << "\" from " << error.function << ", status " << error.status << ", type "
             << error.exceptionType;
}

ErrorText ownError(const char* message, const char* function, int exceptionType) {
  return {1, message, function, exceptionType};
}

ErrorText injectedError(const char* function) {
  return {1, "injected fault", function, 8};
}

ErrorText ErrorSlot::take() {
  if (error_ == nullptr) return kNoError;
  ErrorText text = {vy_error_get_status(error_), vy_error_get_message(error_), vy_error_get_function(error_),
                    vy_error_get_exception_type(error_)};
  vy_delete_error(error_);
  error_ = nullptr;
  return text;
}

OpenDevice openDevice(int pid, int vid) {
  Device device(vysim_create_device(vid, pid));
  Context context(vy_create_frame_processor_context(device.get(), NoFailure()));
  EXPECT_NE(context, nullptr);
  return {std::move(device), std::move(context)};
}

Processor makeProcessor(const Context& context, int sensor) {
  Processor processor(vy_create_frame_processor(context.get(), static_cast<VYSensorType>(sensor), NoFailure()));
  EXPECT_NE(processor, nullptr);
  return processor;
}

std::string schemaOf(const Processor& processor) {
  const char* const schema = vy_frame_processor_get_config_schema(processor.get(), NoFailure());
  return schema != nullptr ? schema : "(null)";
}

ErrorText updateConfig(const Processor& processor, std::vector<const char*> values) {
  ErrorSlot error;
  vy_frame_processor_update_config(processor.get(), static_cast<std::uint8_t>(values.size()), values.data(), error);
  return error.take();
}

Outcome process(const Processor& processor, const Frame& input) {
  ErrorSlot error;
  Frame frame(vy_frame_processor_process_frame(processor.get(), input.get(), error));
  return {std::move(frame), error.take()};
}

void setDeviceList(int type, const std::vector<std::uint8_t>& bytes) {
  vy_set_device_info_data(type, bytes.data(), static_cast<int>(bytes.size()), NoFailure());
}

Frame makeFrame(int format, int pixelType, std::uint32_t width, std::uint32_t height) {
  return Frame(vysim_create_frame(width, height, static_cast<VYFormat>(format), static_cast<VYPixelType>(pixelType),
                                  NoFailure()));
}

void defineFilter(const vysim_filter_definition& definition) {
  vysim_define_filter(&definition, NoFailure());
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
  return frame != nullptr ? vysim_frame_get_data(frame.get(), NoFailure())[0] : 0;
}

std::vector<std::string> splitLines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> callsOf(const std::string& function, const std::string& calls) {
  std::vector<std::string> found;
  for (const std::string& line : splitLines(calls)) {
    if (line.compare(0, function.size() + 1, function + "(") == 0) found.push_back(line);
  }
  return found;
}

// Of the leak checker; absent in other builds.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

LeakTolerance::LeakTolerance() {
  if (__lsan_disable != nullptr) __lsan_disable();
}

LeakTolerance::~LeakTolerance() {
  if (__lsan_enable != nullptr) __lsan_enable();
}

HostTest::HostTest() {
  vysim_reset();
  for (const int type : {0, 3, 6}) setDeviceList(type, {0});  // less than a record: empties the list
  for (std::size_t kind = 0; kind < aliveBefore_.size(); ++kind) {
    aliveBefore_[kind] = vysim_live_count(static_cast<vysim_kind>(kind));
  }
}

// Not TearDown(): what derived fixtures hold is gone only here.
HostTest::~HostTest() {
  EXPECT_EQ(vysim_fail_count(), ordered_) << "a fault that was ordered did not strike";
  vysim_reset();
  for (std::size_t kind = 0; kind < aliveBefore_.size(); ++kind) {
    EXPECT_EQ(vysim_live_count(static_cast<vysim_kind>(kind)), aliveBefore_[kind])
        << vysim_kind_name(static_cast<vysim_kind>(kind)) << " objects alive at the end";
  }
}

void HostTest::failCall(const char* function, std::uint64_t nth, vysim_fault kind) {
  vysim_fail_call(function, nth, kind);
  ++ordered_;
}

void HostTest::failCalls(const std::vector<Fault>& faults) {
  for (const Fault& fault : faults) failCall(fault.function, fault.nth, fault.kind);
}
