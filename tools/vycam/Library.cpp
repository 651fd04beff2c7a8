#include "Library.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "Failure.h"
#include "Host.h"

namespace vycam {
namespace {

constexpr const char* kDefaultName = "libvy_frame_processor.so.1";

/// The types of product-id lists that the library accepts.
constexpr int kListTypes[] = {0, 3, 6};

template <class Function>
void resolve(void* handle, const std::string& path, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(handle, name));
  if (function == nullptr) {
    throw Failure(fmt::format("{} has no function {}: it is not a frame processor library of version 1", path, name));
  }
}

/// The library in the `lib` folder beside the program's folder. The loader looks there by itself, but not under a
/// memory checker that intercepts dlopen(): the program's own search path is ignored then.
std::string besideProgram() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : (program.parent_path() / ".." / "lib" / kDefaultName).string();
}

void* load(const std::string& path) {
  if (!path.empty()) {
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  }
  if (void* const handle = dlopen(kDefaultName, RTLD_NOW | RTLD_LOCAL)) {
    return handle;
  }
  return dlopen(besideProgram().c_str(), RTLD_NOW | RTLD_LOCAL);
}

}  // namespace

Library::Library(const std::string& path) : handle_(load(path)) {
  if (handle_ == nullptr) {
    const char* const reason = dlerror();  // NOLINT(concurrency-mt-unsafe): the program has one thread
    throw Failure(fmt::format("cannot load the library: {} (--library PATH names another one)", reason));
  }
  try {
    resolveFunctions(path.empty() ? kDefaultName : path);
    handOverProductLists();
  } catch (...) {
    dlclose(handle_);
    throw;
  }
}

Library::~Library() {
  dlclose(handle_);
}

void Library::resolveFunctions(const std::string& path) {
  LibraryFunctions& f = functions_;
  resolve(handle_, path, "vy_create_frame_processor_context", f.createContext);
  resolve(handle_, path, "vy_destroy_frame_processor_context", f.destroyContext);
  resolve(handle_, path, "vy_create_frame_processor", f.createProcessor);
  resolve(handle_, path, "vy_destroy_frame_processor", f.destroyProcessor);
  resolve(handle_, path, "vy_frame_processor_process_frame", f.processFrame);
  resolve(handle_, path, "vy_frame_processor_get_config_schema", f.getConfigSchema);
  resolve(handle_, path, "vy_frame_processor_update_config", f.updateConfig);
  resolve(handle_, path, "vy_frame_processor_set_hardware_d2c_params", f.setHardwareD2CParams);
  resolve(handle_, path, "vy_set_device_info_data", f.setDeviceInfoData);
  resolve(handle_, path, "vy_get_commit_hash", f.getCommitHash);
}

// As a host does once at its start, before it opens cameras.
void Library::handOverProductLists() const {
  for (const int type : kListTypes) {
    const uint8_t* data = nullptr;
    const int size = vysim_device_list(type, &data);
    if (size > 0) {
      call("hand the product ids over", functions_.setDeviceInfoData, type, data, size);
    }
  }
}

}  // namespace vycam
