#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "Commands.h"
#include "Failure.h"

namespace vyhost {
namespace {

namespace fs = std::filesystem;

constexpr char kLibrary[] = "libvy_frame_processor.so." VY_SOVERSION;

/// The folder of the recording library: beside the program's own in the build, in one of its own when installed.
fs::path twinFolder() {
  const fs::path prefix = fs::canonical("/proc/self/exe").parent_path().parent_path();
  std::vector<fs::path> folders = {prefix / "recording", prefix / "lib" / "vy-recording"};
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(prefix / "lib", none))
    folders.push_back(entry.path() / "vy-recording");
  for (const fs::path& folder : folders) {
    if (fs::exists(folder / kLibrary, none)) return folder;
  }
  throw Failure(
      fmt::format("there is no recording library {0}; it is in {1}/lib/vy-recording when installed, and in "
                  "{1}/recording in the build",
                  kLibrary, prefix.string()));
}

/// Where recordings of a run come to be: under a name, with "-2" and so on before its ending if there is one already;
/// or in a folder, under names with the number of the process.
class Place {
 public:
  explicit Place(const std::string& out) : place_((currentFolder() / out).lexically_normal()) {
    const fs::file_status status = fs::status(place_);
    isFolder_ = fs::is_directory(status);
    folder_ = isFolder_ ? place_ : place_.parent_path();
    if (fs::exists(status) && !isFolder_ && !fs::is_regular_file(status)) {
      throw Failure(out + " is neither a file nor a folder; name one of these for the recording");
    }
    if (::access(folder_.c_str(), W_OK | X_OK) != 0) {
      throw Failure(fmt::format("cannot write to the folder {}: {}", folder_.string(), std::strerror(errno)));
    }
    before_ = files();
  }

  const fs::path& path() const { return place_; }

  /// The recordings that have come to be.
  std::vector<fs::path> newFiles() const {
    std::vector<fs::path> found;
    for (const fs::path& file : files()) {
      if (before_.count(file) == 0) found.push_back(file);
    }
    return found;
  }

 private:
  static fs::path currentFolder() {
    std::error_code error;
    fs::path folder = fs::current_path(error);
    if (error) throw Failure("cannot write to the current folder: " + error.message());
    return folder;
  }

  std::set<fs::path> files() const {
    std::set<fs::path> found;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      if (isRecording(entry.path().filename())) found.insert(entry.path());
    }
    return found;
  }

  bool isRecording(const fs::path& name) const {
    const std::string stem = isFolder_ ? "vy-recording" : place_.stem().string();
    if (name.extension() != (isFolder_ ? fs::path(".mcap") : place_.extension())) return false;
    const std::string own = name.stem().string();
    if (own.compare(0, stem.size(), stem) != 0) return false;
    const std::string rest = own.substr(stem.size());
    return rest.empty() ? !isFolder_ : rest[0] == '-' && rest.find_first_not_of("-0123456789") == std::string::npos;
  }

  fs::path place_, folder_;
  bool isFolder_ = false;
  std::set<fs::path> before_;
};

/// This process's environment, with some of its variables changed.
class Environment {
 public:
  Environment() {
    for (char** entry = environ; *entry != nullptr; ++entry) entries_.emplace_back(*entry);
  }
  void set(const std::string& name, const std::string& value) {
    const std::string begin = name + "=";
    entries_.erase(std::remove_if(entries_.begin(), entries_.end(),
                                  [&begin](const std::string& each) { return each.rfind(begin, 0) == 0; }),
                   entries_.end());
    entries_.push_back(begin + value);
  }
  std::vector<std::string>& entries() { return entries_; }

 private:
  std::vector<std::string> entries_;
};

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

volatile sig_atomic_t child = 0;

void passOn(int signal) {
  if (child > 0) ::kill(child, signal);
}

/// Runs a program to its end. What ends this process, ends that one: the terminal sends some signals to both, the
/// others are passed on.
int runProgram(std::vector<std::string> command, Environment environment) {
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  sigset_t defaults, mask;
  ::sigemptyset(&defaults);
  for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
    struct sigaction action = {}, before = {};
    action.sa_handler = signal == SIGINT || signal == SIGQUIT ? SIG_IGN : passOn;
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN) continue;
    ::sigaction(signal, &action, nullptr);
    ::sigaddset(&defaults, signal);
  }
  // None comes before it is known to whom it is to be passed on.
  ::sigprocmask(SIG_BLOCK, &defaults, &mask);
  ::posix_spawnattr_setsigdefault(&attributes, &defaults);
  ::posix_spawnattr_setsigmask(&attributes, &mask);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

  pid_t process = 0;
  const int error = ::posix_spawnp(&process, command[0].c_str(), nullptr, &attributes, pointersTo(command).data(),
                                   pointersTo(environment.entries()).data());
  ::posix_spawnattr_destroy(&attributes);
  if (error != 0) throw Failure(fmt::format("cannot run {}: {}", command[0], std::strerror(error)));
  child = process;
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
  int status = 0;
  while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  constexpr int kSignalled = 128;
  return WIFSIGNALED(status) ? kSignalled + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

int record(const RecordOptions& options) {
  const fs::path folder = twinFolder();
  const Place place(options.out);
  Environment environment;
  const char* const libraryPath = std::getenv("LD_LIBRARY_PATH");
  const bool hasPath = libraryPath != nullptr && *libraryPath != '\0';
  environment.set("LD_LIBRARY_PATH", folder.string() + (hasPath ? std::string(":") + libraryPath : ""));
  environment.set("VY_RECORDING", place.path().string());
  const int exitCode = runProgram(options.command, environment);

  const std::vector<fs::path> files = place.newFiles();
  for (const fs::path& file : files) fmt::print(stderr, "vyhost: the recording is {}\n", file.string());
  if (files.empty()) {
    fmt::print(stderr,
               "vyhost: there is no recording, as {} made no call into the recording library; a program that loads {} "
               "by a path of its own must be given {}\n",
               options.command[0], kLibrary, (folder / kLibrary).string());
  }
  return exitCode;
}

}  // namespace vyhost
