// The recording twin in processes of their own: what becomes of the recording, and that its host does not notice it.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Recording.h"
#include "support/Scenario.h"

namespace {

namespace fs = std::filesystem;
using vyhost::Call;
using vyhost::Recording;

/// A camera's sensor, from opening to closing.
class Session : public Scenario {
 public:
  using Scenario::Scenario;

  /// Differs when any output differs.
  std::uint64_t digest() const { return digest_; }

 private:
  void call(Step /*step*/, const Work& work) override {
    ErrorSlot slot;
    errno = 77;
    work(slot);
    EXPECT_EQ(errno, 77) << "a call of the library changes errno";
    EXPECT_EQ(slot.take(), kNoError);
  }
  void receive(const Frame& /*input*/, Frame output) override {
    if (output == nullptr) return;
    const std::uint8_t* const data = vysim_frame_get_data(output.get(), nullptr);
    const std::size_t size = vysim_frame_get_size(output.get(), nullptr);
    for (std::size_t i = 0; i < size; ++i) digest_ = (digest_ ^ data[i]) * 1099511628211U;
  }

  std::uint64_t digest_ = 14695981039346656037U;
};

SensorCase corvidDepth() {
  for (SensorCase& sensor : openSensors(*vysim_find_family("Corvid"))) {
    if (sensor.sensor == VY_SENSOR_DEPTH) return std::move(sensor);
  }
  throw std::logic_error("the Corvid has no depth sensor");
}

std::uint64_t runCamera(const SensorCase& sensor = corvidDepth()) {
  Session camera(sensor);
  camera.run();
  return camera.digest();
}

class RecordingTest : public testing::Test {
 protected:
  RecordingTest()
      : folder_(testing::TempDir() + "vyfp-recording-" + std::to_string(::getpid())), file_(folder_ / "t.mcap") {
    fs::create_directories(folder_);
    ::setenv("VY_RECORDING", file_.c_str(), 1);
  }
  ~RecordingTest() override { fs::remove_all(folder_); }

  /// Does some work in a process of its own, where the twin begins anew, and expects it to end well. What it expects is
  /// reported there. Returns what it said on standard error.
  std::string inProcess(const std::function<void()>& work) {
    const fs::path said = folder_ / "stderr";
    const pid_t child = start([&] {
      std::freopen(said.c_str(), "w", stderr);
      work();
      std::fflush(nullptr);
    });
    int status = 0;
    ::waitpid(child, &status, 0);
    std::ifstream in(said);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    EXPECT_EQ(status, 0) << "the process fails: " << text;
    return text;
  }

  template <typename Work>
  static pid_t start(const Work& work) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child != 0) return child;
    work();
    std::fflush(nullptr);
    std::_Exit(HasFailure() ? 1 : 0);
  }

  /// The recording, none of whose records may be damaged.
  Recording read() const { return read(file_); }
  static Recording read(const fs::path& path) {
    Recording recording = Recording::read(path);
    EXPECT_EQ(recording.damagedRecords, 0U);
    return recording;
  }

  const fs::path folder_;
  const fs::path file_;
};

std::vector<const Call*> callsOf(const Recording& recording, const std::string& function) {
  std::vector<const Call*> calls;
  for (const Call& call : recording.calls) {
    if (call.function->name == function) calls.push_back(&call);
  }
  return calls;
}

std::size_t countUnreturned(const Recording& recording) {
  return static_cast<std::size_t>(std::count_if(recording.calls.begin(), recording.calls.end(),
                                                [](const Call& call) { return !call.hasReturned(); }));
}

// That the recorded calls are those that were made, also on several threads and with exceptions, is seen where the
// sessions of tests/vyhost are replayed.
TEST_F(RecordingTest, TellsOfTheMachineAndWhatErrorsSay) {
  EXPECT_EQ(inProcess([] {
              vysim_fail_call("vy_delete_filter", 1, VYSIM_FAULT_ERROR);
              runCamera();
            }),
            "");
  const Recording recording = read();
  EXPECT_EQ(countUnreturned(recording), 0U);
  EXPECT_EQ(recording.about.at("pointer_bits"), std::to_string(8 * sizeof(void*)));
  EXPECT_EQ(recording.about.count("commit") + recording.about.count("machine") + recording.about.count("date"), 3U);
  const Call deletion = *callsOf(recording, "vy_delete_filter").at(0);
  ASSERT_TRUE(deletion.newError.has_value());
  EXPECT_EQ(deletion.newError->message, injectedError("").message);
  EXPECT_EQ(deletion.newError->function, "vy_delete_filter");
}

/// Something that keeps the recorder from its work: environment, what else, and what it says then.
struct Obstacle {
  const char* name;
  const char* file;
  const char* limit;
  std::function<void()> prepare;
  const char* said;
};

TEST_F(RecordingTest, NothingThatGoesWrongReachesTheHost) {
  std::uint64_t expected = 0;
  int link[2];
  ASSERT_EQ(::pipe(link), 0);
  inProcess([&] {
    ::setenv("VY_RECORDING_LIMIT", "none", 1);  // so that nothing is recorded
    const std::uint64_t digest = runCamera();
    EXPECT_EQ(::write(link[1], &digest, sizeof digest), static_cast<ssize_t>(sizeof digest));
  });
  ASSERT_EQ(::read(link[0], &expected, sizeof expected), static_cast<ssize_t>(sizeof expected));

  const auto nothing = [] {};
  const auto limitFiles = [] {
    const rlimit limit = {20000, 20000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  };
  const std::string there = folder_ / "there.mcap";
  std::ofstream(there) << "precious";
  const std::string inFolder = folder_ / "folder";
  fs::create_directory(inFolder);
  const Obstacle obstacles[] = {
      {"full disk", "/dev/full", nullptr, nothing, "cannot write"},
      {"no such folder", "/no/such/folder/t.mcap", nullptr, nothing, "cannot create"},
      {"folder without room for files", "/proc", nullptr, nothing, "cannot create"},
      {"pipe", nullptr, nullptr, [this] { ::mkfifo(file_.c_str(), 0600); }, ""},
      {"limit that is no number", nullptr, "12 bytes", nothing, "a number of bytes"},
      {"limit out of range", nullptr, "99999999999999999999G", nothing, "a number of bytes"},
      {"limit below the beginning", nullptr, "100", nothing, "takes more"},
      {"limit", nullptr, "20K", nothing, ""},
      {"size limit of the process", nullptr, nullptr, limitFiles, ""},
      {"file that is there", there.c_str(), nullptr, nothing, ""},
      {"folder", inFolder.c_str(), nullptr, nothing, ""},
  };
  for (const Obstacle& obstacle : obstacles) {
    SCOPED_TRACE(obstacle.name);
    fs::remove(file_);
    const std::string said = inProcess([&] {
      if (obstacle.file != nullptr) ::setenv("VY_RECORDING", obstacle.file, 1);
      if (obstacle.limit != nullptr) ::setenv("VY_RECORDING_LIMIT", obstacle.limit, 1);
      obstacle.prepare();
      EXPECT_EQ(runCamera(), expected);
    });
    const bool isSilent = *obstacle.said == '\0';
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), isSilent ? 0 : 1) << said;
    EXPECT_NE(said.find(obstacle.said), std::string::npos) << said;
    const bool isLimited =
        std::string(obstacle.name) == "limit" || obstacle.prepare.target_type() == typeid(limitFiles);
    if (isLimited && fs::is_regular_file(file_)) {
      EXPECT_LE(fs::file_size(file_), 20480U);
      EXPECT_GE(fs::file_size(file_), 19000U);
      EXPECT_NE(read().note.find("the recording ends at "), std::string::npos) << read().note;
    }
  }
  std::ifstream in(there);
  EXPECT_EQ((std::string{std::istreambuf_iterator<char>(in), {}}), "precious");
  EXPECT_FALSE(read(folder_ / "there-2.mcap").calls.empty());
  const auto files = fs::directory_iterator(inFolder);
  EXPECT_EQ(files->path().filename().string().rfind("vy-recording-", 0), 0U);
  EXPECT_FALSE(read(files->path()).calls.empty());
}

TEST_F(RecordingTest, KilledProcessLosesNoFinishedCall) {
  constexpr int kKills = 200;
  int within = 0;  // kills that hit a call
  std::mt19937 random(1);
  const SensorCase sensor = corvidDepth();
  for (int i = 0; i < kKills; ++i) {
    SCOPED_TRACE(i);
    fs::remove(file_);
    int link[2];
    ASSERT_EQ(::pipe(link), 0);
    const pid_t child = start([&] {
      for (;;) {
        runCamera(sensor);
        const char done = 1;
        static_cast<void>(::write(link[1], &done, 1));
      }
    });
    // Some sessions, and a random piece of the next.
    const auto sessions = random() % 2;
    char done = 0;
    for (std::size_t session = 0; session < sessions; ++session) ASSERT_EQ(::read(link[0], &done, 1), 1);
    for (volatile auto turns = random() % 500000; turns != 0; turns = turns - 1) {
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(link[0]);
    ::close(link[1]);
    if (!fs::exists(file_) || fs::file_size(file_) == 0) {
      EXPECT_EQ(sessions, 0U);  // it had not come to its first call
      continue;
    }
    const Recording recording = read();
    EXPECT_GE(callsOf(recording, "vy_destroy_frame_processor_context").size(), sessions);
    // The record that the file ends with tells which calls the process was in: no other record is missing.
    std::size_t open = 0;
    if (!recording.events.empty()) {
      const auto [last, isReturn] = recording.events.back();
      open = isReturn ? 0 : 1;
      for (auto parent = recording.calls[last].parent; parent; parent = recording.calls[*parent].parent) ++open;
    }
    EXPECT_EQ(countUnreturned(recording), open);
    if (open != 0) ++within;
  }
  EXPECT_GT(within, 0) << "no kill hit a call";
}

TEST_F(RecordingTest, AChildProcessLeavesTheRecordingToItsParent) {
  inProcess([] {
    runCamera();
    const pid_t child = ::fork();
    if (child == 0) {
      runCamera();
      std::_Exit(0);
    }
    ::waitpid(child, nullptr, 0);
    runCamera();
  });
  EXPECT_EQ(callsOf(read(), "vy_create_frame_processor_context").size(), 2U);
  EXPECT_EQ(countUnreturned(read()), 0U);
}

TEST_F(RecordingTest, AProcessMayForkWithinAHostFunction) {
  inProcess([] {
    vysim_filter_definition definition = {};
    definition.name = "CorvidPixelOffsetFix";
    definition.process = [](void*, const vy_frame_t* frame, vy_error** error) {
      static bool hasForked = false;
      if (!hasForked) {
        hasForked = true;
        const pid_t child = ::fork();
        EXPECT_EQ(child == 0 || ::waitpid(child, nullptr, 0) == child, true);
        if (child == 0) ::setenv("VYFP_TEST_CHILD", "1", 1);
      }
      vy_frame_add_ref(frame, error);
      return const_cast<vy_frame_t*>(frame);
    };
    defineFilter(definition);
    runCamera();
    if (std::getenv("VYFP_TEST_CHILD") != nullptr) std::_Exit(0);
  });
  EXPECT_EQ(callsOf(read(), "vy_frame_processor_process_frame").size(), 6U);
  EXPECT_EQ(countUnreturned(read()), 0U);
}

TEST_F(RecordingTest, ACancelledThreadDoesNotEndInTheRecorder) {
  inProcess([] {
    static bool isDone = false;
    pthread_t thread = {};
    ::pthread_create(
        &thread, nullptr,
        [](void*) -> void* {
          ::pthread_cancel(::pthread_self());  // acted upon at the next call that may wait, such as write()
          const SensorCase sensor = corvidDepth();
          const Context context(call(vy_create_frame_processor_context, sensor.device.get()));
          isDone = true;
          return nullptr;
        },
        nullptr);
    ::pthread_join(thread, nullptr);
    EXPECT_TRUE(isDone);
  });
  EXPECT_EQ(countUnreturned(read()), 0U);
}

TEST_F(RecordingTest, ClosedStandardStreamsDoNotBecomeTheRecording) {
  inProcess([] {
    for (int stream = 0; stream <= 2; ++stream) ::close(stream);
    runCamera();
    for (int stream = 0; stream <= 2; ++stream) EXPECT_LT(::write(stream, "not a record", 12), 0);
    runCamera();
  });
  EXPECT_EQ(callsOf(read(), "vy_create_frame_processor_context").size(), 2U);
}

}  // namespace
