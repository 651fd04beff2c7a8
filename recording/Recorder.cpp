#include "recording/Recorder.h"

#include <pthread.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <string>

/// vy_get_commit_hash() itself: the recorder is no caller to be recorded.
extern "C" const char* inner_vy_get_commit_hash(void);

// The host may have no such functions: the library itself does not need them.
extern "C" {
__attribute__((weak)) int vy_error_get_status(const vy_error* error);
__attribute__((weak)) const char* vy_error_get_message(const vy_error* error);
__attribute__((weak)) const char* vy_error_get_function(const vy_error* error);
__attribute__((weak)) const char* vy_error_get_args(const vy_error* error);
__attribute__((weak)) int vy_error_get_exception_type(const vy_error* error);
}

namespace recording {
namespace {

struct FunctionRow {
  const char* name;
  const char* argumentNames;
};
constexpr FunctionRow kFunctions[] = {
#define VY_ROW(result, name, parameters, arguments, names, effect) {#name, names},
    VY_HOST_FUNCTIONS(VY_ROW) VY_BARE_HOST_FUNCTIONS(VY_ROW) VY_LIBRARY_FUNCTIONS(VY_ROW)
        VY_BARE_LIBRARY_FUNCTIONS(VY_ROW) VY_PRIVATE_FILTER_FUNCTIONS(VY_ROW)
#undef VY_ROW
};

/// The first functions of the table are the host's; the others are the library's own.
bool isHostFunction(Function function) {
  return function < Function::vy_create_frame_processor_context;
}

constexpr std::uint8_t kHeader = 0x01, kSchema = 0x03, kChannel = 0x04, kMessage = 0x05, kMetadata = 0x0C;
constexpr char kMagic[] = "\x89MCAP0\r\n";

constexpr std::uint16_t kCallSchema = 1, kReturnSchema = 2, kNoteSchema = 3;
constexpr std::uint16_t kNoteChannel = 1;  ///< then two for each function: calls and returns

constexpr char kCallSchemaText[] = R"({"type":"object","title":"a call before it is made","properties":{
"n":{"type":"integer","description":"number of the call"},
"t":{"type":"integer","description":"number of the thread"},
"a":{"type":"array","description":"arguments in order; handles are running numbers by kind, 0 for null"},
"e":{"type":["integer","null"],"description":"error in the slot: its number, 0 for none, null for no slot"},
"crc":{"type":"string","description":"CRC-32 of the bytes before ,\"crc\""}}})";
constexpr char kReturnSchemaText[] = R"({"type":"object","title":"a call that returns","properties":{
"n":{"type":"integer","description":"number of the call"},
"r":{"description":"result; absent for a function without one"},
"e":{"type":["integer","null"],"description":"error in the slot afterwards"},
"error":{"type":"object","description":"what an error says that is seen for the first time"},
"x":{"type":"string","description":"exception that left the call instead"},
"crc":{"type":"string","description":"CRC-32 of the bytes before ,\"crc\""}}})";
constexpr char kNoteSchemaText[] = R"({"type":"object","title":"why the recording ends","properties":{
"note":{"type":"string"}}})";

std::uint64_t nanoseconds(clockid_t clock) {
  timespec time = {};
  ::clock_gettime(clock, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1000000000U + static_cast<std::uint64_t>(time.tv_nsec);
}

std::string processName() {
  char path[4096];
  const ssize_t size = ::readlink("/proc/self/exe", path, sizeof path);
  return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : std::string();
}

std::string dateText() {
  const std::time_t now = std::time(nullptr);
  std::tm utc = {};
  char text[32];
  return ::gmtime_r(&now, &utc) != nullptr && std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc) != 0 ? text
                                                                                                                : "";
}

/// Bytes from a number with an optional K, M or G behind it; 0 for none.
std::uint64_t parseLimit(const char* text) {
  if (text == nullptr) return 0;
  char* unit = nullptr;
  const unsigned long long number = std::strtoull(text, &unit, 10);
  const char* const units = "KMG";
  const char* const found = *unit != '\0' ? std::strchr(units, *unit & ~0x20) : nullptr;
  return found != nullptr ? number << (10 * (found - units + 1)) : number;
}

std::string fileName() {
  const char* const wanted = std::getenv("VY_RECORDING");
  const std::string ownName = "vy-recording-" + std::to_string(::getpid()) + ".mcap";
  if (wanted == nullptr || *wanted == '\0') return ownName;
  struct stat status = {};
  const bool isFolder = ::stat(wanted, &status) == 0 && S_ISDIR(status.st_mode);
  return isFolder ? std::string(wanted) + "/" + ownName : wanted;
}

void tell(const std::string& what) {
  std::fprintf(stderr, "libvy_frame_processor: %s\n", what.c_str());
}

/// Never destroyed: a host may call the library until the very end of its process.
Recorder* instance = nullptr;
std::atomic<bool> isInChild{false};

}  // namespace

ErrorText ErrorText::of(const vy_error* error) {
  ErrorText text;
  if (vy_error_get_status != nullptr) text.status = vy_error_get_status(error);
  if (vy_error_get_exception_type != nullptr) text.exceptionType = vy_error_get_exception_type(error);
  if (vy_error_get_message != nullptr) text.message = vy_error_get_message(error);
  if (vy_error_get_function != nullptr) text.function = vy_error_get_function(error);
  if (vy_error_get_args != nullptr) text.arguments = vy_error_get_args(error);
  return text;
}

unsigned threadNumber() noexcept {
  static std::atomic<unsigned> last{0};
  thread_local const unsigned number = ++last;
  return number;
}

Recorder* Recorder::active() {
  static std::once_flag once;
  std::call_once(once, [] { instance = new (std::nothrow) Recorder; });
  const bool isOn = instance != nullptr && instance->isOn_.load(std::memory_order_relaxed);
  return isOn && !isInChild.load(std::memory_order_relaxed) ? instance : nullptr;
}

Recorder::Recorder() noexcept {
  try {
    start();
  } catch (...) {
    tell("nothing is recorded: out of memory");
  }
}

void Recorder::start() {
  const std::string name = fileName();
  if (!file_.create(name)) {
    tell("nothing is recorded: cannot create " + name + ": " + std::strerror(errno));
    return;
  }
  limit_ = parseLimit(std::getenv("VY_RECORDING_LIMIT"));
  epochOffset_ = nanoseconds(CLOCK_REALTIME) - nanoseconds(CLOCK_MONOTONIC);
  // The child shares the file with its parent.
  ::pthread_atfork(nullptr, nullptr, [] { isInChild.store(true, std::memory_order_relaxed); });

  utsname machine = {};
  ::uname(&machine);
  std::string map;
  for (const auto& [key, value] : std::initializer_list<std::pair<const char*, std::string>>{
           {"version", VY_VERSION},
           {"commit", inner_vy_get_commit_hash()},
           {"machine", std::string(machine.machine) + " " + machine.sysname + " " + machine.release},
           {"pointer_bits", std::to_string(8 * sizeof(void*))},
           {"process", std::to_string(::getpid()) + " " + processName()},
           {"date", dateText()}}) {
    McapRecord entry(0);
    entry.putText(key).putText(value);
    map += entry.finish().substr(9);
  }
  std::string begin(kMagic, sizeof kMagic - 1);
  begin += McapRecord(kHeader).putText("").putText(std::string("libvy_frame_processor ") + VY_VERSION).finish();
  begin += McapRecord(kMetadata).putText("recording").putText(map).finish();
  const auto addSchema = [&begin](std::uint16_t id, const char* schemaName, const char* text) {
    begin += McapRecord(kSchema).put16(id).putText(schemaName).putText("jsonschema").putText(text).finish();
  };
  addSchema(kCallSchema, "call", kCallSchemaText);
  addSchema(kReturnSchema, "return", kReturnSchemaText);
  addSchema(kNoteSchema, "note", kNoteSchemaText);
  begin +=
      McapRecord(kChannel).put16(kNoteChannel).put16(kNoteSchema).putText("note").putText("json").putText("").finish();
  if (file_.write(begin)) {
    isOn_.store(true, std::memory_order_relaxed);
  } else {
    tell("nothing is recorded: cannot write " + file_.path() + ": " + std::strerror(errno));
  }
}

void Recorder::append(Function function, bool isReturn, std::uint64_t call, JsonText& payload) {
  if (!hasChannels_[static_cast<std::size_t>(function)]) writeChannels(function);
  std::string& text = payload.get();
  char checksum[24];
  std::snprintf(checksum, sizeof checksum, ",\"crc\":\"%08" PRIx32 "\"}", crc32(text.data(), text.size()));
  text += checksum;
  const auto channel = static_cast<std::uint16_t>(kNoteChannel + 1 + 2 * static_cast<unsigned>(function) + isReturn);
  writeMessage(channel, call, text);
  if (limit_ != 0 && file_.size() >= limit_) {
    writeMessage(kNoteChannel, call, "{\"note\":\"the recording ends at VY_RECORDING_LIMIT\"}");
    end(nullptr);
  }
}

void Recorder::writeChannels(Function function) {
  const auto index = static_cast<std::size_t>(function);
  hasChannels_[index] = true;
  std::string channels;
  for (const bool isReturn : {false, true}) {
    McapRecord metadata(0);
    metadata.putText("arguments").putText(kFunctions[index].argumentNames);
    metadata.putText("of").putText(isHostFunction(function) ? "host" : "library");
    const std::string topic = std::string(isReturn ? "return/" : "call/") + kFunctions[index].name;
    channels += McapRecord(kChannel)
                    .put16(static_cast<std::uint16_t>(kNoteChannel + 1 + 2 * index + isReturn))
                    .put16(isReturn ? kReturnSchema : kCallSchema)
                    .putText(topic)
                    .putText("json")
                    .putText(metadata.finish().substr(9))
                    .finish();
  }
  if (!file_.write(channels)) end("cannot write");
}

void Recorder::writeMessage(std::uint16_t channel, std::uint64_t call, const std::string& payload) {
  if (!isOn_.load(std::memory_order_relaxed)) return;
  const std::uint64_t time = now();
  McapRecord record(kMessage);
  record.put16(channel).put32(static_cast<std::uint32_t>(call)).put64(time).put64(time).putBytes(payload);
  if (!file_.write(record.finish())) end("cannot write");
}

void Recorder::end(const char* reason) noexcept {
  const int error = errno;
  if (!isOn_.exchange(false)) return;
  file_.close();
  if (reason == nullptr) return;
  std::fprintf(stderr, "libvy_frame_processor: the recording %s has ended: %s: %s\n", file_.path().c_str(), reason,
               std::strerror(error));
}

std::uint64_t Recorder::now() const {
  return epochOffset_ + nanoseconds(CLOCK_MONOTONIC);
}

}  // namespace recording
