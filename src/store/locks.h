#pragma once

#include "store/store.h"

namespace casebook {

/// Counts a handle; false for an unknown UID.
template <class Entity>
bool tryLock(EntityMap<Entity> const& map, u64 uid) noexcept {
  auto const* const entity = map.find(uid);
  if (entity) ++entity->lockCount;
  return entity;
}

template <class Entity>
void addRef(EntityMap<Entity> const& map, u64 uid) {
  if (uid != 0 && !tryLock(map, uid))
    throw varnel::ExceptionBase{"Attempted to create or copy an invalid data entity", false};
}

/// A count of 0 stays 0: a handle may outlive a reset, after which its UID names another entity.
template <class Entity>
void unlock(EntityMap<Entity> const& map, u64 uid) {
  auto const* const entity = map.find(uid);
  if (!entity) throw varnel::ExceptionBase{"Attempted to unlock an unknown data entity", true};
  if (entity->lockCount != 0) --entity->lockCount;
}

/// Whether no handle to any entity is alive.
[[nodiscard]] bool isUnlocked(Store const& store) noexcept;

}  // namespace casebook
