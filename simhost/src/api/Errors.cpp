// Exported functions of error objects. A null error is allowed everywhere.
#include "api/Call.h"
#include "core/HostError.h"

using tavrix::arg;
using tavrix::callWithoutSlot;
using tavrix::HostError;
using tavrix::Ref;

namespace {

/// A field of an error. There is no slot for failures, so a null or dead error has the neutral value.
template <typename Read>
auto readError(const char* function, const vy_error* error, Read&& read) {
  return callWithoutSlot(
      function, [&] { return error ? read(tavrix::resolve<HostError>(error, "error")) : decltype(read({})){}; },
      arg("error", error));
}

const char* textOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

extern "C" {

vy_error* vy_create_error(int status, const char* message, const char* function, const char* args, int exception_type) {
  return callWithoutSlot(
      __func__,
      [&] {
        return Ref<HostError>::make(status, textOrEmpty(message), textOrEmpty(function), textOrEmpty(args),
                                    exception_type)
            .detach();
      },
      arg("status", status), arg("message", message), arg("function", function), arg("args", args),
      arg("exception_type", exception_type));
}

void vy_delete_error(vy_error* error) {
  if (error == nullptr) return;  // not counted or recorded, as nothing happens
  callWithoutSlot(
      __func__, [&] { Ref<HostError>::release(error, "error"); }, arg("error", error));
}

int vy_error_get_status(const vy_error* error) {
  return readError(__func__, error, [](const HostError& each) { return each.status; });
}

const char* vy_error_get_message(const vy_error* error) {
  return textOrEmpty(readError(__func__, error, [](const HostError& each) { return each.message.c_str(); }));
}

const char* vy_error_get_function(const vy_error* error) {
  return textOrEmpty(readError(__func__, error, [](const HostError& each) { return each.function.c_str(); }));
}

const char* vy_error_get_args(const vy_error* error) {
  return textOrEmpty(readError(__func__, error, [](const HostError& each) { return each.arguments.c_str(); }));
}

int vy_error_get_exception_type(const vy_error* error) {
  return readError(__func__, error, [](const HostError& each) { return each.exceptionType; });
}

}  // extern "C"
