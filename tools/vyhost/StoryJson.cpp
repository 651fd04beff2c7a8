#include "StoryJson.h"

#include <algorithm>

namespace vyhost {
namespace {

using Json = nlohmann::ordered_json;

double inSeconds(std::uint64_t nanoseconds) {
  return static_cast<double>(nanoseconds) / 1e9;
}

Json timeOrNull(const std::optional<Time>& time) {
  return time ? Json(inSeconds(*time)) : Json();
}

Json textOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

template <typename Items, typename Convert>
Json listOf(const Items& items, Convert convert) {
  Json list = Json::array();
  for (const auto& item : items) list.push_back(convert(item));
  return list;
}

Json spreadJson(const std::vector<Duration>& durations) {
  const Spread spread = Spread::of(durations);
  return {{"count", durations.size()},
          {"median_s", inSeconds(spread.median)},
          {"p95_s", inSeconds(spread.percentile95)},
          {"largest_s", inSeconds(spread.largest)}};
}

Json filterJson(const FilterStory& filter) {
  Json leftOut;
  if (filter.leftOut) {
    leftOut = {{"function", filter.leftOut->function},
               {"message", filter.leftOut->message},
               {"behind", textOrNull(filter.leftOut->behind)}};
  }
  return {{"filter", filter.handle},
          {"name", filter.name},
          {"owner", filter.isOwn ? "library" : "host"},
          {"arguments", filter.arguments},
          {"starts_enabled", filter.startsEnabled ? Json(*filter.startsEnabled) : Json()},
          {"left_out", leftOut},
          {"times", spreadJson(filter.runs)},
          {"frames_off", filter.timesOff},
          {"frames_passed_over", filter.timesPassedOver},
          {"frames_failed", filter.timesFailed}};
}

Json updateJson(const SettingsUpdate& update) {
  const Json changes = listOf(update.changes, [](const SettingChange& change) -> Json {
    return {{"key", change.key}, {"from", change.from}, {"to", change.to}};
  });
  return {{"time_s", inSeconds(update.time)},
          {"changes", changes},
          {"unchanged", update.unchanged},
          {"error", textOrNull(update.error)}};
}

Json hardwareD2CJson(const HardwareD2CStory& parameters) {
  Json values = Json::object();
  for (const auto& [name, value] : parameters.values) values[name] = value;
  return {{"time_s", inSeconds(parameters.time)}, {"values", values}, {"error", textOrNull(parameters.error)}};
}

Json processorJson(const ProcessorStory& processor) {
  std::vector<Duration> whole, library;
  std::size_t failed = 0;
  for (const FrameWalk& walk : processor.frames) {
    whole.push_back(walk.whole);
    library.push_back(walk.library);
    if (walk.hasFailed) ++failed;
  }
  const Json formats = listOf(processor.formats, [](const FormatCount& each) -> Json {
    return {{"format", each.format}, {"pixel_type", each.pixelType}, {"count", each.count}};
  });
  const Json settings = listOf(processor.settings, [](const Setting& each) -> Json {
    return {{"key", each.key},
            {"type", each.type},
            {"min", each.min},
            {"max", each.max},
            {"step", each.step},
            {"value", each.value},
            {"description", each.description}};
  });
  return {{"processor", processor.handle},
          {"sensor", processor.sensor},
          {"made_s", inSeconds(processor.made)},
          {"destroyed_s", timeOrNull(processor.destroyed)},
          {"error", textOrNull(processor.error)},
          {"chain", listOf(processor.filters, filterJson)},
          {"schema_read", processor.hasReadSchema},
          {"settings", settings},
          {"updates", listOf(processor.updates, updateJson)},
          {"hardware_d2c", listOf(processor.hardwareD2C, hardwareD2CJson)},
          {"frames", processor.frames.size()},
          {"frames_failed", failed},
          {"frames_per_second", processor.framesPerSecond},
          {"longest_gap_s", inSeconds(processor.longestGap)},
          {"formats", formats},
          {"whole_times", spreadJson(whole)},
          {"library_times", spreadJson(library)}};
}

Json contextJson(const ContextStory& context) {
  return {{"context", context.handle},
          {"device", context.device},
          {"vid", context.vid ? Json(*context.vid) : Json()},
          {"pid", context.pid ? Json(*context.pid) : Json()},
          {"families", context.families},
          {"made_s", inSeconds(context.made)},
          {"destroyed_s", timeOrNull(context.destroyed)},
          {"error", textOrNull(context.error)},
          {"processors", listOf(context.processors, processorJson)}};
}

Json troubleJson(const Trouble& trouble) {
  const auto [first, last] = std::minmax_element(trouble.times.begin(), trouble.times.end());
  return {{"function", trouble.function},  {"subject", trouble.subject},   {"text", trouble.text},
          {"count", trouble.times.size()}, {"first_s", inSeconds(*first)}, {"last_s", inSeconds(*last)}};
}

Json momentJson(const Moment& moment) {
  return {{"first_s", inSeconds(moment.first)},
          {"last_s", inSeconds(moment.last)},
          {"function", moment.function},
          {"subjects", moment.subjects},
          {"count", moment.count},
          {"outcome", textOrNull(moment.outcome)}};
}

}  // namespace

std::string storyJson(const std::string& file, const Recording& recording, const Story& story) {
  const Json productLists = listOf(story.productLists, [](const ProductList& list) -> Json {
    return {{"time_s", inSeconds(list.time)}, {"type", list.type}, {"ids", list.ids}};
  });
  const Json leftovers = listOf(story.leftovers, [](const Leftover& leftover) -> Json {
    return {{"handle", leftover.handle},
            {"name", textOrNull(leftover.name)},
            {"references", leftover.references},
            {"first_s", inSeconds(leftover.first)}};
  });
  const Json unreturned = listOf(story.unreturned, [&](const UnreturnedCall& call) -> Json {
    return {{"call", recording.calls[call.call].number},
            {"thread", call.thread},
            {"time_s", inSeconds(call.time)},
            {"function", call.function},
            {"subject", call.subject},
            {"owner", call.isHost ? "host" : "library"}};
  });
  const Json json = {{"file", file},
                     {"about", recording.about},
                     {"length_s", inSeconds(story.length)},
                     {"calls", story.calls},
                     {"incoming_calls", story.incomingCalls},
                     {"host_calls", story.hostCalls},
                     {"threads", story.threads},
                     {"note", textOrNull(recording.note)},
                     {"finished", recording.isFinished},
                     {"damaged_records", recording.damagedRecords},
                     {"filters_left_out", story.filtersLeftOut()},
                     {"product_lists", productLists},
                     {"contexts", listOf(story.contexts, contextJson)},
                     {"errors", listOf(story.errors, troubleJson)},
                     {"absorbed", listOf(story.absorbed, troubleJson)},
                     {"not_given_back", leftovers},
                     {"never_returned", unreturned},
                     {"first_second", listOf(story.firstSecond, momentJson)},
                     {"last_second", listOf(story.lastSecond, momentJson)}};
  // What is no UTF-8 becomes the replacement character.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace vyhost
