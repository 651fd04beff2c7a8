// Exported functions of filters and their schema lists.
#include <fmt/core.h>

#include "api/Call.h"
#include "filters/Catalogue.h"
#include "instrumentation/Counters.h"

using tavrix::arg;
using tavrix::call;
using tavrix::Filter;
using tavrix::FilterObject;
using tavrix::Ref;
using tavrix::SchemaList;

namespace {

Filter& resolveFilter(const vy_filter_t* filter) {
  return *tavrix::resolve<FilterObject>(filter, "filter").filter;
}

vy_filter_t* createFilter(const char* function, const char* name, bool isPrivate, vy_error** error) {
  return call(
      function, error, [=] { return Ref<FilterObject>::make(tavrix::catalogue::create(name, isPrivate)).detach(); },
      arg("name", name));
}

/// Runs a filter and notes the time that it took, even where it fails.
TAVRIX_OUT_OF_LINE vy_frame_t* processTimed(Filter& filter, const tavrix::FrameLoan& input, vy_error** error) {
  struct Stopwatch {
    const Filter& filter;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    ~Stopwatch() { tavrix::timing::addFilterRun(filter.name().c_str(), std::chrono::steady_clock::now() - start); }
  };
  const Stopwatch stopwatch{filter};
  return filter.process(input, error).detach();
}

}  // namespace

extern "C" {

vy_filter_t* vy_create_filter(const char* name, vy_error** error) {
  return createFilter(__func__, name, false, error);
}

vy_filter_t* vy_create_private_filter(const char* name, vy_error** error) {
  return createFilter(__func__, name, true, error);
}

void vy_delete_filter(vy_filter_t* filter, vy_error** error) {
  call(
      __func__, error, [=] { Ref<FilterObject>::release(filter, "filter"); }, arg("filter", filter));
}

const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** error) {
  return call(
      __func__, error, [=] { return resolveFilter(filter).reportedName(); }, arg("filter", filter));
}

const char* vy_filter_get_config_schema(const vy_filter_t* filter, vy_error** error) {
  return call(
      __func__, error, [=] { return resolveFilter(filter).schemaText(); }, arg("filter", filter));
}

vy_filter_config_schema_list_t* vy_filter_get_config_schema_list(const vy_filter_t* filter, vy_error** error) {
  return call(
      __func__, error, [=] { return Ref<SchemaList>::make(resolveFilter(filter).schema()).detach(); },
      arg("filter", filter));
}

void vy_delete_filter_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error) {
  call(
      __func__, error, [=] { Ref<SchemaList>::release(list, "list"); }, arg("list", list));
}

uint32_t vy_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* list, vy_error** error) {
  return call(
      __func__, error, [=] { return static_cast<uint32_t>(tavrix::resolve<SchemaList>(list, "list").items.size()); },
      arg("list", list));
}

VYFilterConfigSchemaItem vy_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* list,
                                                               uint32_t index, vy_error** error) {
  return call(
      __func__, error,
      [=] {
        const tavrix::Schema& items = tavrix::resolve<SchemaList>(list, "list").items;
        if (index >= items.size()) {
          throw tavrix::Refusal(tavrix::ExceptionType::notFound,
                                fmt::format("the list has no item {}: it has {}", index, items.size()));
        }
        const tavrix::SchemaItem& item = items[index];
        return VYFilterConfigSchemaItem{item.name, item.type, item.min,        item.max,
                                        item.step, item.def,  item.description};
      },
      arg("list", list), arg("index", index));
}

void vy_filter_update_config(vy_filter_t* filter, uint8_t argc, const char** argv, vy_error** error) {
  call(
      __func__, error, [=] { resolveFilter(filter).updateConfig(argc, argv); }, arg("filter", filter),
      arg("argc", static_cast<int>(argc)), arg("argv", tavrix::TextList{argc, argv}));
}

double vy_filter_get_config_value(const vy_filter_t* filter, const char* item, vy_error** error) {
  return call(
      __func__, error, [=] { return resolveFilter(filter).value(item); }, arg("filter", filter), arg("item", item));
}

void vy_filter_set_config_value(vy_filter_t* filter, const char* item, double value, vy_error** error) {
  call(
      __func__, error, [=] { resolveFilter(filter).setValue(item, value); }, arg("filter", filter), arg("item", item),
      arg("value", value));
}

void vy_filter_reset(vy_filter_t* filter, vy_error** error) {
  call(
      __func__, error, [=] { resolveFilter(filter).reset(); }, arg("filter", filter));
}

void vy_filter_enable(vy_filter_t* filter, bool enable, vy_error** error) {
  call(
      __func__, error, [=] { resolveFilter(filter).enable(enable); }, arg("filter", filter), arg("enable", enable));
}

bool vy_filter_is_enabled(const vy_filter_t* filter, vy_error** error) {
  return call(
      __func__, error, [=] { return resolveFilter(filter).isEnabled(); }, arg("filter", filter));
}

vy_frame_t* vy_filter_process(vy_filter_t* filter, const vy_frame_t* frame, vy_error** error) {
  return call(
      __func__, error,
      [=] {
        Filter& worker = resolveFilter(filter);
        const tavrix::FrameLoan input(frame, "frame");
        if (tavrix::Watch::isThreadTimed()) return processTimed(worker, input, error);
        return worker.process(input, error).detach();
      },
      arg("filter", filter), arg("frame", frame));
}

void vysim_define_filter(const vysim_filter_definition* definition, vy_error** error) {
  tavrix::guarded(__func__, error, [=] {
    if (definition == nullptr) {
      throw tavrix::Refusal(tavrix::ExceptionType::invalidValue, "definition is null: expected a filter definition");
    }
    tavrix::catalogue::define(*definition);
  });
}

}  // extern "C"
