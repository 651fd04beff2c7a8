#pragma once

#include <atomic>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "core/Frame.h"
#include "core/Object.h"

namespace tavrix {

/// A configuration item of a filter: a VYFilterConfigSchemaItem that is not packed, so that references can be bound to
/// its members. Texts are static, or belong to the definition of the filter.
struct SchemaItem {
  const char* name;
  VYFilterConfigValueType type;
  double min, max, step, def;
  const char* description;
};

using Schema = std::vector<SchemaItem>;

/// A filter: live values of configuration items, and what it does to frames. One filter is for one thread at a time.
class Filter {
 public:
  Filter(std::string name, Schema schema);
  virtual ~Filter() = default;
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;

  /// The name that it was created by.
  const std::string& name() const { return name_; }
  /// The name that it gives itself.
  virtual const char* reportedName() const { return name_.c_str(); }

  bool isEnabled() const { return enabled_; }
  void enable(bool enabled) { enabled_ = enabled; }

  const Schema& schema() const { return schema_; }
  /// The schema as text, a line an item: `name,type,min,max,step,default,description`.
  const char* schemaText();

  double value(const char* item) const;
  void setValue(const char* item, double value);
  /// Takes a text for each item, in the order of the schema. Throws Failure, and changes nothing, where one is refused.
  virtual void updateConfig(size_t count, const char* const* texts);
  /// Puts all values back to their defaults. The switch stays as it is.
  void reset();

  /// Makes the output. Where nothing is to do, the input itself may be the output. The host's filters throw Failure;
  /// `error` is for filters from outside, which make error objects.
  virtual FrameRef process(const FrameLoan& input, vy_error** error) = 0;

 protected:
  double setting(size_t item) const { return values_[item]; }
  /// Throws Failure where values that are each within their range do not go together.
  virtual void checkTogether(const std::vector<double>&) const {}

 private:
  size_t indexOf(const char* item) const;
  void checkValue(const SchemaItem& item, double value) const;

  const std::string name_;
  const Schema schema_;
  std::vector<double> values_;
  std::string schemaText_;
  std::atomic<bool> enabled_{true};
};

/// What a vy_filter_t stands for.
struct FilterObject {
  using Handle = vy_filter_t;
  static constexpr Kind kKind = Kind::filter;

  std::unique_ptr<Filter> filter;
};

/// What a vy_filter_config_schema_list_t stands for.
struct SchemaList {
  using Handle = vy_filter_config_schema_list_t;
  static constexpr Kind kKind = Kind::schemaList;

  Schema items;
};

/// Throws Failure unless a frame has one of the formats; `wanted` says in words what the filter works on.
void requireFormat(const Filter& filter, const Frame& frame, std::initializer_list<VYFormat> formats,
                   const char* wanted);
void requirePixelType(const Filter& filter, const Frame& frame, std::initializer_list<VYPixelType> types,
                      const char* wanted);

}  // namespace tavrix
