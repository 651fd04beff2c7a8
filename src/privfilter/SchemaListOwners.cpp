#include "privfilter/SchemaListOwners.h"

#include <algorithm>
#include <functional>

SchemaListOwners::Room::Room(SchemaListOwners& owners) : owners_(owners) {
  const std::lock_guard<std::mutex> lock(owners_.mutex_);
  const std::size_t needed = owners_.entries_.size() + owners_.rooms_ + 1;
  if (needed > owners_.entries_.capacity()) owners_.entries_.reserve(2 * needed);
  ++owners_.rooms_;
}

SchemaListOwners::Room::~Room() {
  const std::lock_guard<std::mutex> lock(owners_.mutex_);
  --owners_.rooms_;
}

void SchemaListOwners::Room::fill(SchemaList* list, IPrivFilter* owner) {
  const std::lock_guard<std::mutex> lock(owners_.mutex_);
  const auto place = owners_.findPlace(list);
  if (place == owners_.entries_.end() || place->list != list) owners_.entries_.insert(place, {list, owner});
}

IPrivFilter* SchemaListOwners::find(const SchemaList* list) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto place = findPlace(list);
  return place != entries_.end() && place->list == list ? place->owner : nullptr;
}

IPrivFilter* SchemaListOwners::remove(const SchemaList* list) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto place = findPlace(list);
  if (place == entries_.end() || place->list != list) return nullptr;
  IPrivFilter* const owner = place->owner;
  entries_.erase(place);
  return owner;
}

std::optional<SchemaListOwners::SchemaList*> SchemaListOwners::removeFirstOf(const IPrivFilter* owner) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto first =
      std::find_if(entries_.begin(), entries_.end(), [owner](const Entry& entry) { return entry.owner == owner; });
  if (first == entries_.end()) return {};
  SchemaList* const list = first->list;
  entries_.erase(first);
  return list;
}

/// Where the entry of a list is, or would be. Requires the lock.
std::vector<SchemaListOwners::Entry>::const_iterator SchemaListOwners::findPlace(const SchemaList* list) const {
  return std::lower_bound(entries_.begin(), entries_.end(), list, [](const Entry& entry, const SchemaList* wanted) {
    return std::less<>()(entry.list, wanted);
  });
}
