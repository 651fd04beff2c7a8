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

/// Kinds of objects behind handles: those of vysim_kind, and cameras, which vysim_live_count() leaves out.
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

/// What every handle points at. A header is never freed, so that the handle of a dead object can be read and refused.
/// The object lies behind its header, which serves one object after the other.
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
  /// Drops a reference. Returns how many are left, or -1 where the object was dead already.
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

/// Throws the Refusal that tells why a handle is not that of a living object of the `expected` kind.
[[noreturn]] void refuseHandle(const ObjectHeader* header, Kind expected, const char* argument);

/// The slots of one kind whose objects are dead. They are reused in the order in which their objects died.
class Graveyard {
 public:
  /// Takes the slot that has been dead longest; null where a new one has to be made.
  ObjectHeader* takeOldest() noexcept;
  /// Puts a slot without an object at the end of the queue.
  void putBack(ObjectHeader* slot) noexcept;
  /// Marks a slot as holding a living object with one reference.
  void birth(ObjectHeader* slot) noexcept;
  /// Puts a slot whose object has just died at the end of the queue.
  void bury(ObjectHeader* slot) noexcept;

  size_t liveCount() const { return live_.load(std::memory_order_relaxed); }
  void restartSerials() { serials_.store(0, std::memory_order_relaxed); }

  static Graveyard& of(Kind kind);

 private:
  // Slots that always wait. A use after delete is found until this many others of the kind have died. More would find
  // it for longer, but cost memory and fresh allocations.
  static constexpr size_t kQuarantine = 256;

  std::mutex mutex_;
  ObjectHeader* oldest_ = nullptr;
  ObjectHeader* youngest_ = nullptr;
  size_t deadCount_ = 0;
  std::atomic<size_t> live_{0};
  std::atomic<uint32_t> serials_{0};
};

/// A header and room for an object. Slots are never freed; the graveyard keeps the dead ones.
template <typename T>
struct Slot {
  ObjectHeader header{T::kKind};
  alignas(T) unsigned char storage[sizeof(T)];

  T* object() { return std::launder(static_cast<T*>(static_cast<void*>(storage))); }
};

/// Whether a handle that a caller passed is that of a living object of the right kind.
template <typename T>
bool isObject(const typename T::Handle* handle) {
  const auto* const header = reinterpret_cast<const ObjectHeader*>(handle);
  return header && header->mark == ObjectHeader::kMark && header->kind == T::kKind && header->isAlive();
}

/// The object of a handle that a caller passed; throws Refusal unless it is alive and of the right kind.
template <typename T>
T& resolve(const typename T::Handle* handle, const char* argument) {
  if (!isObject<T>(handle)) refuseHandle(reinterpret_cast<const ObjectHeader*>(handle), T::kKind, argument);
  return *reinterpret_cast<Slot<T>*>(const_cast<typename T::Handle*>(handle))->object();
}

/// One reference to an object. It cannot be copied: share() and retain() add a reference.
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
  /// Adds a reference to the object of a handle. Throws Refusal as resolve() does.
  static Ref retain(const Handle* handle, const char* argument);
  /// Drops the reference that a handle stands for. Throws Refusal as resolve() does.
  static void release(const Handle* handle, const char* argument);

  /// How many references are held on a living object.
  static int32_t count(const Handle* handle) {
    return slotOf(handle)->header.references.load(std::memory_order_relaxed);
  }

  T& operator*() const { return *slot_->object(); }
  T* operator->() const { return slot_->object(); }

  /// The handle. The reference stays here.
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

/// An object for the length of a call. The caller's reference keeps it alive, so the count need not change.
template <typename T>
class Loan {
 public:
  using Handle = typename T::Handle;

  /// Throws Refusal as resolve() does.
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
