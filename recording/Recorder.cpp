#include "recording/Recorder.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <limits>
#include <new>
#include <string>
#include <utility>

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
constexpr std::size_t kNoteRoom = 256;     ///< bytes kept free below the limit for the note that says so

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

/// Bytes from a number with an optional K, M or G behind it. False if the text says anything else.
bool parseLimit(const char* text, std::uint64_t& limit) {
  if (std::strchr("123456789", *text) == nullptr || *text == '\0') return false;
  char* unit = nullptr;
  errno = 0;
  limit = std::strtoull(text, &unit, 10);
  if (errno != 0) return false;
  if (*unit == '\0') return true;
  constexpr char kUnits[] = "KMG";
  const char* const found = std::strchr(kUnits, *unit & ~0x20);
  if (found == nullptr || *found == '\0' || unit[1] != '\0') return false;
  const auto shift = static_cast<unsigned>(10 * (found - kUnits + 1));
  if (limit > std::numeric_limits<std::uint64_t>::max() >> shift) return false;
  limit <<= shift;
  return true;
}

void tell(const char* what, const char* name, const char* reason) {
  std::fprintf(stderr, "libvy_frame_processor: %s%s: %s\n", what, name, reason);
}

/// The one recorder. It is never destroyed: a host may call the library until the very end of its process.
Recorder& theRecorder() {
  alignas(Recorder) static char storage[sizeof(Recorder)];
  return *static_cast<Recorder*>(static_cast<void*>(storage));
}

thread_local bool isInRecorder = false;

__attribute__((constructor)) void onLoad() {
  ::pthread_atfork(nullptr, nullptr, Recorder::leaveToParent);
}

// At the end of a process this comes after all destructors of static objects.
__attribute__((destructor)) void onUnload() {
  Recorder::unload();
}

}  // namespace

ErrorText ErrorText::of(const vy_error* error) noexcept {
  ErrorText text;
  try {
    if (vy_error_get_status != nullptr) text.status = vy_error_get_status(error);
    if (vy_error_get_exception_type != nullptr) text.exceptionType = vy_error_get_exception_type(error);
    if (vy_error_get_message != nullptr) text.message = vy_error_get_message(error);
    if (vy_error_get_function != nullptr) text.function = vy_error_get_function(error);
    if (vy_error_get_args != nullptr) text.arguments = vy_error_get_args(error);
  } catch (...) {  // then the rest is not known
  }
  return text;
}

Unnoticed::Unnoticed() noexcept : errno_(errno) {
  isInRecorder = true;
  ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_);
}

bool Unnoticed::isUnderWay() noexcept {
  return isInRecorder;
}

Unnoticed::~Unnoticed() {
  isInRecorder = false;
  ::pthread_setcancelstate(cancelState_, nullptr);
  errno = errno_;
}

unsigned threadNumber() noexcept {
  static std::atomic<unsigned> last{0};
  thread_local const unsigned number = ++last;
  return number;
}

std::atomic<Recorder::State> Recorder::state_{State::unused};

Recorder* Recorder::active() noexcept {
  State state = state_.load(std::memory_order_acquire);
  if (state == State::unused && state_.compare_exchange_strong(state, State::starting)) {
    const Unnoticed unnoticed;
    state = (new (&theRecorder()) Recorder)->start() ? State::on : State::off;
    state_.store(state, std::memory_order_release);
  }
  // Waits without a lock, which a child process could find locked by a thread that it has not.
  while (state == State::starting) {
    ::sched_yield();
    state = state_.load(std::memory_order_acquire);
  }
  return state == State::on ? &theRecorder() : nullptr;
}

void Recorder::leaveToParent() noexcept {
  const State state = state_.load();
  if (state == State::unused) return;  // then the child is a process like any other
  state_.store(State::off);
  if (state == State::on) theRecorder().file_.close();
}

void Recorder::unload() noexcept {
  if (state_.exchange(State::off) != State::on) return;
  if (Unnoticed::isUnderWay()) return;  // a signal handler ends the process
  Recorder& recorder = theRecorder();
  const std::lock_guard<std::mutex> lock(recorder.mutex_);
  recorder.file_.close();
  recorder.numbers_ = HandleNumbers();
  recorder.record_ = JsonText();
}

bool Recorder::start() noexcept {
  try {
    return open();
  } catch (...) {
    tell("nothing is recorded", "", "out of memory");
    return false;
  }
}

/// Creates the file and writes its beginning.
bool Recorder::open() {
  limit_ = std::numeric_limits<std::uint64_t>::max();
  limitName_ = "VY_RECORDING_LIMIT";
  const char* const wantedLimit = std::getenv("VY_RECORDING_LIMIT");
  if (wantedLimit != nullptr && *wantedLimit != '\0' && !parseLimit(wantedLimit, limit_)) {
    tell("nothing is recorded: VY_RECORDING_LIMIT is ", wantedLimit, "it is a number of bytes, or 100K, 20M, 1G");
    return false;
  }
  // A write beyond it would end the process.
  rlimit fileSize = {};
  if (::getrlimit(RLIMIT_FSIZE, &fileSize) == 0 && fileSize.rlim_cur != RLIM_INFINITY && fileSize.rlim_cur < limit_) {
    limit_ = fileSize.rlim_cur;
    limitName_ = "the size limit for files of the process";
  }
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  epochOffset_ = sinceEpoch - std::chrono::steady_clock::now().time_since_epoch();

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
    map += entry.finish().substr(kRecordHead);
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
  if (begin.size() + kNoteRoom > limit_) {
    tell("nothing is recorded: ", limitName_, "the beginning of a file alone takes more");
    return false;
  }
  const char* const wanted = std::getenv("VY_RECORDING");
  const std::string ownName = "vy-recording-" + std::to_string(::getpid()) + ".mcap";
  const bool isNamed = wanted != nullptr && *wanted != '\0';
  if (!file_.create(isNamed ? wanted : ownName, ownName)) {
    tell("nothing is recorded: cannot create ", file_.path().c_str(), std::strerror(errno));
    return false;
  }
  if (!file_.write(begin)) {
    tell("nothing is recorded: cannot write ", file_.path().c_str(), std::strerror(errno));
    file_.close();
    return false;
  }
  return true;
}

/// Completes the record of a call and writes it.
void Recorder::append(Function function, bool isReturn, std::uint64_t call) {
  const auto index = static_cast<unsigned>(function);
  if (!hasChannels_[index]) writeChannels(function);
  const std::uint32_t checksum = crc32(record_.data() + kMessageHead, record_.get().size() - kMessageHead);
  record_.raw(",\"crc\":\"").hexadecimal(checksum, 8).raw("\"}");
  const std::uint64_t time = now();
  char* const head = record_.data();
  putLittleEndian(head, kMessage, 1);
  putLittleEndian(head + 1, record_.get().size() - kRecordHead, 8);
  putLittleEndian(head + 9, kNoteChannel + 1 + 2 * index + isReturn, 2);
  putLittleEndian(head + 11, call, 4);
  putLittleEndian(head + 15, time, 8);
  putLittleEndian(head + 23, time, 8);
  put(record_.get());
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
                    .putText(metadata.finish().substr(kRecordHead))
                    .finish();
  }
  put(channels);
}

/// Writes records, or a note in their place when there is no room for both.
void Recorder::put(std::string_view records) {
  if (!isOn()) return;
  if (file_.size() + records.size() + kNoteRoom > limit_) {
    writeNote();
    end(nullptr);
  } else if (!file_.write(records)) {
    end("cannot write");
  }
}

void Recorder::writeNote() {
  const std::uint64_t time = now();
  McapRecord record(kMessage);
  record.put16(kNoteChannel).put32(0).put64(time).put64(time);
  record.putBytes("{\"note\":\"the recording ends at ").putBytes(limitName_).putBytes("\"}");
  file_.write(record.finish());
}

/// Called with the lock held.
void Recorder::end(const char* reason) noexcept {
  const int error = errno;
  if (state_.exchange(State::off) != State::on) return;
  McapFile& file = theRecorder().file_;
  file.close();
  if (reason == nullptr) return;
  std::fprintf(stderr, "libvy_frame_processor: the recording %s has ended: %s: %s\n", file.path().c_str(), reason,
               std::strerror(error));
}

std::uint64_t Recorder::now() const {
  const std::chrono::nanoseconds time = epochOffset_ + std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(time.count());
}

}  // namespace recording
