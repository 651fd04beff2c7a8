#pragma once

#include <TavrixSDK.h>

#include <cstdint>
#include <string>
#include <vector>

/// One link of a filter chain: which filter, how it starts, what of it is published, and the functions that drive it.
/// Every call on the filter goes through this table, so that a chain mixes host filters and the library's own freely.
///
/// A plain value. It owns its name and its two lists; the texts of initialArgs are the catalogue's constants.
struct FilterConfig {
  static constexpr std::int32_t kPrivateFilter = 0;  ///< driven by the library's priv_ functions
  static constexpr std::int32_t kHostFilter = 1;     ///< driven by the host's vy_ functions
  static constexpr std::uint8_t kSwitchItem = 255;   ///< among the exposed items: the filter's on/off switch

  std::string name;
  std::int32_t enabled = 0;  ///< starts switched on if and only if this is 1
  std::int32_t kind = 0;
  std::vector<const char*> initialArgs;    ///< given to update_config after creation; none: no such call
  std::vector<std::uint8_t> exposedItems;  ///< published items by index in the filter's schema list

  // Making and naming.
  vy_filter_t* (*create_filter)(const char* name, vy_error** error) = nullptr;
  vy_filter_t* (*create_private_filter)(const char* name, vy_error** error) = nullptr;
  const char* (*get_name)(const vy_filter_t* filter, vy_error** error) = nullptr;
  void (*delete_filter)(vy_filter_t* filter, vy_error** error) = nullptr;

  // Configuration; the caller gives a schema list back with delete_config_schema_list.
  vy_filter_config_schema_list_t* (*get_config_schema_list)(const vy_filter_t* filter, vy_error** error) = nullptr;
  void (*delete_config_schema_list)(vy_filter_config_schema_list_t* list, vy_error** error) = nullptr;
  void (*update_config)(vy_filter_t* filter, std::uint8_t argc, const char** argv, vy_error** error) = nullptr;
  double (*get_config_value)(const vy_filter_t* filter, const char* item, vy_error** error) = nullptr;
  void (*set_config_value)(vy_filter_t* filter, const char* item, double value, vy_error** error) = nullptr;

  // State and work; the frame returned by process is a reference that the caller owns.
  void (*reset)(vy_filter_t* filter, vy_error** error) = nullptr;
  void (*enable)(vy_filter_t* filter, bool enable, vy_error** error) = nullptr;
  bool (*is_enabled)(const vy_filter_t* filter, vy_error** error) = nullptr;
  vy_frame_t* (*process)(vy_filter_t* filter, const vy_frame_t* frame, vy_error** error) = nullptr;

  // Schema lists.
  std::uint32_t (*config_schema_list_get_count)(const vy_filter_config_schema_list_t* list, vy_error** error) = nullptr;
  VYFilterConfigSchemaItem (*config_schema_list_get_item)(const vy_filter_config_schema_list_t* list,
                                                          std::uint32_t index, vy_error** error) = nullptr;

  // The library's own filters only: stays null for host filters.
  void (*set_hardware_d2c_params)(vy_filter_t* filter, VYCameraIntrinsic intrinsic, std::uint8_t reservedByte,
                                  float scale, std::int16_t padLeft, std::int16_t padTop, std::int16_t padRight,
                                  std::int16_t padBottom, bool applyScale, bool reservedFlag,
                                  vy_error** error) = nullptr;
};
