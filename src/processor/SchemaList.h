#ifndef SRC_PROCESSOR_SCHEMALIST_H
#define SRC_PROCESSOR_SCHEMALIST_H

#include "api/HostErrorSlot.h"
#include "processor/FilterConfig.h"

/// A filter's schema list, obtained and given back through the filter's record. Errors of giving back are absorbed.
class SchemaList {
 public:
  /// Asks for the list; an error lands in `*error`, which must be null before, and there is no list then.
  SchemaList(const vy_filter_t* filter, const FilterConfig& config, vy_error** error)
      : config_(config), list_(config.get_config_schema_list(filter, error)), obtained_(*error == nullptr) {}
  SchemaList(const SchemaList&) = delete;
  SchemaList& operator=(const SchemaList&) = delete;
  ~SchemaList() {
    if (!obtained_) return;
    HostErrorSlot ignored;
    config_.delete_config_schema_list(list_, ignored.out());
  }

  /// Whether asking succeeded. The list itself may be null even so; the record's functions know what to make of it.
  bool isObtained() const noexcept { return obtained_; }
  const vy_filter_config_schema_list_t* get() const noexcept { return list_; }

 private:
  const FilterConfig& config_;
  vy_filter_config_schema_list_t* const list_;
  const bool obtained_;
};

#endif  // SRC_PROCESSOR_SCHEMALIST_H
