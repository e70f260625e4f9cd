#pragma once

#include <casebook/variant.h>

#include <boost/unordered_map.hpp>

#include <vector>

namespace casebook {

/// Finds entities of one kind by UID. UIDs are handed out one after the other, so nearly all have a place in one list,
/// at their number; those that would leave it mostly empty are hashed.
template <class Entity>
class UidIndex {
 public:
  [[nodiscard]] Entity* find(u64 uid) const noexcept {
    if (uid < listed_.size() && listed_[uid]) return listed_[uid];
    if (hashed_.empty()) return nullptr;
    auto const found = hashed_.find(uid);
    return found == hashed_.end() ? nullptr : found->second;
  }

  /// The index must not hold the UID yet. Throws std::bad_alloc, and nothing has changed.
  void insert(u64 uid, Entity* entity) {
    if (uid >= farthest()) {
      hashed_.emplace(uid, entity);
    } else {
      if (uid >= listed_.size()) lengthen(uid);
      listed_[uid] = entity;
    }
    ++size_;
  }

  /// The index holds the UID.
  void erase(u64 uid) noexcept {
    if (uid < listed_.size() && listed_[uid]) listed_[uid] = nullptr;
    else hashed_.erase(uid);
    --size_;
  }

 private:
  [[nodiscard]] u64 farthest() const noexcept { return 1024 + 4 * size_; }

  void lengthen(u64 uid) {
    if (uid >= listed_.capacity()) listed_.reserve(uid + 1 + uid / 2);
    listed_.resize(uid + 1);
  }

  std::vector<Entity*> listed_;
  boost::unordered_map<u64, Entity*> hashed_;
  u64 size_ = 0;
};

}  // namespace casebook
