#ifndef SRC_API_HOSTERRORSLOT_H
#define SRC_API_HOSTERRORSLOT_H

#include <TavrixSDK.h>

#include <utility>

/**
 * A local error slot for host calls whose errors end here: what is in it is deleted when the slot is cleared or goes
 * out of scope. Every place that absorbs host errors uses this type.
 *
 * A slot that several calls share can be written over while it holds an error. The host does not delete the former
 * object, so settle() after each such call does, once the object has nobody else to see it.
 */
class HostErrorSlot {
 public:
  HostErrorSlot() = default;
  HostErrorSlot(const HostErrorSlot&) = delete;
  HostErrorSlot& operator=(const HostErrorSlot&) = delete;
  ~HostErrorSlot() { clear(); }

  /// The slot to hand to host functions.
  vy_error** out() noexcept { return &error_; }

  bool isSet() const noexcept { return error_ != nullptr; }

  /// Deletes the error that the last call wrote over, if there was one.
  void settle() {
    if (error_ != settled_) {
      remove(settled_);
      settled_ = error_;
    }
  }

  /// Hands the error to the caller, who deletes it; the slot is empty then.
  [[nodiscard]] vy_error* release() {
    settle();
    error_ = nullptr;
    return std::exchange(settled_, nullptr);
  }

  /// Hands out the error that the slot held when it was last settled; one that was written since stays here.
  [[nodiscard]] vy_error* releaseSettled() noexcept {
    if (error_ == settled_) error_ = nullptr;
    return std::exchange(settled_, nullptr);
  }

  /// Deletes whatever the slot holds and empties it.
  void clear() { remove(release()); }

 private:
  static void remove(vy_error* error) {
    if (error != nullptr) vy_delete_error(error);
  }

  vy_error* error_ = nullptr;    ///< what host functions write
  vy_error* settled_ = nullptr;  ///< the content that is known to be this slot's
};

/**
 * Watches the caller's slot over several host calls in a row: an error that one of them stored and a later one wrote
 * over is deleted, since nobody would see it. What the slot held before the watch began is the caller's.
 */
class HostErrorWatch {
 public:
  explicit HostErrorWatch(vy_error** slot) noexcept : slot_(slot), former_(*slot), last_(*slot) {}

  /// To be called after each host call.
  void settle() {
    if (*slot_ == last_) return;
    if (last_ != former_) vy_delete_error(last_);
    last_ = *slot_;
  }

 private:
  vy_error** const slot_;
  vy_error* const former_;
  vy_error* last_;
};

#endif  // SRC_API_HOSTERRORSLOT_H
