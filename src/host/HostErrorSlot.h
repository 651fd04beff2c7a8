#pragma once

#include <TavrixSDK.h>

#include <utility>

#if defined(__GNUC__)
#define VY_RARELY_RUN __attribute__((noinline, cold))
#else
#define VY_RARELY_RUN
#endif

/// A local slot for host calls whose errors end here: what is in it is deleted when the slot is cleared or goes out of
/// scope. Every place that absorbs host errors uses this type.
///
/// Several calls may share a slot. One that fails while an error lies in it writes over that error, which the host does
/// not delete; call() sees to it.
class HostErrorSlot {
 public:
  HostErrorSlot() = default;
  HostErrorSlot(const HostErrorSlot&) = delete;
  HostErrorSlot& operator=(const HostErrorSlot&) = delete;
  ~HostErrorSlot() {
    if (error_ != nullptr || known_ != nullptr) clear();
  }

  /// Deletes an error object; null does nothing.
  static void discard(vy_error* error) {
    if (error != nullptr) vy_delete_error(error);
  }

  /// Calls a host function, or one of the same shape, with this slot as its last argument.
  template <typename Function, typename... Arguments>
  auto call(Function* function, Arguments... arguments) {
    const OverwriteGuard guard(*this);
    return function(arguments..., &error_);
  }

  /// As call(), but an error that is written over stays with the slot, for releaseFirst() to hand out.
  template <typename Function, typename... Arguments>
  auto callKeeping(Function* function, Arguments... arguments) {
    return function(arguments..., &error_);
  }

  /// The slot itself, for a single call that is not of that shape.
  vy_error** out() noexcept { return &error_; }

  bool isSet() const noexcept { return error_ != nullptr; }

  /// Hands the slot's error to the caller, who deletes it; the slot is empty then.
  [[nodiscard]] vy_error* release() {
    dropOverwritten();
    known_ = nullptr;
    return std::exchange(error_, nullptr);
  }

  /// Hands out the error that lay in the slot before callKeeping(); what that call wrote is deleted with the slot.
  [[nodiscard]] vy_error* releaseFirst() noexcept {
    if (error_ == known_) error_ = nullptr;
    return std::exchange(known_, nullptr);
  }

  /// Deletes whatever the slot holds and empties it.
  VY_RARELY_RUN void clear() { discard(release()); }

 private:
  class OverwriteGuard {
   public:
    explicit OverwriteGuard(HostErrorSlot& slot) noexcept : slot_(slot) {}
    OverwriteGuard(const OverwriteGuard&) = delete;
    OverwriteGuard& operator=(const OverwriteGuard&) = delete;
    ~OverwriteGuard() { slot_.dropOverwritten(); }

   private:
    HostErrorSlot& slot_;
  };

  // Runs after every host call of a frame: no more than a comparison there.
  void dropOverwritten() {
    if (error_ != known_) replaceKnown();
  }

  /// Out of line, as errors are rare: the functions that call the host stay short.
  VY_RARELY_RUN void replaceKnown() {
    discard(known_);
    known_ = error_;
  }

  vy_error* error_ = nullptr;  ///< what host functions write
  vy_error* known_ = nullptr;  ///< the error that lay here after the last call(); differs once written over
};
