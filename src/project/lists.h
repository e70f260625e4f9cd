#pragma once

#include <casebook/weak_ptr.h>

#include "store/entity_map.h"

#include <algorithm>
#include <string>
#include <vector>

namespace casebook {

/// The entities of a map as a host sees them.
template <class Handle, class Entity>
std::vector<WeakPtr<Handle>> listOf(EntityMap<Entity> const& map) {
  std::vector<WeakPtr<Handle>> list;
  list.reserve(map.size());
  map.forEach([&](u64 uid, Entity const*) { list.emplace_back(uid); });
  return list;
}

template <class Handle>
std::vector<WeakPtr<Handle>> listOf(std::vector<u64> const& uids) {
  return {uids.begin(), uids.end()};
}

/// The entity of that name, of lowest UID; empty when there is none.
template <class Handle, class Entity>
WeakPtr<Handle> firstNamed(EntityMap<Entity> const& map, std::string const& name) {
  auto const entities = map.all();
  auto const found = std::ranges::find(entities, name, &Entity::name);
  return found == entities.end() ? WeakPtr<Handle>{} : WeakPtr<Handle>{(*found).id};
}

}  // namespace casebook
