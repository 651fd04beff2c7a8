#include "recording/HandleNumbers.h"

namespace recording {
namespace {

/// Whether a call may return an object that another call has returned before.
bool isShared(Kind kind) {
  return kind == Kind::deviceInfo || kind == Kind::frame || kind == Kind::profile;
}

}  // namespace

std::uint64_t HandleNumbers::find(Kind kind, const void* object) {
  if (object == nullptr) return 0;
  Numbers& numbers = of(kind);
  const auto [place, isNew] = numbers.entries.try_emplace(object, Entry{numbers.last + 1, 0});
  if (isNew) ++numbers.last;
  return place->second.number;
}

std::uint64_t HandleNumbers::retain(Kind kind, const void* object) {
  const std::uint64_t number = find(kind, object);
  if (object != nullptr) ++of(kind).entries.at(object).references;
  return number;
}

std::uint64_t HandleNumbers::receive(Kind kind, const void* object) {
  auto& entries = of(kind).entries;
  const auto place = entries.find(object);
  if (place != entries.end() && (place->second.references == 0 || !isShared(kind))) entries.erase(place);
  return retain(kind, object);
}

void HandleNumbers::release(Kind kind, const void* object) {
  auto& entries = of(kind).entries;
  const auto place = entries.find(object);
  if (place == entries.end()) return;
  if (place->second.references > 1) {
    --place->second.references;
  } else {
    entries.erase(place);
  }
}

void HandleNumbers::restore(Kind kind, const void* object, std::uint64_t number) {
  if (object == nullptr) return;
  ++of(kind).entries.try_emplace(object, Entry{number, 0}).first->second.references;
}

bool HandleNumbers::knows(Kind kind, const void* object) const {
  return kinds_[static_cast<std::size_t>(kind)].entries.count(object) != 0;
}

}  // namespace recording
