// The frame processor library as a host sees it: loaded at run time, driven through its exported C functions only.
#pragma once

#include <vy_frame_processor.h>

#include <string>

namespace vycam {

/// The library's functions, found by name.
struct LibraryFunctions {
  // Contexts and processors
  decltype(&vy_create_frame_processor_context) createContext;
  decltype(&vy_destroy_frame_processor_context) destroyContext;
  decltype(&vy_create_frame_processor) createProcessor;
  decltype(&vy_destroy_frame_processor) destroyProcessor;

  // Frames and settings of one processor
  decltype(&vy_frame_processor_process_frame) processFrame;
  decltype(&vy_frame_processor_get_config_schema) getConfigSchema;
  decltype(&vy_frame_processor_update_config) updateConfig;
  decltype(&vy_frame_processor_set_hardware_d2c_params) setHardwareD2CParams;

  // The library as a whole
  decltype(&vy_set_device_info_data) setDeviceInfoData;
  decltype(&vy_get_commit_hash) getCommitHash;
};

/// Keeps the library loaded while it lives, so it must outlive everything made through the library.
class Library {
 public:
  /// Loads the library from `path`; an empty path means the library beside the program.
  explicit Library(const std::string& path);
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library();

  const LibraryFunctions& functions() const { return functions_; }
  const LibraryFunctions* operator->() const { return &functions_; }

 private:
  void resolveFunctions(const std::string& path);
  void handOverProductLists() const;

  void* handle_;
  LibraryFunctions functions_{};
};

}  // namespace vycam
