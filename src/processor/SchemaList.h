#pragma once

#include "host/HostErrorSlot.h"
#include "processor/FilterConfig.h"

/// A filter's schema list, obtained and given back through the filter's record. Errors of giving back are absorbed.
class SchemaList {
 public:
  /// Asks for the list; on failure the error lands in `*error`, and there is nothing to give back. A list may be null
  /// without an error: the record's functions know what to make of it.
  SchemaList(const vy_filter_t* filter, const FilterConfig& config, vy_error** error)
      : config_(config),
        formerError_(*error),
        list_(config.get_config_schema_list(filter, error)),
        obtained_(*error == formerError_) {}
  SchemaList(const SchemaList&) = delete;
  SchemaList& operator=(const SchemaList&) = delete;
  ~SchemaList() {
    if (obtained_) HostErrorSlot().call(config_.delete_config_schema_list, list_);
  }

  const vy_filter_config_schema_list_t* get() const noexcept { return list_; }

 private:
  const FilterConfig& config_;
  const vy_error* const formerError_;
  vy_filter_config_schema_list_t* const list_;
  const bool obtained_;
};
