#include "Story.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

#include "CameraFamilies.h"
#include "FilterNames.h"
#include "References.h"
#include "Words.h"

namespace vyhost {
namespace {

constexpr Duration kSecond = 1000000000;

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::vector<std::string> textsOf(const nlohmann::json& value) {
  std::vector<std::string> texts;
  if (!value.is_array()) return texts;
  for (const nlohmann::json& each : value) texts.push_back(textOf(each));
  return texts;
}

bool isTrue(const nlohmann::json& value) {
  return value.is_boolean() && value.get<bool>();
}

/// The settings of a schema text: lines of seven columns that begin with a name, "#" and a number.
std::vector<Setting> parseSchema(const std::string& schema) {
  std::vector<Setting> settings;
  for (std::size_t begin = 0; begin < schema.size();) {
    const std::size_t end = std::min(schema.find('\n', begin), schema.size());
    std::string line = schema.substr(begin, end - begin);
    begin = end + 1;
    if (line.find('#') >= line.find(',')) continue;
    Setting setting;
    for (std::string* column :
         {&setting.key, &setting.type, &setting.min, &setting.max, &setting.step, &setting.value}) {
      const std::size_t separator = line.find(", ");
      *column = line.substr(0, separator);
      line = separator != std::string::npos ? line.substr(separator + 2) : std::string();
    }
    setting.description = line;
    settings.push_back(setting);
  }
  return settings;
}

/// Whether two values of a setting are the same number: "1" and "1.000000".
bool isSameValue(const std::string& a, const std::string& b) {
  if (a == b) return true;
  try {
    return std::stod(a) == std::stod(b);
  } catch (const std::exception&) {
    return false;
  }
}

/// Goes through a recording once and collects.
class Teller {
 public:
  explicit Teller(const Recording& recording)
      : recording_(recording),
        names_(recording),
        begin_(recording.calls.empty() ? 0 : recording.calls.front().beginTime) {}

  Story tell() {
    std::set<unsigned> threads;
    std::uint64_t end = begin_;
    for (const Call& call : recording_.calls) {
      threads.insert(call.thread);
      end = std::max({end, call.beginTime, call.endTime});
      ++story_.calls;
      if (call.function->isHost) ++story_.hostCalls;
      noteError(call);
      if (!call.parent) ++story_.incomingCalls;
      if (!call.function->isHost) tellLibraryCall(call);
      if (call.function->name == "vy_delete_error") tellAbsorbed(call);
      if (!call.hasReturned()) tellUnreturned(call);
    }
    story_.threads = threads.size();
    story_.length = end - begin_;
    for (ContextStory& context : story_.contexts) {
      for (ProcessorStory& processor : context.processors) {
        tellRate(processor);
        if (processor.sensor == kDepthSensor && context.families.empty()) context.families = familiesOf(processor);
      }
    }
    story_.leftovers = findLeftovers(recording_, names_, begin_);
    tellMoments();
    return std::move(story_);
  }

 private:
  /// Where an error came from.
  struct Origin {
    const Call* call;
    std::string message;
  };

  Time since(std::uint64_t time) const { return time - begin_; }
  const Call& child(std::size_t position) const { return recording_.calls[position]; }

  static std::uint64_t newErrorOf(const Call& call) {
    return call.errorAfter.value_or(0) != 0 && call.errorAfter != call.errorBefore ? *call.errorAfter : 0;
  }

  void noteError(const Call& call) {
    if (call.function->name == "vy_create_error")
      origins_[handleOf(call.result)] = {&call, textOf(argumentOf(call, 1))};
    else if (call.newError)
      origins_[call.errorAfter.value_or(0)] = {&call, call.newError->message};
  }

  /// Calls come in the order in which they began, so the errors within this one are not known yet.
  std::string messageOf(const Call& call) const {
    const std::uint64_t error = newErrorOf(call);
    if (error == 0) return call.exception.empty() ? std::string() : "exception " + call.exception;
    if (call.newError) return call.newError->message;
    std::string message;
    for (const std::size_t position : call.children) {
      const Call& each = child(position);
      if (each.function->name == "vy_create_error" && handleOf(each.result) == error)
        message = textOf(argumentOf(each, 1));
      else if (newErrorOf(each) == error)
        message = messageOf(each);
      if (!message.empty()) return message;
    }
    return "error without a text";
  }

  void add(std::vector<Trouble>& troubles, const std::string& function, const std::string& subject,
           const std::string& text, Time time) {
    const auto found = std::find_if(troubles.begin(), troubles.end(), [&](const Trouble& each) {
      return each.function == function && each.subject == subject && each.text == text;
    });
    Trouble& trouble = found != troubles.end() ? *found : troubles.emplace_back(Trouble{function, subject, text, {}});
    trouble.times.push_back(time);
  }

  void tellAbsorbed(const Call& call) {
    if (!call.parent) return;
    const auto found = origins_.find(handleOf(argumentOf(call, 0)));
    // The library's own errors are how its layers talk to each other.
    if (found == origins_.end() || found->second.call->function->name == "vy_create_error") return;
    const auto& [origin, message] = found->second;
    add(story_.absorbed, std::string(origin->function->name), subjectOf(*origin, names_), message,
        since(origin->endTime));
  }

  void tellUnreturned(const Call& call) {
    const auto position = static_cast<std::size_t>(&call - recording_.calls.data());
    story_.unreturned.push_back({position, call.thread, since(call.beginTime), std::string(call.function->name),
                                 subjectOf(call, names_), call.function->isHost});
  }

  void tellLibraryCall(const Call& call) {
    const std::string_view name = call.function->name;
    const std::string message = messageOf(call);
    if (!call.parent && !message.empty()) {
      add(story_.errors, std::string(name), subjectOf(call, names_), message, since(call.endTime));
    }
    if (name == "vy_create_frame_processor_context") return tellContext(call, message);
    if (name == "vy_create_frame_processor") return tellProcessor(call, message);
    if (name == "vy_set_device_info_data") return tellProductList(call);
    if (name == "vy_destroy_frame_processor_context") {
      const auto found = contextPositions_.find(handleOf(argumentOf(call, 0)));
      if (found != contextPositions_.end() && message.empty())
        story_.contexts[found->second].destroyed = since(call.beginTime);
      return;
    }
    ProcessorStory* const processor = findProcessor(call);
    if (processor == nullptr) return;
    if (name == "vy_destroy_frame_processor" && message.empty()) processor->destroyed = since(call.beginTime);
    if (name == "vy_frame_processor_process_frame") tellFrame(call, *processor);
    if (name == "vy_frame_processor_get_config_schema" && message.empty() && call.hasReturned()) {
      processor->hasReadSchema = true;
      processor->settings = parseSchema(textOf(call.result));
    }
    if (name == "vy_frame_processor_update_config") tellUpdate(call, *processor, message);
    if (name == "vy_frame_processor_set_hardware_d2c_params") tellHardwareD2C(call, *processor, message);
  }

  ProcessorStory* findProcessor(const Call& call) {
    const bool isOfProcessor =
        !call.function->arguments.empty() && call.function->arguments[0].kind == ValueKind::processor;
    const auto found = processorPositions_.find(isOfProcessor ? handleOf(argumentOf(call, 0)) : 0);
    return found != processorPositions_.end() ? &story_.contexts[found->second.first].processors[found->second.second]
                                              : nullptr;
  }

  void tellProductList(const Call& call) {
    ProductList list;
    list.time = since(call.beginTime);
    list.type = integerOf(argumentOf(call, 0));
    const std::string bytes = textOf(argumentOf(call, 1));  // vendor and product in hexadecimal, lower byte first
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8)
      list.ids.push_back(bytes.substr(i + 2, 2) + bytes.substr(i, 2) + ":" + bytes.substr(i + 6, 2) +
                         bytes.substr(i + 4, 2));
    story_.productLists.push_back(list);
  }

  void tellContext(const Call& call, const std::string& message) {
    ContextStory context;
    context.handle = handleOf(call.result);
    context.device = handleOf(argumentOf(call, 0));
    context.made = since(call.beginTime);
    context.error = message;
    for (const std::size_t position : call.children) {
      const Call& each = child(position);
      if (newErrorOf(each) != 0 || !each.hasReturned()) continue;
      if (each.function->name == "vy_device_info_get_vid") context.vid = integerOf(each.result);
      if (each.function->name == "vy_device_info_get_pid") context.pid = integerOf(each.result);
    }
    if (context.handle != 0) contextPositions_[context.handle] = story_.contexts.size();
    story_.contexts.push_back(context);
  }

  void tellProcessor(const Call& call, const std::string& message) {
    const auto context = contextPositions_.find(handleOf(argumentOf(call, 0)));
    if (context == contextPositions_.end()) return;
    ProcessorStory processor;
    processor.handle = handleOf(call.result);
    processor.sensor = integerOf(argumentOf(call, 1));
    processor.made = since(call.beginTime);
    processor.error = message;
    for (const std::size_t position : call.children) tellChainStep(child(position), processor.filters);
    std::vector<ProcessorStory>& processors = story_.contexts[context->second].processors;
    if (processor.handle != 0) processorPositions_[processor.handle] = {context->second, processors.size()};
    processors.push_back(processor);
  }

  /// Filters are made one after the other, each with its arguments and its switch, by calls of the host or by the
  /// library's own functions, whose names differ in the beginning.
  void tellChainStep(const Call& call, std::vector<FilterStory>& filters) {
    const std::string_view name = call.function->name;
    if (makesFilter(*call.function)) {
      FilterStory filter;
      filter.handle = handleOf(call.result);
      filter.name = textOf(argumentOf(call, 0));
      filter.isOwn = !call.function->isHost;
      filters.push_back(filter);
    } else if (filters.empty()) {
      return;
    }
    FilterStory& filter = filters.back();
    if (endsWith(name, "_filter_update_config")) filter.arguments = textsOf(argumentOf(call, 2));
    if (endsWith(name, "_filter_enable")) filter.startsEnabled = isTrue(argumentOf(call, 1));
    const bool isStep =
        makesFilter(*call.function) || endsWith(name, "_filter_update_config") || endsWith(name, "_filter_enable");
    if (isStep && !messageOf(call).empty()) filter.leftOut = refusalOf(call);
  }

  Refusal refusalOf(const Call& call) const {
    Refusal refusal{std::string(call.function->name), messageOf(call), {}};
    for (const std::size_t position : call.children) {
      const Call& each = child(position);
      if (!each.function->isHost || messageOf(each).empty()) continue;
      refusal.behind = fmt::format("{}({}): {}", each.function->name, subjectOf(each, names_), messageOf(each));
    }
    return refusal;
  }

  void tellFrame(const Call& call, ProcessorStory& processor) {
    bool hasFormat = false;
    FormatCount format;
    std::map<std::uint64_t, FilterStory*> waiting;  // switched on, and not asked to process yet
    for (const std::size_t position : call.children) {
      const Call& each = child(position);
      const std::string_view name = each.function->name;
      const bool isOfInput = handleOf(argumentOf(each, 0)) == handleOf(argumentOf(call, 1));
      if (isOfInput && name == "vy_frame_get_format") format.format = integerOf(each.result);
      if (isOfInput && name == "vy_video_frame_get_pixel_type" && !hasFormat) {
        format.pixelType = integerOf(each.result);
        countFormat(processor, format);
        hasFormat = true;
      }
      const bool isQuestion = endsWith(name, "_filter_is_enabled");
      const bool isWork = endsWith(name, "_filter_process");
      if (!isQuestion && !isWork) continue;
      const auto filter = std::find_if(processor.filters.begin(), processor.filters.end(), [&](const FilterStory& one) {
        return !one.leftOut && one.handle == handleOf(argumentOf(each, 0));
      });
      if (filter == processor.filters.end()) continue;
      if (isQuestion && !isTrue(each.result)) ++filter->timesOff;
      if (isQuestion && isTrue(each.result)) waiting[filter->handle] = &*filter;
      if (isWork) {
        waiting.erase(filter->handle);
        if (each.hasReturned()) filter->runs.push_back(each.endTime - each.beginTime);
        if (!messageOf(each).empty() || handleOf(each.result) == 0) ++filter->timesFailed;
      }
    }
    for (const auto& [handle, filter] : waiting) ++filter->timesPassedOver;

    if (!call.hasReturned()) return;
    FrameWalk walk;
    walk.time = since(call.beginTime);
    walk.whole = call.endTime - call.beginTime;
    walk.library = walk.whole - std::min(walk.whole, timeInHost(call));
    walk.hasFailed = !messageOf(call).empty() || handleOf(call.result) == 0;
    processor.frames.push_back(walk);
  }

  Duration timeInHost(const Call& call) const {
    Duration time = 0;
    for (const std::size_t position : call.children) {
      const Call& each = child(position);
      if (!each.function->isHost)
        time += timeInHost(each);
      else if (each.hasReturned())
        time += each.endTime - each.beginTime;
    }
    return time;
  }

  static void countFormat(ProcessorStory& processor, FormatCount format) {
    const auto found = std::find_if(processor.formats.begin(), processor.formats.end(), [&](const FormatCount& each) {
      return each.format == format.format && each.pixelType == format.pixelType;
    });
    FormatCount& count = found != processor.formats.end() ? *found : processor.formats.emplace_back(format);
    ++count.count;
  }

  static void tellRate(ProcessorStory& processor) {
    const std::vector<FrameWalk>& frames = processor.frames;
    if (frames.size() < 2) return;
    const auto span = static_cast<double>(frames.back().time - frames.front().time) / static_cast<double>(kSecond);
    processor.framesPerSecond = span > 0 ? static_cast<double>(frames.size() - 1) / span : 0;
    for (std::size_t i = 1; i < frames.size(); ++i)
      processor.longestGap = std::max(processor.longestGap, frames[i].time - frames[i - 1].time);
  }

  void tellUpdate(const Call& call, ProcessorStory& processor, const std::string& message) {
    SettingsUpdate update;
    update.time = since(call.beginTime);
    update.error = message;
    const std::vector<std::string> values = textsOf(argumentOf(call, 2));
    std::size_t applied = values.size();
    if (!message.empty() || !call.hasReturned()) {
      // Each value is one call, and the first error ends it.
      applied = static_cast<std::size_t>(
          std::count_if(call.children.begin(), call.children.end(), [this](std::size_t position) {
            const Call& each = child(position);
            const bool sets =
                endsWith(each.function->name, "_set_config_value") || endsWith(each.function->name, "_filter_enable");
            return sets && each.hasReturned() && messageOf(each).empty();
          }));
    }
    std::vector<std::string>& current = valuesInForce_[processor.handle];
    for (std::size_t i = current.size(); i < values.size(); ++i)
      current.push_back(i < processor.settings.size() ? processor.settings[i].value : std::string());
    for (std::size_t i = 0; i < std::min(applied, values.size()); ++i) {
      if (isSameValue(current[i], values[i])) {
        ++update.unchanged;
        continue;
      }
      const std::string key =
          i < processor.settings.size() ? processor.settings[i].key : "setting " + std::to_string(i + 1);
      update.changes.push_back({key, current[i], values[i]});
      current[i] = values[i];
    }
    processor.updates.push_back(update);
  }

  void tellHardwareD2C(const Call& call, ProcessorStory& processor, const std::string& message) {
    HardwareD2CStory parameters;
    parameters.time = since(call.beginTime);
    parameters.error = message;
    const std::vector<Argument>& arguments = call.function->arguments;
    constexpr const char* kIntrinsicNames[] = {"fx", "fy", "cx", "cy", "width", "height"};
    for (std::size_t i = 1; i < arguments.size(); ++i) {
      const nlohmann::json& value = argumentOf(call, i);
      if (arguments[i].kind != ValueKind::intrinsic) {
        parameters.values.emplace_back(arguments[i].name, value.is_boolean() ? value.dump() : numberText(value));
        continue;
      }
      for (std::size_t j = 0; value.is_array() && j < std::min(value.size(), std::size(kIntrinsicNames)); ++j)
        parameters.values.emplace_back(kIntrinsicNames[j], numberText(value[j]));
    }
    processor.hardwareD2C.push_back(parameters);
  }

  void tellMoments() {
    const Time lastBegin = std::max(kSecond, story_.length - std::min(story_.length, kSecond));
    for (const Call& call : recording_.calls) {
      if (call.parent) continue;
      const Time time = since(call.beginTime);
      if (time < kSecond) addMoment(story_.firstSecond, call, time);
      if (time >= lastBegin) addMoment(story_.lastSecond, call, time);
    }
  }

  void addMoment(std::vector<Moment>& moments, const Call& call, Time time) const {
    const std::string outcome = call.hasReturned() ? messageOf(call) : "never returned";
    const std::string subject = subjectOf(call, names_);
    const bool isSame =
        !moments.empty() && moments.back().function == call.function->name && moments.back().outcome == outcome;
    if (!isSame) moments.push_back({time, time, std::string(call.function->name), {}, 0, outcome});
    Moment& moment = moments.back();
    moment.last = time;
    ++moment.count;
    std::vector<std::string>& subjects = moment.subjects;
    if (!subject.empty() && std::find(subjects.begin(), subjects.end(), subject) == subjects.end())
      subjects.push_back(subject);
  }

  const Recording& recording_;
  const FilterNames names_;
  const std::uint64_t begin_;
  Story story_;
  std::map<std::uint64_t, Origin> origins_;  ///< of errors, by number
  std::map<std::uint64_t, std::size_t> contextPositions_;
  std::map<std::uint64_t, std::pair<std::size_t, std::size_t>> processorPositions_;
  std::map<std::uint64_t, std::vector<std::string>> valuesInForce_;  ///< of settings, by processor
};

}  // namespace

Spread Spread::of(std::vector<Duration> durations) {
  if (durations.empty()) return {};
  std::sort(durations.begin(), durations.end());
  const std::size_t last = durations.size() - 1;
  return {durations[last / 2], durations[(durations.size() * 95 + 99) / 100 - 1], durations[last]};
}

std::size_t Story::filtersLeftOut() const {
  std::size_t count = 0;
  for (const ContextStory& context : contexts) {
    for (const ProcessorStory& processor : context.processors)
      count +=
          static_cast<std::size_t>(std::count_if(processor.filters.begin(), processor.filters.end(),
                                                 [](const FilterStory& each) { return each.leftOut.has_value(); }));
  }
  return count;
}

Story tellStory(const Recording& recording) {
  return Teller(recording).tell();
}

}  // namespace vyhost
