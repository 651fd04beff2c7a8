#pragma once

#include "host/HostErrorSlot.h"
#include "privfilter/IPrivFilter.h"

/// What the library's filters have in common: a private host filter that they own, and a switch that the host filter is
/// not told of.
class WrappedHostFilter : public IPrivFilter {
 public:
  WrappedHostFilter(const WrappedHostFilter&) = delete;
  WrappedHostFilter& operator=(const WrappedHostFilter&) = delete;
  virtual ~WrappedHostFilter();

  vy_filter_t* get_filter(vy_error** error) override;
  const char* get_filter_name(vy_error** error) override;
  vy_filter_config_schema_list_t* get_config_schema_list(const vy_filter_t* filter, vy_error** error) override;
  void delete_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error) override;
  void enable_filter(bool enable, vy_error** error) override;
  bool is_filter_enabled(vy_error** error) override;

 protected:
  /// Creates the host filter; throws std::runtime_error "create filter failed" when the host cannot.
  explicit WrappedHostFilter(const char* hostFilterName);
  /// True when there is a host filter to work with; otherwise reports "filter is nullptr" under the operation's name.
  bool hasFilter(const char* operation, vy_error** error) const;

  /// Runs the host filter. The result is null when the slot holds an error afterwards; a frame that came with it is
  /// released.
  vy_frame_t* processByHost(const vy_frame_t* frame, HostErrorSlot& slot);

  vy_filter_t* filter_ = nullptr;

 private:
  bool enabled_ = false;
};
