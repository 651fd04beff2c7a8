#include <fmt/format.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cstdio>
#include <system_error>

#include "Commands.h"
#include "Failure.h"
#include "Image.h"
#include "view/Server.h"

namespace vycam {
namespace {

/// The signals that end the viewer; while it lives they wait for await().
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    struct sigaction hangUp {};
    sigaction(SIGHUP, nullptr, &hangUp);
    if (hangUp.sa_handler != SIG_IGN) {  // nohup has it ignored
      sigaddset(&signals_, SIGHUP);
    }
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  }
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  const sigset_t& maskBefore() const { return before_; }
  void await() const {
    int signal = 0;
    sigwait(&signals_, &signal);
  }

 private:
  sigset_t signals_{}, before_{};
};

void openInBrowser(const std::string& address, const sigset_t& mask) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setsigmask(&attributes, &mask);
  std::string program = "xdg-open";
  std::string argument = address;
  char* const arguments[] = {program.data(), argument.data(), nullptr};
  const int error = posix_spawnp(nullptr, program.c_str(), nullptr, &attributes, arguments, environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    fmt::print(stderr, "vycam: cannot open the address with xdg-open: {}\n", std::generic_category().message(error));
  }
}

}  // namespace

void view(const Library& library, const ViewArguments& arguments) {
  const EndSignals signals;  // before any thread, as threads begin with their maker's mask
  LiveOptions options;
  for (const std::string& camera : arguments.cameras) {
    options.cameras.push_back(parseCameraChoice(camera));
  }
  if (options.cameras.empty()) {
    options.cameras.push_back(parseCameraChoice("Corvid"));
  }
  if (!arguments.depthFile.empty()) {
    options.depth = readGreyPng(arguments.depthFile);
    options.size = {options.depth->width, options.depth->height};
  }
  if (!arguments.size.empty()) {
    options.size = parseFrameSize(arguments.size);
  }
  options.isClean = arguments.clean;
  LiveCameras cameras(library, options);
  ServerOptions serverOptions;
  serverOptions.port = arguments.port;
  const Server server(cameras, serverOptions);
  fmt::print("{}\n", server.address());
  std::fflush(stdout);
  if (arguments.opensBrowser) {
    openInBrowser(server.address(), signals.maskBefore());
  }
  signals.await();
}

}  // namespace vycam
