#pragma once

#include <optional>
#include <utility>

#include "api/ArgumentText.h"
#include "instrumentation/Watch.h"

namespace tavrix {

/// Stores a new error object in a slot, over whatever the slot holds. Does nothing where the slot is null.
void storeError(vy_error** slot, const char* function, const std::string& arguments, int exceptionType,
                const char* message) noexcept;
/// The same for the exception being handled. A Refusal is counted, with a slot or without.
void storeCurrentException(vy_error** slot, const char* function, const ArgumentText& text) noexcept;
void storeInjectedError(vy_error** slot, const char* function, const ArgumentText& text) noexcept;

/// Stores an error when the call ends: the call's own, or an injected one where the call succeeded.
class InjectedErrorAtEnd {
 public:
  InjectedErrorAtEnd(vy_error** slot, const char* function, ArgumentText text)
      : slot_(slot), function_(function), text_(std::move(text)) {}
  ~InjectedErrorAtEnd();
  InjectedErrorAtEnd(const InjectedErrorAtEnd&) = delete;
  InjectedErrorAtEnd& operator=(const InjectedErrorAtEnd&) = delete;

  vy_error* ownError = nullptr;

 private:
  vy_error** slot_;
  const char* function_;
  ArgumentText text_;
};

// Code that is rarely needed stays out of the functions that every frame runs through. It takes bodies and arguments by
// value, and bodies capture by value, so that they stay in registers while nobody watches and nothing fails.
#define TAVRIX_OUT_OF_LINE __attribute__((noinline, cold))
#define TAVRIX_IN_LINE inline __attribute__((always_inline))

template <typename... Value>
TAVRIX_OUT_OF_LINE void storeException(const char* function, vy_error** slot, Argument<Value>... arguments) {
  storeCurrentException(slot, function, [&] { return argumentText(arguments...); });
}

/// Runs the body of a vysim_ function. An exception becomes an error object and the neutral value of the result.
template <typename Body, typename... Value>
TAVRIX_IN_LINE auto guarded(const char* function, vy_error** slot, Body&& body, Argument<Value>... arguments) {
  using Result = decltype(body());
  try {
    return body();
  } catch (...) {
    storeException(function, slot, arguments...);
  }
  return Result();
}

template <typename Body, typename... Value>
TAVRIX_OUT_OF_LINE auto watchedCall(const char* function, vy_error** slot, Body body, Argument<Value>... arguments) {
  using Result = decltype(body());
  const auto text = [&] { return argumentText(arguments...); };
  const Watch watch(function, true, text);
  if (watch.fault() == VYSIM_FAULT_NULL) return Result();
  if (watch.fault() == VYSIM_FAULT_ERROR) {
    storeInjectedError(slot, function, text);
    return Result();
  }
  if (watch.fault() == VYSIM_FAULT_ERROR_WITH_RESULT) {
    InjectedErrorAtEnd atEnd(slot, function, text);
    return guarded(function, &atEnd.ownError, body, arguments...);
  }
  return guarded(function, slot, body, arguments...);
}

/// Runs the body of a vy_ function that has an error slot: as guarded(), and watched.
template <typename Body, typename... Value>
TAVRIX_IN_LINE auto call(const char* function, vy_error** slot, Body&& body, Argument<Value>... arguments) {
  if (Watch::isOn()) return watchedCall(function, slot, body, arguments...);
  return guarded(function, slot, body, arguments...);
}

/// Runs the body of a vy_ function without an error slot: watched, but only orders that name it let it fail.
template <typename Body, typename... Value>
auto callWithoutSlot(const char* function, Body&& body, Argument<Value>... arguments) {
  using Result = decltype(body());
  if (!Watch::isOn()) return guarded(function, nullptr, body, arguments...);
  const Watch watch(function, false, [&] { return argumentText(arguments...); });
  if (watch.fault() && watch.fault() != VYSIM_FAULT_ERROR_WITH_RESULT) return Result();
  return guarded(function, nullptr, body, arguments...);
}

}  // namespace tavrix
