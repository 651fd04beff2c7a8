#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>

#include "Commands.h"
#include "Failure.h"
#include "OutputFile.h"
#include "Recording.h"

namespace vyhost {
namespace {

using nlohmann::json;

/// The calls of a recording as events for ui.perfetto.dev and Chrome's tracing page.
class Timeline {
 public:
  explicit Timeline(const Recording& recording) : recording_(recording) {
    for (const Call& call : recording.calls) {
      start_ = std::min(start_, call.beginTime);
      end_ = std::max({end_, call.beginTime, call.endTime});
    }
    nameFilters();
  }

  /// Seconds from the first call to the last record.
  double length() const { return static_cast<double>(end_ - start_) / 1e9; }

  /// The file's text, with the calls that are under way between two times in seconds; empty if there are none.
  std::string text(double from, double to) const {
    std::string events;
    std::set<unsigned> threads;
    for (const Call& call : recording_.calls) {
      const std::uint64_t end = call.hasReturned() ? call.endTime : endOfOpen(call);
      const auto seconds = [this](std::uint64_t time) { return static_cast<double>(time - start_) / 1e9; };
      if (seconds(call.beginTime) > to || seconds(end != 0 ? end : end_) < from) continue;
      threads.insert(call.thread);
      events += ",\n" + dump(event(call, end));
    }
    if (threads.empty()) return {};
    std::string text =
        "{\"displayTimeUnit\":\"ns\",\"traceEvents\":[\n" + dump(label("process_name", 0, processName()));
    for (const unsigned thread : threads) {
      text += ",\n" + dump(label("thread_name", thread, fmt::format("thread {}", thread)));
    }
    return text + events + "\n]}\n";
  }

 private:
  /// What the host reports as a filter's name, or else the name it was created by.
  void nameFilters() {
    for (const Call& call : recording_.calls) {
      if (call.function->result == ValueKind::filter && call.result.is_number() && call.arguments[0].is_string()) {
        filters_.emplace(call.result.get<std::uint64_t>(), bytesOf(call.arguments[0]));
      }
    }
    for (const Call& call : recording_.calls) {
      if (call.function->name == "vy_filter_get_name" && call.result.is_string()) {
        filters_[call.arguments[0].get<std::uint64_t>()] = bytesOf(call.result);
      }
    }
  }

  /// When a call that has no return at least was over, as one that it was made within has returned; 0 if none has.
  std::uint64_t endOfOpen(const Call& call) const {
    for (auto outer = call.parent; outer; outer = recording_.calls[*outer].parent) {
      if (recording_.calls[*outer].hasReturned()) return recording_.calls[*outer].endTime;
    }
    return 0;
  }

  json event(const Call& call, std::uint64_t end) const {
    const auto microseconds = [](std::uint64_t time) { return static_cast<double>(time) / 1e3; };
    json event = {
        {"name", nameOf(call)},     {"cat", call.function->isHost ? "host" : "library"}, {"pid", 1},
        {"tid", call.thread},       {"ts", microseconds(call.beginTime - start_)},       {"ph", end != 0 ? "X" : "B"},
        {"args", argumentsOf(call)}};
    if (end != 0) event["dur"] = microseconds(end - std::min(end, call.beginTime));
    return event;
  }

  std::string nameOf(const Call& call) const {
    const auto& arguments = call.function->arguments;
    const bool isOnFilter = !arguments.empty() && arguments[0].kind == ValueKind::filter;
    const ValueKind kind = isOnFilter ? ValueKind::filter : call.function->result;
    const json& handle = isOnFilter ? call.arguments[0] : call.result;
    std::string name(call.function->name);
    if (kind != ValueKind::filter || !handle.is_number()) return name;
    const auto found = filters_.find(handle.get<std::uint64_t>());
    return found != filters_.end() ? name + " " + found->second : name;
  }

  json argumentsOf(const Call& call) const {
    json arguments = {{"call", call.number}};
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
      const Argument& argument = call.function->arguments[i];
      arguments[std::string(argument.name)] = readable(argument.kind, call.arguments[i]);
    }
    if (!call.result.is_null()) arguments["returns"] = readable(call.function->result, call.result);
    if (call.newError) {
      arguments["error"] = {{"status", call.newError->status},
                            {"message", call.newError->message},
                            {"function", call.newError->function},
                            {"args", call.newError->arguments},
                            {"exception_type", call.newError->exceptionType}};
    }
    if (call.errorAfter.value_or(0) != 0) arguments["error slot"] = readable(ValueKind::error, *call.errorAfter);
    if (!call.exception.empty()) arguments["exception"] = call.exception;
    if (!call.hasReturned()) arguments["returned"] = false;
    return arguments;
  }

  json readable(ValueKind kind, const json& value) const {
    if (isHandle(kind)) {
      const auto number = value.get<std::uint64_t>();
      if (number == 0) return nullptr;
      const auto name = kind == ValueKind::filter ? filters_.find(number) : filters_.end();
      const std::string text = fmt::format("{} {}", handleName(kind), number);
      return name != filters_.end() ? text + " " + name->second : text;
    }
    if (value.is_string()) return bytesOf(value);
    if (!value.is_array()) return value;
    json values = json::array();
    for (const json& each : value) values.push_back(readable(ValueKind::none, each));
    return values;
  }

  std::string processName() const {
    const auto found = recording_.about.find("process");
    return found != recording_.about.end() ? found->second : "process";
  }

  static json label(const char* what, unsigned thread, const std::string& name) {
    return {{"ph", "M"}, {"name", what}, {"pid", 1}, {"tid", thread}, {"args", {{"name", name}}}};
  }

  static std::string dump(const json& event) { return event.dump(-1, ' ', false, json::error_handler_t::replace); }

  const Recording& recording_;
  std::uint64_t start_ = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t end_ = 0;
  std::map<std::uint64_t, std::string> filters_;  ///< names, by number
};

}  // namespace

void writeTimeline(const TimelineOptions& options) {
  if (!(options.from <= options.to)) {
    throw Failure(
        fmt::format("--from {} is behind --to {}; both are seconds from the first call", options.from, options.to));
  }
  const Recording recording = Recording::read(options.file);
  if (recording.calls.empty()) throw Failure(options.file + " has no calls to show");
  const Timeline timeline(recording);
  const std::string text = timeline.text(options.from, options.to);
  if (text.empty()) {
    throw Failure(fmt::format("no call is under way from {} s to {} s; the recording lasts {:.3f} s", options.from,
                              options.to, timeline.length()));
  }
  writeFile(options.out, text);
}

}  // namespace vyhost
