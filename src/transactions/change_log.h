#pragma once

#include <casebook/transaction_record.h>

#include "store/change_sink.h"

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace casebook {

/// Sets of UIDs, one for each kind of entity.
class UidSets {
 public:
  [[nodiscard]] std::set<u64>& of(EntityKind kind) noexcept { return sets_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] std::set<u64> const& of(EntityKind kind) const noexcept {
    return sets_[static_cast<std::size_t>(kind)];
  }
  [[nodiscard]] bool empty() const noexcept;
  void clear() noexcept;

 private:
  std::array<std::set<u64>, entityKinds> sets_;
};

/// What the open transaction changed: an item for each changed property, the entities created and erased, the tags
/// removed, and whether any cell was written.
class ChangeLog {
 public:
  /// Keeps the item of a property, or brings the one that is there up to date: it keeps its old value. `journal` is
  /// called with the item before it is kept; when it throws, nothing has changed.
  template <class Journal>
  void keepItem(PropertyChange const& change, Journal&& journal);

  [[nodiscard]] UidSets const& created() const noexcept { return kept().created; }
  [[nodiscard]] UidSets const& erased() const noexcept { return kept().erased; }

  /// Enters the entity as created; one that was erased in the same transaction is back. `journal` is called in
  /// between: when it throws, nothing has changed.
  template <class Journal>
  void keepCreation(EntityKind kind, u64 uid, Journal&& journal) {
    move(uid, entries().erased.of(kind), entries().created.of(kind), journal);
  }

  /// Enters the entity as erased and drops its items; otherwise the same.
  template <class Journal>
  void keepErasure(EntityKind kind, u64 uid, Journal&& journal) {
    move(uid, entries().created.of(kind), entries().erased.of(kind), journal);
    dropItems(kind, uid);
  }

  void keepRemovedTags(std::set<std::string> const& tags) { entries().removedTags.insert(tags.begin(), tags.end()); }

  void markValuesChanged() noexcept { valuesChanged_ = true; }

  [[nodiscard]] bool empty() const noexcept;
  void clear() noexcept { *this = ChangeLog{}; }

  /// The added and modified groups and the values-changed flag.
  [[nodiscard]] TransactionRecord changes() const;
  /// The removed group alone.
  [[nodiscard]] TransactionRecord removals() const;
  [[nodiscard]] bool hasRemovals() const noexcept { return !kept().erased.empty(); }

 private:
  template <class Journal>
  static void move(u64 uid, std::set<u64>& from, std::set<u64>& to, Journal& journal);
  void dropItems(EntityKind kind, u64 uid) noexcept;

  using Key = std::pair<u64, std::uint32_t>;
  using Items = std::map<Key, ChangeItem>;

  struct Entries {
    std::array<Items, entityKinds> items;
    UidSets created;
    UidSets erased;
    std::set<std::string> removedTags;

    [[nodiscard]] Items& of(EntityKind kind) noexcept { return items[static_cast<std::size_t>(kind)]; }
    [[nodiscard]] Items const& of(EntityKind kind) const noexcept { return items[static_cast<std::size_t>(kind)]; }
  };

  [[nodiscard]] Entries& entries() {
    if (!entries_) entries_ = std::make_unique<Entries>();
    return *entries_;
  }
  [[nodiscard]] Entries const& kept() const noexcept;

  std::unique_ptr<Entries> entries_;  // null as long as cells alone are written, as most transactions do
  bool valuesChanged_ = false;
};

/// Whether the record reports any change.
[[nodiscard]] bool reportsAnything(TransactionRecord const& record) noexcept;

/// Leaves each entity in one group: removed before added before modified. The order of what stays is kept.
void simplifyTransactionRecord(TransactionRecord& record);

template <class Journal>
void ChangeLog::move(u64 uid, std::set<u64>& from, std::set<u64>& to, Journal& journal) {
  auto const place = to.insert(to.end(), uid);
  try {
    journal();
  } catch (...) {
    to.erase(place);
    throw;
  }
  from.erase(uid);
}

template <class Journal>
void ChangeLog::keepItem(PropertyChange const& change, Journal&& journal) {
  auto& kept = entries().of(change.kind);
  auto const [place, isNew] = kept.try_emplace(Key{change.uid, change.code});
  ChangeItem item{isNew || change.startsItem ? change.before : place->second.oldValue, change.after, change.index,
                  change.uid, change.code};
  try {
    journal(std::as_const(item));
  } catch (...) {
    if (isNew) kept.erase(place);
    throw;
  }
  place->second = std::move(item);
}

}  // namespace casebook
