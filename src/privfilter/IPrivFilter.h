#pragma once

#include <TavrixSDK.h>

#include <cstdint>

/// A filter that the library implements itself. The host knows it by the handle of the host filter inside (get_filter).
///
/// Every operation reports failure in its error slot. Objects are destroyed by the shared owner that was made for their
/// concrete type, and therefore have no virtual destructor.
class IPrivFilter {
 public:
  /// The name that the registry creates the filter by.
  virtual const char* get_name() = 0;
  virtual vy_filter_t* get_filter(vy_error** error) = 0;
  /// The name that the host reports for the filter inside.
  virtual const char* get_filter_name(vy_error** error) = 0;
  virtual const char* get_filter_config_schema(vy_error** error) = 0;
  virtual void update_filter_config(std::uint32_t argc, const char** argv, vy_error** error) = 0;
  /// The list of the handle passed in; given back through delete_config_schema_list.
  virtual vy_filter_config_schema_list_t* get_config_schema_list(const vy_filter_t* filter, vy_error** error) = 0;
  virtual void delete_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error) = 0;
  virtual double get_config_value(const char* name, vy_error** error) = 0;
  virtual void set_config_value(const char* name, double value, vy_error** error) = 0;
  virtual void enable_filter(bool enable, vy_error** error) = 0;
  virtual bool is_filter_enabled(vy_error** error) = 0;
  /// A new frame reference owned by the caller, or null.
  virtual vy_frame_t* filter_process(const vy_frame_t* frame, vy_error** error) = 0;
  virtual void reset_filter(vy_error** error) = 0;
  virtual std::uint32_t get_config_schema_list_count(const vy_filter_config_schema_list_t* list, vy_error** error) = 0;
  virtual VYFilterConfigSchemaItem get_config_schema_list_item(const vy_filter_config_schema_list_t* list,
                                                               std::uint32_t index, vy_error** error) = 0;
};
