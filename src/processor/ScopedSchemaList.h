#pragma once

#include "host/HostErrorSlot.h"
#include "processor/FilterConfig.h"

/// A filter's schema list, obtained and given back through the filter's record. Errors of giving back are absorbed.
class ScopedSchemaList {
 public:
  /// Asks for the list. If that fails, the error is in `*error` and there is nothing to give back. A list may be null
  /// without an error: the record's functions know what to make of it.
  ScopedSchemaList(const vy_filter_t* filter, const FilterConfig& config, vy_error** error)
      : config_(config),
        formerError_(*error),
        list_(config.get_config_schema_list(filter, error)),
        obtained_(*error == formerError_) {}
  ScopedSchemaList(const ScopedSchemaList&) = delete;
  ScopedSchemaList& operator=(const ScopedSchemaList&) = delete;
  ~ScopedSchemaList() {
    if (obtained_) HostErrorSlot().call(config_.delete_config_schema_list, list_);
  }

  const vy_filter_config_schema_list_t* get() const noexcept { return list_; }

 private:
  const FilterConfig& config_;
  const vy_error* const formerError_;
  vy_filter_config_schema_list_t* const list_;
  const bool obtained_;
};
