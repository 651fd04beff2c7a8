#include "Trial.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "Failure.h"

namespace vyhost {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kStepSize = 128;
/// What the child writes last.
constexpr char kDone = '.';

/// A page that both processes see.
class SharedText {
 public:
  SharedText()
      : text_(static_cast<char*>(mmap(nullptr, kStepSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    if (text_ == MAP_FAILED) throw Failure("no memory for a check; stop other programs and try again");
  }
  SharedText(const SharedText&) = delete;
  SharedText& operator=(const SharedText&) = delete;
  ~SharedText() { munmap(text_, kStepSize); }

  char* get() const { return text_; }

 private:
  char* text_;
};

[[noreturn]] void beChild(int pipe, char* step, const std::function<void(Trial&)>& body) {
  // A group of its own, so that processes that the host starts end with it; and no longer than the command itself.
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  // What the host prints is no part of the report.
  const int nowhere = open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);

  Trial trial(pipe, step);
  try {
    body(trial);
  } catch (const std::exception& error) {
    trial.fail(fmt::format("an exception left {}: {}", step, error.what()));
  } catch (...) {
    trial.fail(fmt::format("an exception left {}", step));
  }
  static_cast<void>(write(pipe, &kDone, 1));
  // No destructor and no exit handler of the host's runs.
  _exit(0);
}

/// Reads what the child writes until it says that it is done, its end of the pipe closes, or time is up.
std::string readUntil(int pipe, Clock::time_point deadline) {
  std::string bytes;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd waiting{pipe, POLLIN, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(std::max<long long>(left, 0)));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return bytes;
    char buffer[4096];
    const ssize_t size = read(pipe, buffer, sizeof buffer);
    if (size <= 0) return bytes;
    bytes.append(buffer, static_cast<std::size_t>(size));
    if (bytes.back() == kDone && (bytes.size() == 1 || bytes[bytes.size() - 2] == '\0')) return bytes;
  }
}

/// Takes the messages out of what the child wrote. Whether it came to its end.
bool parse(const std::string& bytes, std::vector<Outcome::Message>& messages) {
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = bytes.find('\0', begin)) != std::string::npos; begin = end + 1)
    messages.push_back({static_cast<Verdict>(bytes[begin] - '0'), bytes.substr(begin + 1, end - begin - 1)});
  return begin < bytes.size() && bytes[begin] == kDone;
}

}  // namespace

void Trial::at(const char* step) {
  std::snprintf(step_, kStepSize, "%s", step);
}

void Trial::send(Verdict verdict, const std::string& text) {
  std::string message(1, static_cast<char>('0' + static_cast<int>(verdict)));
  message.append(text.c_str()).push_back('\0');
  for (std::size_t sent = 0; sent < message.size();) {
    const ssize_t size = write(pipe_, message.data() + sent, message.size() - sent);
    if (size < 0 && errno != EINTR) _exit(1);
    if (size > 0) sent += static_cast<std::size_t>(size);
  }
}

Outcome runInChild(std::chrono::milliseconds limit, const std::function<void(Trial&)>& body) {
  const SharedText step;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(fmt::format("cannot make a pipe: {}", std::strerror(errno)));
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) throw Failure(fmt::format("cannot start a process for a check: {}", std::strerror(errno)));
  if (child == 0) beChild(ends[1], step.get(), body);
  close(ends[1]);

  const std::string bytes = readUntil(ends[0], Clock::now() + limit);
  close(ends[0]);
  Outcome outcome;
  const bool isDone = parse(bytes, outcome.messages);
  // A process that has died already cannot be killed: its status says what it died of.
  int status = 0;
  const bool hasDied = waitpid(child, &status, WNOHANG) == child;
  kill(-child, SIGKILL);
  if (!hasDied) {
    kill(child, SIGKILL);
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
  }
  if (isDone) return outcome;

  const char* const place = *step.get() != '\0' ? step.get() : "loading the library";
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) {
    outcome.abruptEnd = fmt::format("{} did not return within {} ms", place, limit.count());
  } else if (WIFSIGNALED(status)) {
    outcome.abruptEnd = fmt::format("{} crashed: {}", place, strsignal(WTERMSIG(status)));
  } else {
    outcome.abruptEnd = fmt::format("{} ended the process with exit code {}", place, WEXITSTATUS(status));
  }
  return outcome;
}

}  // namespace vyhost
