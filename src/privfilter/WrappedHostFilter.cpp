#include "privfilter/WrappedHostFilter.h"

#include <stdexcept>

#include "host/commonTypes.h"

namespace {

constexpr const char* kNullFilter = "filter is nullptr";

}  // namespace

WrappedHostFilter::WrappedHostFilter(const char* hostFilterName) {
  HostErrorSlot slot;
  vy_filter_t* const filter = slot.call(vy_create_private_filter, hostFilterName);
  if (filter == nullptr || slot.isSet()) throw std::runtime_error("create filter failed");
  filter_ = filter;
}

WrappedHostFilter::~WrappedHostFilter() {
  if (filter_ != nullptr) HostErrorSlot().call(vy_delete_filter, filter_);
}

bool WrappedHostFilter::hasFilter(const char* operation, vy_error** error) const {
  return checkArgument(filter_ != nullptr, kNullFilter, operation, error);
}

vy_frame_t* WrappedHostFilter::processByHost(const vy_frame_t* frame, HostErrorSlot& slot) {
  vy_frame_t* const result = slot.call(vy_filter_process, filter_, frame);
  if (!slot.isSet()) return result;
  if (result != nullptr) HostErrorSlot().call(vy_delete_frame, result);
  return nullptr;
}

vy_filter_t* WrappedHostFilter::get_filter(vy_error** /*error*/) {
  return filter_;
}

const char* WrappedHostFilter::get_filter_name(vy_error** error) {
  if (!hasFilter(__func__, error)) return nullptr;
  return vy_filter_get_name(filter_, error);
}

vy_filter_config_schema_list_t* WrappedHostFilter::get_config_schema_list(const vy_filter_t* filter, vy_error** error) {
  // The handle passed in counts, not the one inside.
  if (!checkArgument(filter != nullptr, kNullFilter, __func__, error)) return nullptr;
  return vy_filter_get_config_schema_list(filter, error);
}

void WrappedHostFilter::delete_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error) {
  if (list != nullptr) vy_delete_filter_config_schema_list(list, error);
}

void WrappedHostFilter::enable_filter(bool enable, vy_error** /*error*/) {
  enabled_ = enable;
}

bool WrappedHostFilter::is_filter_enabled(vy_error** /*error*/) {
  return enabled_;
}
