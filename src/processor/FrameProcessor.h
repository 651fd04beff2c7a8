#pragma once

#include <TavrixSDK.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "processor/ChainLink.h"
#include "processor/FilterConfig.h"

/// What the exported functions know of a processor. Destroyed through its concrete type only, by the shared owner that
/// was made for that type, and therefore without a destructor of its own.
class IFrameProcessor {
 public:
  /// See vy_frame_processor_process_frame().
  virtual vy_frame_t* process(vy_frame_t* frame, vy_error** error) = 0;
  /// See vy_frame_processor_get_config_schema(). Never fails.
  virtual const char* getConfigSchema(vy_error** error) = 0;
  /// See vy_frame_processor_update_config().
  virtual void updateConfig(std::uint8_t argc, const char** argv, vy_error** error) = 0;
};

/// The filter chain of one sensor. The chain and its schema text are fixed when the constructor returns; a filter that
/// could not be made, configured or switched is not in it.
class BasicFrameProcessor : public IFrameProcessor {
 public:
  /// Builds the chain. `deviceInfo` is not used. Throws std::bad_alloc only; filters made until then are deleted.
  BasicFrameProcessor(vy_device_info_t* deviceInfo, std::vector<FilterConfig> configs);
  BasicFrameProcessor(const BasicFrameProcessor&) = delete;
  BasicFrameProcessor& operator=(const BasicFrameProcessor&) = delete;

  vy_frame_t* process(vy_frame_t* frame, vy_error** error) override;
  const char* getConfigSchema(vy_error** error) override;
  void updateConfig(std::uint8_t argc, const char** argv, vy_error** error) override;

  /// Deletes the filters in chain order.
  virtual ~BasicFrameProcessor();

  /// Fills the function tables of records by their kind. A record of neither kind is left alone.
  static void registerFunctionPtrs(std::vector<FilterConfig>& configs);

  /// The first filter of the chain that reports this name, with its record; a null filter with a blank record if none.
  std::pair<vy_filter_t*, const FilterConfig&> getFilter(const std::string& name) const;

  /// The schema lines of one filter; what fails on the way is left out silently.
  static std::string generateFilterConfigSchemaCsv(vy_filter_t* filter, const FilterConfig& config);

  /// A text in the canonical form of a configuration value type; empty for a type that is none.
  static std::string convertConfigValueString(const std::string& value, VYFilterConfigValueType type);

  /// The pieces of a text between separators, empty ones included; always at least one.
  static std::vector<std::string> splitString(const std::string& text, char separator);

 protected:
  const std::vector<ChainLink>& filters() const { return filters_; }

 private:
  /// The first column of a schema line.
  struct SettingKey {
    std::string filterName;
    std::uint8_t item;
  };

  static std::vector<SettingKey> parseKeys(const std::string& schema);
  void addFilter(FilterConfig&& config);

  std::vector<ChainLink> filters_;
  std::string configSchema_;
};

/// The depth sensor's processor, which also hands hardware D2C parameters to the private filters of its chain.
class DepthFrameProcessor : public BasicFrameProcessor {
 public:
  DepthFrameProcessor(vy_device_info_t* deviceInfo, std::vector<FilterConfig> configs);
  ~DepthFrameProcessor() override;

  /// See vy_frame_processor_set_hardware_d2c_params(). Errors of the filters are absorbed.
  void setHardwareD2CParams(VYCameraIntrinsic intrinsic, std::uint8_t reservedByte, float scale, std::int16_t padLeft,
                            std::int16_t padTop, std::int16_t padRight, std::int16_t padBottom, bool applyScale,
                            bool reservedFlag);
};
