#pragma once

#include <casebook/exception_base.h>
#include <casebook/variant.h>

#include "store/uid_index.h"

#include <map>
#include <ranges>
#include <utility>

namespace casebook {

[[noreturn]] inline void refuseUnknownEntity() {
  throw varnel::ExceptionBase{"Attempted to look up unknown data entity", true};
}

/// Owns the entities of one kind in ascending UID order. Entities keep their addresses; finding one by UID takes
/// constant time.
template <class Entity>
class EntityMap {
 public:
  [[nodiscard]] Entity* find(u64 uid) noexcept { return index_.find(uid); }
  [[nodiscard]] Entity const* find(u64 uid) const noexcept { return const_cast<EntityMap*>(this)->find(uid); }

  [[nodiscard]] Entity& at(u64 uid) {
    auto* const entity = find(uid);
    if (!entity) refuseUnknownEntity();
    return *entity;
  }
  [[nodiscard]] Entity const& at(u64 uid) const { return const_cast<EntityMap*>(this)->at(uid); }

  /// The map must not hold the entity's UID yet.
  Entity& insert(Entity entity) {
    u64 const uid = entity.id;
    auto const place = entities_.emplace_hint(entities_.end(), uid, std::move(entity));
    try {
      index_.insert(uid, &place->second);
    } catch (...) {
      entities_.erase(place);
      throw;
    }
    return place->second;
  }

  void erase(u64 uid) noexcept {
    if (!find(uid)) return;
    index_.erase(uid);
    entities_.erase(uid);
  }

  [[nodiscard]] bool empty() const noexcept { return entities_.empty(); }
  [[nodiscard]] u64 size() const noexcept { return entities_.size(); }
  /// The entity of highest UID; there must be one.
  [[nodiscard]] Entity const& last() const noexcept { return entities_.rbegin()->second; }

  [[nodiscard]] auto all() noexcept { return std::views::values(entities_); }
  [[nodiscard]] auto all() const noexcept { return std::views::values(entities_); }

  /// Calls `take` with the UID and the address of each entity, in ascending order. Takes less than `all` where entities
  /// are not in the cache: none has to be read to find the next one.
  void forEach(auto const& take) const {
    if (index_.listsAll()) {
      for (u64 uid = 0; auto* const entity : index_.list()) {
        if (entity) take(uid, static_cast<Entity const*>(entity));
        ++uid;
      }
    } else {
      for (auto const& [uid, entity] : entities_) take(uid, &entity);
    }
  }

  /// The entities whose UIDs are higher than `uid`, which need not be held.
  [[nodiscard]] auto after(u64 uid) const noexcept {
    return std::views::values(std::ranges::subrange{entities_.upper_bound(uid), entities_.end()});
  }
  [[nodiscard]] auto after(u64 uid) noexcept {
    return std::views::values(std::ranges::subrange{entities_.upper_bound(uid), entities_.end()});
  }

 private:
  std::map<u64, Entity> entities_;
  UidIndex<Entity*, nullptr> index_;
};

}  // namespace casebook
