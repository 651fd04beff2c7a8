#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>

#include "core/Failure.h"
#include "tavrix_sim.h"

namespace tavrix {

/// Kinds of objects behind handles: those of vysim_kind, and those that nobody counts.
enum class Kind : uint32_t {
  device = VYSIM_DEVICE,
  deviceInfo = VYSIM_DEVICE_INFO,
  filter = VYSIM_FILTER,
  schemaList = VYSIM_SCHEMA_LIST,
  frame = VYSIM_FRAME,
  streamProfile = VYSIM_STREAM_PROFILE,
  error = VYSIM_ERROR,
  camera = VYSIM_KIND_COUNT,
  count
};

/// "frame", "stream_profile" ...
const char* kindName(Kind kind);

/// What every handle points at. Headers are made once and never go away, so that a handle can be asked whether its
/// object is alive however long it is dead; the object itself lies behind the header and comes and goes.
struct ObjectHeader {
  static constexpr uint32_t kMark = 0x7A57C0DE;

  explicit ObjectHeader(Kind objectKind) : kind(objectKind) {}

  const uint32_t mark = kMark;
  const Kind kind;
  std::atomic<int32_t> references{0};  // 0 = dead
  std::atomic<uint32_t> serial{0};
  ObjectHeader* nextDead = nullptr;

  bool isAlive() const { return references.load(std::memory_order_acquire) > 0; }
  /// Adds a reference unless the object is dead.
  bool retain() {
    int32_t count = references.load(std::memory_order_relaxed);
    while (count > 0) {
      if (references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
    }
    return false;
  }
  /// Drops a reference; what is left, or -1 when the object was dead already.
  int32_t release() {
    int32_t count = references.load(std::memory_order_relaxed);
    while (count > 0) {
      if (references.compare_exchange_weak(count, count - 1, std::memory_order_acq_rel, std::memory_order_relaxed)) {
        return count - 1;
      }
    }
    return -1;
  }
};

/// Throws the Failure that tells what is wrong with a handle of which an object of `expected` kind was wanted.
[[noreturn]] void refuseHandle(const ObjectHeader* header, Kind expected, const char* argument);

/// The dead of one kind, reused in the order in which they died, and only when enough others have died since.
class Graveyard {
 public:
  /// The slot that has been dead longest, or null when a new one has to be made.
  ObjectHeader* takeOldest() noexcept;
  /// Puts a slot that holds no object in line.
  void putBack(ObjectHeader* slot) noexcept;
  /// Marks a slot as holding a living object with one reference, or as having lost it.
  void birth(ObjectHeader* slot) noexcept;
  void bury(ObjectHeader* slot) noexcept;

  size_t liveCount() const { return live_.load(std::memory_order_relaxed); }
  void restartSerials() { serials_.store(0, std::memory_order_relaxed); }

  static Graveyard& of(Kind kind);

 private:
  // A use after delete is found as long as the slot waits here.
  static constexpr size_t kQuarantine = 256;

  std::mutex mutex_;
  ObjectHeader* oldest_ = nullptr;
  ObjectHeader* youngest_ = nullptr;
  size_t deadCount_ = 0;
  std::atomic<size_t> live_{0};
  std::atomic<uint32_t> serials_{0};
};

/// Header and room for an object. Never freed: dead slots stay reachable through the graveyard.
template <typename T>
struct Slot {
  ObjectHeader header{T::kKind};
  alignas(T) unsigned char storage[sizeof(T)];

  T* object() { return std::launder(reinterpret_cast<T*>(storage)); }
};

/// The object of a handle that a caller passed; throws Failure unless it is alive and of the right kind.
template <typename T>
T& resolve(const typename T::Handle* handle, const char* argument) {
  auto* slot = reinterpret_cast<Slot<T>*>(const_cast<typename T::Handle*>(handle));
  if (!slot || slot->header.mark != ObjectHeader::kMark || slot->header.kind != T::kKind || !slot->header.isAlive()) {
    refuseHandle(reinterpret_cast<const ObjectHeader*>(handle), T::kKind, argument);
  }
  return *slot->object();
}

/// One reference to an object. Move-only; a further reference is asked for by name.
template <typename T>
class Ref {
 public:
  using Handle = typename T::Handle;

  Ref() = default;
  Ref(Ref&& other) noexcept : slot_(std::exchange(other.slot_, nullptr)) {}
  Ref& operator=(Ref&& other) noexcept {
    if (this != &other) {
      reset();
      slot_ = std::exchange(other.slot_, nullptr);
    }
    return *this;
  }
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  ~Ref() { reset(); }

  /// Makes an object with one reference.
  template <typename... Arg>
  static Ref make(Arg&&... arguments);
  /// Takes over a reference that the caller owns.
  static Ref adopt(Handle* handle) { return Ref(slotOf(handle)); }
  /// A reference more to the object of a handle; throws Failure when that is dead.
  static Ref retain(const Handle* handle, const char* argument);
  /// Drops the reference that a handle stands for; throws Failure when the object is dead.
  static void release(const Handle* handle, const char* argument);

  /// References held on an object; throws Failure when it is dead.
  static int32_t count(const Handle* handle, const char* argument) {
    resolve<T>(handle, argument);
    return slotOf(handle)->header.references.load(std::memory_order_relaxed);
  }

  explicit operator bool() const { return slot_ != nullptr; }
  T& operator*() const { return *slot_->object(); }
  T* operator->() const { return slot_->object(); }

  /// The handle, the reference staying here.
  Handle* handle() const { return reinterpret_cast<Handle*>(slot_); }
  /// The handle together with the reference.
  Handle* detach() { return reinterpret_cast<Handle*>(std::exchange(slot_, nullptr)); }
  Ref share() const {
    if (slot_) slot_->header.retain();
    return Ref(slot_);
  }
  void reset() noexcept {
    if (slot_) drop(std::exchange(slot_, nullptr));
  }

 private:
  explicit Ref(Slot<T>* slot) : slot_(slot) {}
  static Slot<T>* slotOf(const Handle* handle) { return reinterpret_cast<Slot<T>*>(const_cast<Handle*>(handle)); }
  static int32_t drop(Slot<T>* slot) noexcept;

  Slot<T>* slot_ = nullptr;
};

/// Use of an object for the length of a call, under the reference of the caller: the count stays as it is.
template <typename T>
class Loan {
 public:
  using Handle = typename T::Handle;

  /// Throws Failure unless the handle's object is alive and of the right kind.
  Loan(const Handle* handle, const char* argument) : handle_(handle), object_(resolve<T>(handle, argument)) {}

  const T& operator*() const { return object_; }
  const T* operator->() const { return &object_; }
  const Handle* handle() const { return handle_; }
  Ref<T> share() const { return Ref<T>::retain(handle_, "object"); }

 private:
  const Handle* handle_;
  const T& object_;
};

template <typename T>
template <typename... Arg>
Ref<T> Ref<T>::make(Arg&&... arguments) {
  static_assert(std::is_standard_layout_v<Slot<T>>, "a handle must point at the header");
  Graveyard& graveyard = Graveyard::of(T::kKind);
  auto* slot = reinterpret_cast<Slot<T>*>(graveyard.takeOldest());
  if (!slot) slot = new Slot<T>;
  try {
    ::new (static_cast<void*>(slot->storage)) T{std::forward<Arg>(arguments)...};
  } catch (...) {
    graveyard.putBack(&slot->header);
    throw;
  }
  graveyard.birth(&slot->header);
  return Ref(slot);
}

template <typename T>
Ref<T> Ref<T>::retain(const Handle* handle, const char* argument) {
  resolve<T>(handle, argument);
  Slot<T>* slot = slotOf(handle);
  if (!slot->header.retain()) refuseHandle(&slot->header, T::kKind, argument);
  return Ref(slot);
}

template <typename T>
void Ref<T>::release(const Handle* handle, const char* argument) {
  resolve<T>(handle, argument);
  Slot<T>* slot = slotOf(handle);
  if (drop(slot) < 0) refuseHandle(&slot->header, T::kKind, argument);
}

template <typename T>
int32_t Ref<T>::drop(Slot<T>* slot) noexcept {
  const int32_t left = slot->header.release();
  if (left == 0) {
    slot->object()->~T();
    Graveyard::of(T::kKind).bury(&slot->header);
  }
  return left;
}

}  // namespace tavrix
