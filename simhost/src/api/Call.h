#pragma once

#include <optional>
#include <utility>

#include "api/ArgumentText.h"
#include "instrumentation/Watch.h"

namespace tavrix {

/// Stores a new error object in a slot, whatever the slot holds; a null slot drops it.
void storeError(vy_error** slot, const char* function, const std::string& arguments, int exceptionType,
                const char* message) noexcept;
/// The same for the exception being handled.
void storeCurrentException(vy_error** slot, const char* function, const ArgumentText& text) noexcept;
void storeInjectedError(vy_error** slot, const char* function, const ArgumentText& text) noexcept;

/// Stores an injected error when the call ends, or rather the call's own error where there is one.
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

/// What is rarely needed stays out of the functions that every frame runs through. It takes bodies and arguments as
/// copies, and bodies capture by value: nothing has to lie in memory then while nobody watches and nothing fails.
#define TAVRIX_OUT_OF_LINE __attribute__((noinline, cold))
#define TAVRIX_IN_LINE inline __attribute__((always_inline))

template <typename... Value>
TAVRIX_OUT_OF_LINE void storeException(const char* function, vy_error** slot, Argument<Value>... arguments) {
  storeCurrentException(slot, function, [&] { return argumentText(arguments...); });
}

/// Body of an exported vysim_ function: exceptions become an error object and the neutral value of the result.
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

/// Body of an exported vy_ function that has an error slot: as above, and under watch.
template <typename Body, typename... Value>
TAVRIX_IN_LINE auto call(const char* function, vy_error** slot, Body&& body, Argument<Value>... arguments) {
  if (Watch::isOn()) return watchedCall(function, slot, body, arguments...);
  return guarded(function, slot, body, arguments...);
}

/// Body of an exported vy_ function without an error slot: watched, and failed only by orders that name it.
template <typename Body, typename... Value>
auto callWithoutSlot(const char* function, Body&& body, Argument<Value>... arguments) {
  using Result = decltype(body());
  if (!Watch::isOn()) return guarded(function, nullptr, body, arguments...);
  const Watch watch(function, false, [&] { return argumentText(arguments...); });
  if (watch.fault() && watch.fault() != VYSIM_FAULT_ERROR_WITH_RESULT) return Result();
  return guarded(function, nullptr, body, arguments...);
}

}  // namespace tavrix
