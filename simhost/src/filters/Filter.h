#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "core/Frame.h"
#include "core/Object.h"

namespace tavrix {

/// A configuration item of a filter. Texts are static, or as long-lived as the definition that they come from.
struct SchemaItem {
  const char* name;
  VYFilterConfigValueType type;
  double min, max, step, def;
  const char* description;
};

using Schema = std::vector<SchemaItem>;

/// A filter: a named set of live values, and what it does to frames. One filter is for one thread at a time.
class Filter {
 public:
  Filter(std::string name, Schema schema);
  virtual ~Filter() = default;
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;

  /// The name that it was created by, and the one that it goes by (null is possible).
  const std::string& name() const { return name_; }
  virtual const char* reportedName() const { return name_.c_str(); }

  bool isEnabled() const { return enabled_; }
  void enable(bool enabled) { enabled_ = enabled; }

  const Schema& schema() const { return schema_; }
  /// The schema as text: a line an item, `name,type,min,max,step,default,description`.
  const char* schemaText();

  double value(const char* item) const;
  void setValue(const char* item, double value);
  /// Takes one text an item, in the order of the schema: either all of them make sense, or nothing changes.
  virtual void updateConfig(size_t count, const char* const* texts);
  /// Back to how it was made; the switch stays as it is.
  void reset();

  /// Makes the output. Never changes the input; may return it once more where nothing is to do. `error` is for filters
  /// that get an error object from elsewhere; those of the host throw Failure.
  virtual FrameRef process(const FrameLoan& input, vy_error** error) = 0;

 protected:
  double setting(size_t item) const { return values_[item]; }
  /// Throws Failure when values, each of them within its range, do not go together.
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
