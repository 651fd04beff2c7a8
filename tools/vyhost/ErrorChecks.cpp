// Checks of the host as a whole: its functions, its errors, and what else does not depend on a filter's kind.
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "CommaLocale.h"
#include "FunctionTable.h"
#include "HostChecks.h"
#include "SchemaItems.h"

namespace vyhost {
namespace {

constexpr const char* kNoFilter = "NoSuchFilter";

void checkFunctions(const HostUnderTest& host) {
  for (const FunctionInfo& function : functions()) {
    if (function.isHost && host.find(std::string(function.name).c_str()) == nullptr)
      host.trial.fail(fmt::format("{} is missing: the library cannot be loaded", function.name));
  }
}

void checkErrorFunctions(const HostUnderTest& host) {
  for (const char* const name : {"vy_error_get_status", "vy_error_get_message", "vy_error_get_function",
                                 "vy_error_get_args", "vy_error_get_exception_type"}) {
    if (host.find(name) == nullptr)
      host.trial.warn(fmt::format("{} is missing: errors and recordings are harder to read", name));
  }
}

void checkErrorFields(const HostUnderTest& host) {
  char message[] = "a message", function[] = "a function", arguments[] = "some arguments";
  vy_error* const error = host.vy_create_error(7, message, function, arguments, 3);
  if (error == nullptr) throw Broken("vy_create_error gave null");
  for (char* const text : {message, function, arguments}) std::memset(text, 'x', std::strlen(text));
  vy_error* const later = host.vy_create_error(8, "later", "later", "later", 4);

  const auto compareNumber = [&](const auto& read, int wanted) {
    const int number = read(error);
    if (number != wanted) host.trial.fail(fmt::format("{} gives {} for {}", read.name(), number, wanted));
  };
  const auto compareText = [&](const auto& read, const char* wanted) {
    const auto text = readText(read(error), read.name());
    if (text != wanted) {
      host.trial.fail(fmt::format("{} gives \"{}\" for \"{}\": an error must keep a copy of its texts", read.name(),
                                  text.value_or("null"), wanted));
    }
  };
  compareNumber(host.vy_error_get_status, 7);
  compareText(host.vy_error_get_message, "a message");
  compareText(host.vy_error_get_function, "a function");
  compareText(host.vy_error_get_args, "some arguments");
  compareNumber(host.vy_error_get_exception_type, 3);
  host.vy_delete_error(later);
  host.vy_delete_error(error);
}

void checkNullError(const HostUnderTest& host) {
  host.vy_delete_error(nullptr);
}

void checkErrorText(const HostUnderTest& host) {
  vy_error* error = nullptr;
  host.vy_create_filter(kNoFilter, &error);
  if (error == nullptr) throw NotTried("a filter of an unknown name is no error");
  const auto message = readText(host.vy_error_get_message(error), "the message of an error");
  if (message.value_or("").empty()) host.trial.warn("the error for an unknown filter has no message");
}

/// What is in the slot before a call stays there if the call succeeds, and is left to its owner if it fails.
void checkSlot(const HostUnderTest& host) {
  vy_filter_t* const filter = makeFilter(host, "FrameMirror");
  vy_error* const older = host.vy_create_error(1, "older", "", "", 0);
  vy_error* slot = older;
  host.vy_filter_is_enabled(filter, &slot);
  if (slot != older) {
    host.trial.warn("a call that succeeds changes what is in the error slot");
    slot = older;
  }
  host.vy_create_filter(kNoFilter, &slot);
  if (slot == older) {
    host.trial.warn("a call that fails leaves an older error in the slot: the library takes it for a success");
    return;
  }
  const auto getMessage = host.vy_error_get_message.address();
  const auto deleteError = host.vy_delete_error.address();
  // Behind the look-ups: each makes its function the step.
  host.trial.at("reading and deleting the older error after a call has written over it");
  const auto message = readText(getMessage(older), "the message of the older error");
  if (message != "older")
    throw Broken("a call that fails deletes the older error in the slot, which the library deletes as well");
  deleteError(older);
  if (slot != nullptr) deleteError(slot);
}

// ---- Creating what is not there -------------------------------------------------------------------------------------

void checkUnknownNames(const HostUnderTest& host) {
  for (const auto* create : {&host.vy_create_filter, &host.vy_create_private_filter}) {
    for (const char* const name : {kNoFilter, ""}) {
      const auto answer = host.ask(*create, name);
      if (!answer.error.isSet) {
        host.trial.fail(fmt::format("{}(\"{}\") gives {} without an error: it becomes part of a chain", create->name(),
                                    name, answer.result != nullptr ? "a filter" : "null"));
      }
    }
  }
}

// ---- Several filters, threads, locales ------------------------------------------------------------------------------

void checkTwins(const HostUnderTest& host) {
  vy_filter_t* const first = makeFilter(host, "FrameMirror");
  vy_filter_t* const second = makeFilter(host, "FrameMirror");
  if (first == second) throw Broken("two filters of one name are the same object: cameras would share it");
  host.must(host.vy_filter_enable, first, true);
  host.must(host.vy_filter_enable, second, false);
  if (!host.must(host.vy_filter_is_enabled, first)) throw Broken("two filters of one name share their switch");
}

void checkThreads(const HostUnderTest& host) {
  constexpr int kTurns = 200;
  bool isRight[2] = {false, false};
  // The functions' addresses alone: a step is for one thread.
  const auto create = host.vy_create_filter.address();
  const auto enable = host.vy_filter_enable.address();
  const auto isEnabled = host.vy_filter_is_enabled.address();
  const auto remove = host.vy_delete_filter.address();
  const auto work = [&](bool& right) {
    vy_error* error = nullptr;
    for (int i = 0; i < kTurns && error == nullptr; ++i) {
      vy_filter_t* const filter = create("FrameMirror", &error);
      if (error != nullptr) return;
      enable(filter, i % 2 == 0, &error);
      if (isEnabled(filter, &error) != (i % 2 == 0)) return;
      remove(filter, &error);
    }
    right = error == nullptr;
  };
  makeFilter(host, "FrameMirror");
  host.trial.at("filters on two threads");
  std::thread other(work, std::ref(isRight[0]));
  work(isRight[1]);
  other.join();
  if (!isRight[0] || !isRight[1]) throw Broken("filters of their own on two threads disturb each other");
}

std::vector<double> resizeValues(const HostUnderTest& host) {
  vy_filter_t* const filter = makeFilter(host, "DepthResize");
  configure(host, filter, findKnownFilter("DepthResize")->initialArguments.front());
  std::vector<double> values;
  for (const SchemaItem& item : readItems(host, filter))
    values.push_back(host.must(host.vy_filter_get_config_value, filter, item.nameAddress));
  return values;
}

void checkCommaLocale(const HostUnderTest& host) {
  const std::vector<double> withPoint = resizeValues(host);
  if (!CommaLocale::set()) throw NotTried("there is no locale with a decimal comma, nor localedef to make one");
  if (resizeValues(host) != withPoint)
    throw Broken("DepthResize reads its texts in another way: they have a decimal point whatever the locale");
}

// ---- Cost -----------------------------------------------------------------------------------------------------------

/// The median time of a call in nanoseconds.
template <typename Function>
long long medianNanoseconds(const HostFunction<Function>& function, const vy_filter_t* filter) {
  using Clock = std::chrono::steady_clock;
  constexpr std::size_t kRounds = 101;
  constexpr int kCalls = 100;
  const auto call = function.address();
  std::vector<long long> times(kRounds);
  for (long long& time : times) {
    vy_error* error = nullptr;
    const auto start = Clock::now();
    for (int i = 0; i < kCalls; ++i) static_cast<void>(call(filter, &error));
    time = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count() / kCalls;
  }
  std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
  return times[kRounds / 2];
}

void measureCost(const HostUnderTest& host) {
  const vy_filter_t* const filter = makeFilter(host, "FrameMirror");
  host.trial.note(fmt::format("vy_filter_is_enabled {} ns, vy_filter_get_name {} ns",
                              medianNanoseconds(host.vy_filter_is_enabled, filter),
                              medianNanoseconds(host.vy_filter_get_name, filter)));
}

void leaveFrames(const HostUnderTest&) {
  throw NotTried("cameras and frames cannot be made from outside: record a session and check the recording");
}

}  // namespace

// clang-format off
const std::vector<HostCheck> kErrorChecks = {
    {"functions",       "all functions that the library imports are there",             Verdict::fail,    checkFunctions},
    {"error functions", "the functions that read an error are there",                   Verdict::fail,    checkErrorFunctions},
    {"error fields",    "an error keeps its five fields, the texts as copies",          Verdict::fail,    checkErrorFields},
    {"null error",      "deleting a null error does nothing",                           Verdict::warning, checkNullError},
    {"error text",      "the host's own errors have a message",                         Verdict::fail,    checkErrorText},
    {"error slot",      "an older error in the slot is left to its owner",              Verdict::fail,    checkSlot},
    {"unknown filter",  "a filter of an unknown name is an error",                      Verdict::fail,    checkUnknownNames},
};

const std::vector<HostCheck> kUseChecks = {
    {"two of a name",   "two filters of one name have nothing in common",               Verdict::fail,    checkTwins},
    {"threads",         "two threads work with filters of their own",                   Verdict::fail,    checkThreads},
    {kCommaLocaleCheck,   "DepthResize reads its texts alike in a locale with a decimal comma", Verdict::fail, checkCommaLocale},
    {"cost",            "median time of a call",                                        Verdict::fail,    measureCost},
    {"frames",          "frames, profiles and devices",                                 Verdict::fail,    leaveFrames},
};
// clang-format on

}  // namespace vyhost
