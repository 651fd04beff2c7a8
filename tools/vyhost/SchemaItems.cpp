#include "SchemaItems.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>

namespace vyhost {
namespace {

/// The record as a compiler lays it out that was not told to pack it.
struct PaddedItem {
  const char* name;
  VYFilterConfigValueType type;
  double min, max, step, def;
  const char* desc;
};

constexpr std::size_t kAmple = 256;
/// Where the host writes the record: with room behind it for one that is longer than it should be.
alignas(16) unsigned char recordPlace[kAmple];

template <typename Record>
Record recordAs() {
  Record record;
  static_assert(sizeof record <= kAmple, "room for any layout");
  unsigned char bytes[sizeof record];
  // The compiler takes it for granted that the host writes no byte behind the record: it has to look.
  for (std::size_t i = 0; i < sizeof record; ++i) bytes[i] = static_cast<volatile unsigned char*>(recordPlace)[i];
  std::memcpy(&record, bytes, sizeof record);
  return record;
}

template <typename Record>
SchemaItem interpret() {
  const auto record = recordAs<Record>();
  const char* const name = record.name;
  return {name,
          readText(name, "the name of an item"),
          readText(record.desc, "the description of an item"),
          static_cast<int>(record.type),
          record.min,
          record.max,
          record.step,
          record.def};
}

/// Whether a number is one that somebody wrote: bytes of two neighbours make tiny ones.
bool isPlausible(double number) {
  return std::isfinite(number) && std::fpclassify(number) != FP_SUBNORMAL;
}

template <typename Record>
std::optional<SchemaItem> interpretIfPlausible() try {
  const SchemaItem item = interpret<Record>();
  for (const double number : {item.min, item.max, item.step, item.def})
    if (!isPlausible(number)) return {};
  return item;
} catch (const Broken&) {
  return {};
}

}  // namespace

SeenError askItem(const HostUnderTest& host, const vy_filter_config_schema_list_t* list, std::uint32_t index) {
  vy_error* error = nullptr;
  // The result is made in this very place, without a copy of the size that it should have.
  ::new (static_cast<void*>(recordPlace))
      VYFilterConfigSchemaItem(host.vy_filter_config_schema_list_get_item(list, index, &error));
  return host.take(error);
}

SchemaItem readItem(const HostUnderTest& host, const vy_filter_config_schema_list_t* list, std::uint32_t index) {
  const SeenError seen = askItem(host, list, index);
  if (seen.isSet) throw Broken(fmt::format("the schema list has no item {}: {}", index, seen.text));
  if (const auto item = interpretIfPlausible<VYFilterConfigSchemaItem>()) return *item;
  if (interpretIfPlausible<PaddedItem>()) {
    throw Broken(fmt::format("item {} comes in a padded record of {} bytes: the library reads one packed to {}", index,
                             sizeof(PaddedItem), sizeof(VYFilterConfigSchemaItem)));
  }
  return interpret<VYFilterConfigSchemaItem>();
}

vy_filter_config_schema_list_t* makeList(const HostUnderTest& host, const vy_filter_t* filter) {
  vy_filter_config_schema_list_t* const list = host.must(host.vy_filter_get_config_schema_list, filter);
  if (list == nullptr) throw Broken("vy_filter_get_config_schema_list gives null without an error");
  return list;
}

std::vector<SchemaItem> readItems(const HostUnderTest& host, const vy_filter_t* filter) {
  const vy_filter_config_schema_list_t* const list = makeList(host, filter);
  const std::uint32_t count = host.must(host.vy_filter_config_schema_list_get_count, list);
  std::vector<SchemaItem> items;
  for (std::uint32_t i = 0; i < count; ++i) items.push_back(readItem(host, list, i));
  return items;
}

}  // namespace vyhost
