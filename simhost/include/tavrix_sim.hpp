/// TavrixSDK.h and tavrix_sim.h for C++17: errors as values, calls that throw, owners of what the host hands out. All
/// of it is in this header, and works as well for functions of the same shape that the host does not have, such as
/// those of vy_frame_processor.h.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "TavrixSDK.h"
#include "tavrix_sim.h"

namespace vysim {

// ---- Errors ---------------------------------------------------------------------------------------------------------

/// What an error object says. Without an error all fields are 0 or empty.
struct Error {
  int status = 0;
  std::string message;
  std::string function;  ///< that reported it
  std::string args;      ///< that function's arguments
  int exceptionType = 0;
};

/// The error slot of a call whose error is of interest: `vy_filter_reset(filter, slot)`. Owns the error object. A slot
/// may serve any number of calls, one after the other.
class ErrorSlot {
 public:
  ErrorSlot() = default;
  ErrorSlot(const ErrorSlot&) = delete;
  ErrorSlot& operator=(const ErrorSlot&) = delete;
  ~ErrorSlot() { clear(); }

  /// The last argument of the next call. Empties the slot first, as it must hold null on entry.
  operator vy_error**() {
    clear();
    return &error_;
  }

  bool isSet() const { return error_ != nullptr; }

  /// Empties the slot and says what was in it.
  Error take() {
    if (error_ == nullptr) return {};
    Error error = {vy_error_get_status(error_), vy_error_get_message(error_), vy_error_get_function(error_),
                   vy_error_get_args(error_), vy_error_get_exception_type(error_)};
    clear();
    return error;
  }

 private:
  void clear() {
    if (error_ != nullptr) vy_delete_error(error_);
    error_ = nullptr;
  }

  vy_error* error_ = nullptr;
};

/// Thrown by call(); its text reads "vy_filter_reset: filter is dead".
class CallFailed : public std::runtime_error {
 public:
  explicit CallFailed(Error error) : runtime_error(error.function + ": " + error.message), error_(std::move(error)) {}

  const Error& error() const { return error_; }

 private:
  Error error_;
};

/// Calls a function that takes an error slot behind these arguments, and returns its result; throws CallFailed if there
/// is an error: `call(vy_filter_enable, filter, true)`. A member function takes its object as the first argument.
template <typename Function, typename... Arguments>
auto call(Function function, Arguments... arguments) {
  ErrorSlot slot;
  const auto check = [&slot] {
    if (slot.isSet()) throw CallFailed(slot.take());
  };
  if constexpr (std::is_void_v<std::invoke_result_t<Function, Arguments..., vy_error**>>) {
    std::invoke(function, arguments..., slot);
    check();
  } else {
    auto result = std::invoke(function, arguments..., slot);
    check();
    return result;
  }
}

// ---- Owners ---------------------------------------------------------------------------------------------------------

/// What owners do when the host refuses to take an object back, for instance because it is dead. They do nothing at
/// first; a test sets this to a function that fails. The same for all threads.
inline void (*onRefusal)(const Error& error) = [](const Error& /*error*/) {};

/// Gives an object back through a delete function of the host, or one of the same shape.
template <auto deleteFunction>
struct Delete {
  template <typename Object>
  void operator()(Object* object) const {
    ErrorSlot slot;
    deleteFunction(object, slot);
    if (slot.isSet()) onRefusal(slot.take());
  }
};

/// The type of objects that a delete function takes; for Owner only.
template <typename Object>
std::remove_const_t<Object> objectOf(void (*deleteFunction)(Object*, vy_error**));

/// The owner of what a delete function takes: `using Context = vysim::Owner<vy_destroy_frame_processor_context>`.
template <auto deleteFunction>
using Owner = std::unique_ptr<decltype(objectOf(deleteFunction)), Delete<deleteFunction>>;

using Camera = Owner<vysim_close_camera>;
using Device = Owner<vysim_delete_device>;
using DeviceInfo = Owner<vy_delete_device_info>;
using Filter = Owner<vy_delete_filter>;
using SchemaList = Owner<vy_delete_filter_config_schema_list>;
using StreamProfile = Owner<vy_delete_stream_profile>;
/// Owns one reference to a frame.
using Frame = Owner<vy_delete_frame>;

}  // namespace vysim
