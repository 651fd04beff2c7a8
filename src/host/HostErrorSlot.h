#pragma once

#include <TavrixSDK.h>

#include <utility>

/// A local slot for host calls whose errors end in the library: the error in it is deleted when the slot is cleared or
/// goes out of scope. Every place that absorbs host errors uses this type.
class HostErrorSlot {
 public:
  HostErrorSlot() = default;
  HostErrorSlot(const HostErrorSlot&) = delete;
  HostErrorSlot& operator=(const HostErrorSlot&) = delete;
  ~HostErrorSlot() { clear(); }

  /// Deletes an error object; null does nothing.
  static void discard(vy_error* error) {
    if (error != nullptr) vy_delete_error(error);
  }

  /// Calls a host function, or one of the same shape, with this slot as its last argument. If the call overwrites an
  /// older error, which the host does not delete, call() deletes the older one.
  template <typename Function, typename... Arguments>
  auto call(Function* function, Arguments... arguments) {
    const OlderError older{*this, error_};
    return function(arguments..., &error_);
  }

  /// The slot itself, for a single call that is not of that shape.
  vy_error** out() noexcept { return &error_; }

  bool isSet() const noexcept { return error_ != nullptr; }

  /// Hands the error to the caller, who deletes it; the slot is empty then.
  [[nodiscard]] vy_error* release() noexcept { return std::exchange(error_, nullptr); }

  /// Deletes the error in the slot, if there is one.
  void clear() { discard(release()); }

 private:
  /// Looks at the slot again after a call.
  struct OlderError {
    const HostErrorSlot& slot;
    vy_error* const error;
    ~OlderError() {
      if (error != slot.error_) discard(error);
    }
  };

  vy_error* error_ = nullptr;
};
