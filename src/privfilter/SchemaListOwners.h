#pragma once

#include <TavrixSDK.h>

#include <cstddef>
#include <mutex>
#include <optional>
#include <vector>

#include "privfilter/IPrivFilter.h"

/// Which filter gave out which schema list, in the order of the lists' addresses. Few lists are out at a time: their
/// entries stand in one piece of memory, which is kept when they are gone, so that a command costs no allocation.
///
/// Filters are not owned: the registry that this belongs to keeps them longer. Safe from any thread; no lock is held
/// outside these functions.
class SchemaListOwners {
 public:
  using SchemaList = vy_filter_config_schema_list_t;

  /// Room for one entry, made before there is a list that could get lost.
  class Room {
   public:
    explicit Room(SchemaListOwners& owners);
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;
    ~Room();

    /// Enters a list, unless there is an entry of it already, which stays. At most once.
    void fill(SchemaList* list, IPrivFilter* owner);

   private:
    SchemaListOwners& owners_;
  };

  /// The filter that gave out a list, or null.
  IPrivFilter* find(const SchemaList* list) const;
  /// Drops the entry of a list. Its filter, or null if there was none.
  IPrivFilter* remove(const SchemaList* list);
  /// Drops a filter's first entry. Its list, which may be a null one; nothing if the filter has none out.
  std::optional<SchemaList*> removeFirstOf(const IPrivFilter* owner);

 private:
  struct Entry {
    SchemaList* list;
    IPrivFilter* owner;
  };

  std::vector<Entry>::const_iterator findPlace(const SchemaList* list) const;

  mutable std::mutex mutex_;
  std::vector<Entry> entries_;  ///< by the address of the list
  std::size_t rooms_ = 0;       ///< entries that can be made without memory
};
