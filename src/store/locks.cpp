#include "store/locks.h"

#include <algorithm>

namespace casebook {

namespace {

template <class Entity>
bool isUnlocked(EntityMap<Entity> const& map) noexcept {
  return std::ranges::all_of(map.all(), [](Entity const& entity) { return entity.lockCount == 0; });
}

}  // namespace

bool isUnlocked(Store const& store) noexcept {
  return isUnlocked(store.records) && isUnlocked(store.variables) && isUnlocked(store.tagGroups) &&
         isUnlocked(store.auxFiles) && isUnlocked(store.variableRegexs) && isUnlocked(store.pathRegexs);
}

}  // namespace casebook
