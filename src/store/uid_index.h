#pragma once

#include <casebook/variant.h>

#include <boost/unordered_map.hpp>

#include <vector>

namespace casebook {

/// Finds something of each entity of one kind by UID, `none` where it knows nothing. UIDs are handed out one after the
/// other, so nearly all have a place in one list, at their number; those that would leave it mostly empty are hashed.
template <class Value, Value none>
class UidIndex {
 public:
  [[nodiscard]] Value find(u64 uid) const noexcept {
    if (lists(uid)) return listed_[uid];
    if (hashed_.empty()) return none;
    auto const found = hashed_.find(uid);
    return found == hashed_.end() ? none : found->second;
  }

  /// Whether going through the list comes by all entities, in the order of their UIDs, and by few gaps.
  [[nodiscard]] bool listsAll() const noexcept { return hashed_.empty() && listed_.size() <= farthest(); }
  /// At the number of each UID what is known of it, or `none`.
  [[nodiscard]] std::vector<Value> const& list() const noexcept { return listed_; }

  /// The index must not hold the UID yet. Throws std::bad_alloc, and nothing has changed.
  void insert(u64 uid, Value value) {
    if (uid >= farthest()) {
      hashed_.emplace(uid, value);
    } else {
      if (uid >= listed_.size()) lengthen(uid);
      listed_[uid] = value;
    }
    ++size_;
  }

  /// The index holds the UID, perhaps with `none`.
  void assign(u64 uid, Value value) noexcept {
    if (hashed_.empty() || lists(uid)) {
      listed_[uid] = value;
    } else {
      auto const found = hashed_.find(uid);
      (found == hashed_.end() ? listed_[uid] : found->second) = value;
    }
  }

  /// The index holds the UID.
  void erase(u64 uid) noexcept {
    if (lists(uid)) listed_[uid] = none;
    else hashed_.erase(uid);
    --size_;
  }

 private:
  [[nodiscard]] bool lists(u64 uid) const noexcept { return uid < listed_.size() && listed_[uid] != none; }

  // A hashed entity takes about as much, and longer to find.
  static constexpr u64 listedBytesOfEach = 64;

  [[nodiscard]] u64 farthest() const noexcept { return 1024 + listedBytesOfEach / sizeof(Value) * size_; }

  void lengthen(u64 uid) {
    if (uid >= listed_.capacity()) listed_.reserve(uid + 1 + uid / 2);
    listed_.resize(uid + 1, none);
  }

  std::vector<Value> listed_;
  boost::unordered_map<u64, Value> hashed_;
  u64 size_ = 0;
};

}  // namespace casebook
