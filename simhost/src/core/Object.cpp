#include "core/Object.h"

#include <fmt/core.h>

#include <array>

namespace tavrix {
namespace {

constexpr size_t kKindCount = static_cast<size_t>(Kind::count);

constexpr std::array<const char*, kKindCount> kKindNames = {"device", "device_info",    "filter", "schema_list",
                                                            "frame",  "stream_profile", "error",  "camera"};

}  // namespace

const char* kindName(Kind kind) {
  const auto index = static_cast<size_t>(kind);
  return index < kKindCount ? kKindNames[index] : "unknown";
}

void refuseHandle(const ObjectHeader* header, Kind expected, const char* argument) {
  if (header == nullptr) {
    throw Refusal(ExceptionType::invalidValue, fmt::format("{} is null: expected a {}", argument, kindName(expected)));
  }
  if (header->mark != ObjectHeader::kMark) {
    throw Refusal(ExceptionType::wrongObject,
                  fmt::format("{} is no object of this host: expected a {}", argument, kindName(expected)));
  }
  if (header->kind != expected) {
    throw Refusal(ExceptionType::wrongObject,
                  fmt::format("{}: expected a {} but got a {}", argument, kindName(expected), kindName(header->kind)));
  }
  throw Refusal(ExceptionType::deadObject,
                fmt::format("{} is dead: {}#{} was deleted before", argument, kindName(expected),
                            header->serial.load(std::memory_order_relaxed)));
}

Graveyard& Graveyard::of(Kind kind) {
  // Never destroyed: handles may outlive every static object of the process.
  static auto* const graveyards = new std::array<Graveyard, kKindCount>;
  return (*graveyards)[static_cast<size_t>(kind)];
}

ObjectHeader* Graveyard::takeOldest() noexcept {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (deadCount_ <= kQuarantine) return nullptr;
  --deadCount_;
  return std::exchange(oldest_, oldest_->nextDead);
}

void Graveyard::putBack(ObjectHeader* slot) noexcept {
  const std::lock_guard<std::mutex> lock(mutex_);
  slot->nextDead = nullptr;
  (deadCount_ == 0 ? oldest_ : youngest_->nextDead) = slot;
  youngest_ = slot;
  ++deadCount_;
}

void Graveyard::birth(ObjectHeader* slot) noexcept {
  live_.fetch_add(1, std::memory_order_relaxed);
  slot->serial.store(serials_.fetch_add(1, std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  slot->references.store(1, std::memory_order_release);
}

void Graveyard::bury(ObjectHeader* slot) noexcept {
  live_.fetch_sub(1, std::memory_order_relaxed);
  putBack(slot);
}

}  // namespace tavrix
