#include "RecordingChecks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <set>

#include "Failure.h"

namespace vyhost {
namespace {

using Number = std::uint64_t;

/// Where a check of a recording puts what it finds. Each text appears once, with how often it was found.
class Findings {
 public:
  void warn(std::string subject, std::string text) { add(Verdict::warning, std::move(subject), std::move(text)); }
  void fail(std::string subject, std::string text) { add(Verdict::fail, std::move(subject), std::move(text)); }
  void skip(std::string text) { add(Verdict::notTried, {}, std::move(text)); }

  void appendTo(CheckReport& report, std::string_view check, std::string_view tried) const {
    if (rows_.empty()) report.findings.push_back({Verdict::ok, check, {}, std::string(tried)});
    for (const Row& row : rows_) {
      const std::string often = row.times > 1 ? fmt::format(" ({} times)", row.times) : "";
      report.findings.push_back({row.verdict, check, row.subject, row.text + often});
    }
  }

 private:
  struct Row {
    Verdict verdict;
    std::string subject, text;
    std::size_t times;
  };

  void add(Verdict verdict, std::string subject, std::string text) {
    const auto same = std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) {
      return row.verdict == verdict && row.subject == subject && row.text == text;
    });
    if (same != rows_.end()) {
      ++same->times;
    } else {
      rows_.push_back({verdict, std::move(subject), std::move(text), 1});
    }
  }

  std::vector<Row> rows_;
};

// ---- Calls ----------------------------------------------------------------------------------------------------------

bool hasFailed(const Call& call) {
  return call.errorAfter.value_or(0) != 0 && call.errorAfter != call.errorBefore;
}

/// Calls of the host that returned, without an error and without an exception.
bool isGoodHostCall(const Call& call) {
  return call.function->isHost && call.hasReturned() && !hasFailed(call) && call.exception.empty();
}

bool isCallOf(const Call& call, std::string_view function) {
  return call.function->name == function;
}

std::string nameOf(const Call& call) {
  return std::string(call.function->name);
}

/// Handles and whole numbers; 0 for what is none.
Number numberOf(const nlohmann::json& value) {
  return value.is_number_unsigned() ? value.get<Number>() : 0;
}

Number argument(const Call& call, std::size_t index) {
  return numberOf(call.arguments[index]);
}

std::string show(const nlohmann::json& value) {
  return value.is_string() ? fmt::format("\"{}\"", value.get<std::string>()) : value.dump();
}

/// What was said of an error; empty if the recording does not tell.
std::string messageOf(const Call& call) {
  return call.newError.has_value() ? call.newError->message : "";
}

std::set<Number> unfinishedThreads(const Recording& recording) {
  std::set<Number> threads;
  for (const Call& call : recording.calls)
    if (!call.hasReturned()) threads.insert(call.thread);
  return threads;
}

// ---- Records --------------------------------------------------------------------------------------------------------

/// Whether an intrinsic can be one of an image. Bytes of a record that is laid out otherwise make senseless ones.
bool isIntrinsic(const nlohmann::json& record) {
  constexpr double kLargestSide = 16384;
  constexpr double kLargestFocalLength = 1e6;
  double values[6];
  std::transform(record.begin(), record.end(), values, realOf);
  const auto [fx, fy, cx, cy, width, height] = values;
  // In a form that is false for what is no number.
  return fx > 0 && fx < kLargestFocalLength && fy > 0 && fy < kLargestFocalLength && width > 0 &&
         width <= kLargestSide && height > 0 && height <= kLargestSide && std::abs(cx) <= 2 * width &&
         std::abs(cy) <= 2 * height && std::fpclassify(cx) != FP_SUBNORMAL && std::fpclassify(cy) != FP_SUBNORMAL;
}

bool isSchemaItem(const nlohmann::json& item) {
  const double min = realOf(item[2]), max = realOf(item[3]), step = realOf(item[4]), def = realOf(item[5]);
  return item[0].is_string() && item[1] >= 0 && item[1] <= 2 && min <= def && def <= max && step >= 0 &&
         item[6].is_string();
}

void checkRecords(const Recording& recording, Findings& findings) {
  for (const Call& call : recording.calls) {
    const std::string text = "gives a record that cannot be right: ";
    if (isGoodHostCall(call) && call.function->result == ValueKind::intrinsic && !isIntrinsic(call.result))
      findings.fail(nameOf(call), text + call.result.dump());
    if (isGoodHostCall(call) && call.function->result == ValueKind::schemaItem && !isSchemaItem(call.result))
      findings.fail(nameOf(call), text + call.result.dump());
    if (isCallOf(call, "vy_frame_processor_set_hardware_d2c_params") && !isIntrinsic(call.arguments[1]))
      findings.fail(nameOf(call), "is called with an intrinsic that cannot be right: " + call.arguments[1].dump());
  }
}

void checkSizes(const Recording& recording, Findings& findings) {
  constexpr Number kLargestSide = 16384;
  for (const Call& call : recording.calls) {
    if (!isGoodHostCall(call)) continue;
    if (!isCallOf(call, "vy_video_frame_get_width") && !isCallOf(call, "vy_video_frame_get_height")) continue;
    const Number side = numberOf(call.result);
    if (side == 0 || side > kLargestSide) findings.fail(nameOf(call), fmt::format("gives {} pixels", side));
  }
}

void checkIds(const Recording& recording, Findings& findings) {
  for (const Call& call : recording.calls) {
    if (!isGoodHostCall(call)) continue;
    if (!isCallOf(call, "vy_device_info_get_vid") && !isCallOf(call, "vy_device_info_get_pid")) continue;
    if (!call.result.is_number_unsigned() || numberOf(call.result) > 0xFFFF)
      findings.fail(nameOf(call), fmt::format("gives {}: ids have 16 bits", call.result.dump()));
  }
}

// ---- Filters --------------------------------------------------------------------------------------------------------

void checkNames(const Recording& recording, Findings& findings) {
  std::map<Number, nlohmann::json> names;
  for (const Event& event : recording.events) {
    const Call& call = recording.calls[event.call];
    if (!event.isReturn || !isGoodHostCall(call)) continue;
    if (isCallOf(call, "vy_create_filter") || isCallOf(call, "vy_create_private_filter")) {
      names[numberOf(call.result)] = call.arguments[0];
    } else if (isCallOf(call, "vy_filter_get_name")) {
      const Number filter = argument(call, 0);
      const auto known = names.find(filter);
      if (known == names.end() || known->second == call.result) continue;
      findings.fail(fmt::format("filter {}", filter),
                    fmt::format("reports the name {} after {}: the library finds it by its name", show(call.result),
                                show(known->second)));
      known->second = call.result;
    }
  }
}

// ---- References -----------------------------------------------------------------------------------------------------

/// Whether the library gives back what a host function returns: devices and errors are the caller's.
bool isCounted(ValueKind kind) {
  return kind == ValueKind::deviceInfo || kind == ValueKind::filter || kind == ValueKind::schemaList ||
         kind == ValueKind::frame || kind == ValueKind::profile;
}

/// The references to objects that the library holds, by kind and number.
class References {
 public:
  explicit References(const Recording& recording) : recording_(recording) {}

  void follow(const Event& event, Findings& findings) {
    const Call& call = recording_.calls[event.call];
    const FunctionInfo& function = *call.function;
    if (!function.arguments.empty() && isCounted(function.arguments[0].kind)) {
      const Object object{function.arguments[0].kind, argument(call, 0)};
      // While a deletion runs on one thread, another thread may be given the address anew.
      const bool isGiven = function.isHost && function.givesReference;
      if (isGiven && !event.isReturn) release(object, call, findings);
      if (isGiven && event.isReturn && !isGoodHostCall(call)) retain(object);
      if (function.takesReference && event.isReturn && isGoodHostCall(call)) retain(object);
    }
    if (!event.isReturn || !isCounted(function.result)) return;
    const Object object{function.result, numberOf(call.result)};
    if (isGoodHostCall(call)) retain(object);
    // A frame that a function of the library returns to its caller is the caller's.
    if (!function.isHost && !call.parent.has_value() && object.kind == ValueKind::frame && counts_[object] > 0)
      --counts_[object];
  }

  /// Those of a kind that are held still.
  std::size_t countHeld(ValueKind kind) const {
    return static_cast<std::size_t>(std::count_if(counts_.begin(), counts_.end(), [kind](const auto& each) {
      return each.first.kind == kind && each.second > 0;
    }));
  }

 private:
  struct Object {
    ValueKind kind;
    Number number;
    bool operator<(const Object& other) const {
      return std::make_pair(kind, number) < std::make_pair(other.kind, other.number);
    }
  };

  void retain(const Object& object) {
    if (object.number != 0) ++counts_[object];
  }
  void release(const Object& object, const Call& call, Findings& findings) {
    if (object.number == 0) return;
    long& held = counts_[object];
    if (held > 0) {
      --held;
    } else if (call.hasReturned() && !hasFailed(call)) {
      findings.fail(nameOf(call), fmt::format("gives a {} back more often than it was taken", handleName(object.kind)));
    }
  }

  const Recording& recording_;
  std::map<Object, long> counts_;
};

/// How many contexts and processors live at the end.
std::size_t countLiving(const Recording& recording) {
  std::size_t living = 0;
  for (const Call& call : recording.calls) {
    if (call.function->isHost || !call.hasReturned() || hasFailed(call)) continue;
    const bool isMade = call.function->result == ValueKind::context || call.function->result == ValueKind::processor;
    if (isMade && numberOf(call.result) != 0) ++living;
    if (call.function->givesReference && living > 0) --living;
  }
  return living;
}

void checkReferences(const Recording& recording, Findings& findings) {
  References references(recording);
  for (const Event& event : recording.events) references.follow(event, findings);
  if (!unfinishedThreads(recording).empty()) {
    findings.skip("what is not given back: the recording ends within a call");
    return;
  }
  const auto demand = [&](ValueKind kind) {
    const std::size_t held = references.countHeld(kind);
    if (held != 0) findings.fail(handleName(kind), fmt::format("{} not given back", held));
  };
  for (const ValueKind kind : {ValueKind::frame, ValueKind::profile}) demand(kind);
  if (countLiving(recording) != 0) {
    findings.skip("filters that are not given back: processors or contexts live when the recording ends");
    return;
  }
  for (const ValueKind kind : {ValueKind::filter, ValueKind::schemaList, ValueKind::deviceInfo}) demand(kind);
}

// ---- Failures -------------------------------------------------------------------------------------------------------

void checkFailures(const Recording& recording, Findings& findings) {
  for (const Call& call : recording.calls) {
    if (!call.function->isHost || !hasFailed(call)) continue;
    const bool isFilter = isCallOf(call, "vy_create_filter") || isCallOf(call, "vy_create_private_filter");
    const std::string what = fmt::format("failed: {}", messageOf(call));
    if (isFilter) {
      findings.fail(fmt::format("{}({})", call.function->name, show(call.arguments[0])),
                    what + "; the filter is left out of its chain");
    } else {
      findings.warn(nameOf(call), what);
    }
  }
}

void checkErrorTexts(const Recording& recording, Findings& findings) {
  for (const Call& call : recording.calls) {
    if (call.newError.has_value() && call.newError->message.empty())
      findings.warn(nameOf(call), "failed with an error without a message");
  }
}

void checkNulls(const Recording& recording, Findings& findings) {
  for (const Call& call : recording.calls) {
    if (isGoodHostCall(call) && isHandle(call.function->result) && numberOf(call.result) == 0)
      findings.fail(nameOf(call), "gave null without an error");
  }
}

void checkExceptions(const Recording& recording, Findings& findings) {
  for (const Call& call : recording.calls) {
    if (call.function->isHost && !call.exception.empty())
      findings.fail(nameOf(call), fmt::format("was left by an exception of the type {}", call.exception));
  }
}

void checkReturns(const Recording& recording, Findings& findings) {
  for (const Call& call : recording.calls) {
    if (!call.hasReturned())
      findings.fail(nameOf(call), fmt::format("call {} on thread {} never returned", call.number, call.thread));
  }
}

// ---- Time -----------------------------------------------------------------------------------------------------------

/// The median time from one frame to the next of the same processor, in nanoseconds; that of 30 frames a second where
/// there are too few to tell.
double framePeriod(const Recording& recording) {
  constexpr std::size_t kEnough = 3;
  std::map<Number, std::uint64_t> last;
  std::vector<double> periods;
  for (const Call& call : recording.calls) {
    if (!isCallOf(call, "vy_frame_processor_process_frame")) continue;
    std::uint64_t& before = last[argument(call, 0)];
    if (before != 0 && call.beginTime >= before) periods.push_back(static_cast<double>(call.beginTime - before));
    before = call.beginTime;
  }
  if (periods.size() < kEnough) return 1e9 / 30;
  const auto middle = periods.begin() + static_cast<std::ptrdiff_t>(periods.size() / 2);
  std::nth_element(periods.begin(), middle, periods.end());
  return *middle;
}

void checkTimes(const Recording& recording, Findings& findings) {
  const double period = framePeriod(recording);
  struct Slow {
    std::size_t times = 0;
    double longest = 0;
  };
  std::map<std::string_view, Slow> slow;
  for (const Call& call : recording.calls) {
    if (!call.function->isHost || !call.hasReturned()) continue;
    // Less than nothing where the clock was set back meanwhile.
    const auto time = static_cast<double>(static_cast<std::int64_t>(call.endTime - call.beginTime));
    if (time <= period) continue;
    Slow& row = slow[call.function->name];
    ++row.times;
    row.longest = std::max(row.longest, time);
  }
  for (const auto& [name, row] : slow) {
    findings.warn(std::string(name),
                  fmt::format("took longer than a frame ({:.1f} ms) in {} {}, {:.1f} ms at the most", period / 1e6,
                              row.times, row.times == 1 ? "call" : "calls", row.longest / 1e6));
  }
}

// ---- All ------------------------------------------------------------------------------------------------------------

struct RecordingCheck {
  std::string_view name;
  std::string_view tried;
  void (*run)(const Recording& recording, Findings& findings);
};

// clang-format off
constexpr RecordingCheck kChecks[] = {
    {"records",     "intrinsics and schema items have values that can be right",       checkRecords},
    {"sizes",       "frames have a width and a height that can be right",              checkSizes},
    {"ids",         "vendor and product ids have 16 bits",                             checkIds},
    {"names",       "filters report the names that they were made by, at all times",   checkNames},
    {"references",  "what the library was given goes back as often as it was taken",   checkReferences},
    {"failures",    "no function of the host fails",                                   checkFailures},
    {"error texts", "errors have a message",                                           checkErrorTexts},
    {"nulls",       "no function of the host gives null without an error",             checkNulls},
    {"exceptions",  "no exception leaves a function of the host",                      checkExceptions},
    {"returns",     "every call returns",                                              checkReturns},
    {"times",       "no call of the host takes longer than a frame",                   checkTimes},
};
// clang-format on

}  // namespace

CheckReport checkRecording(const Recording& recording, const std::string& only) {
  CheckReport report;
  for (const RecordingCheck& check : kChecks) {
    if (!only.empty() && only != check.name) continue;
    Findings findings;
    check.run(recording, findings);
    findings.appendTo(report, check.name, check.tried);
  }
  if (report.findings.empty()) throw Failure(fmt::format("there is no check \"{}\"; the report names them all", only));
  return report;
}

}  // namespace vyhost
