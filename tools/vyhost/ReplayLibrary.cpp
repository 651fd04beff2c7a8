#include "ReplayLibrary.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <filesystem>
#include <initializer_list>

#include "Failure.h"

namespace vyhost {
namespace {

namespace fs = std::filesystem;

/// A file beside the command: in the folders of the build, or of an installation.
fs::path findBeside(std::initializer_list<const char*> places, const char* what) {
  const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
  for (const char* place : places) {
    std::error_code ignored;
    if (fs::path path = folder / place; fs::exists(path, ignored)) return path.lexically_normal();
  }
  throw Failure(
      fmt::format("cannot find {}; it belongs to {}", what, (folder / *places.begin()).lexically_normal().string()));
}

fs::path findReplayPart(const char* name) {
  const std::string built = fmt::format("../replay/{}", name);
  const std::string installed = fmt::format("../{}/vy-replay/{}", VYHOST_LIBDIR, name);
  return findBeside({built.c_str(), installed.c_str()}, name);
}

void* open(const std::string& path, const char* advice) {
  void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (library == nullptr) throw Failure(fmt::format("cannot load {}: {}; {}", path, ::dlerror(), advice));
  return library;
}

template <typename Function>
Function find(void* library, const char* name) {
  void* const found = ::dlsym(library, name);
  if (found == nullptr) throw Failure(fmt::format("no {} in the library beside vyhost; install it anew", name));
  return reinterpret_cast<Function>(found);
}

}  // namespace

ReplayLibrary ReplayLibrary::load(const std::string& path) {
  ReplayLibrary library;
  library.path = path;
  if (path.empty()) {
    library.path = findBeside({"../lib/libvy_frame_processor.so.1", "../" VYHOST_LIBDIR "/libvy_frame_processor.so.1"},
                              "libvy_frame_processor.so.1, or name one with --library")
                       .string();
  } else if (!fs::exists(path)) {
    throw Failure(fmt::format("no file {}; --library takes the path of a libvy_frame_processor.so.1", path));
  } else {
    library.path = fs::absolute(path).string();
  }
  constexpr const char* kReinstall = "install vyhost anew";
  void* const host = open(findReplayPart("libTavrixSDK.so").string(), kReinstall);
  library.host = find<HostFunctions* (*)()>(host, "vyhost_host_functions")();
  // It asks for a libTavrixSDK.so, and there is one already.
  open(library.path, "--library takes the path of a libvy_frame_processor.so.1");
  void* const calls =
      open(findReplayPart("libvyhost_calls.so").string(), "the library under test lacks the function that is named");
  library.functions = find<LibraryFunctions (*)()>(calls, "vyhost_library_functions")();
  return library;
}

}  // namespace vyhost
