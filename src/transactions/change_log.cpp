#include "transactions/change_log.h"

#include <algorithm>

namespace casebook {

namespace {

using Uids = std::vector<u64>;

/// The lists of entities, in the order in which they are simplified.
constexpr std::array<std::pair<EntityKind, Uids TransactionRecordGroup::*>, 6> entityLists{{
    {EntityKind::Variable, &TransactionRecordGroup::variables},
    {EntityKind::Record, &TransactionRecordGroup::records},
    {EntityKind::AuxFile, &TransactionRecordGroup::auxFiles},
    {EntityKind::TagGroup, &TransactionRecordGroup::tagGroups},
    {EntityKind::VariableRegex, &TransactionRecordGroup::variableRegexs},
    {EntityKind::PathRegex, &TransactionRecordGroup::pathRegexs},
}};

void fill(TransactionRecordGroup& group, UidSets const& sets) {
  for (auto const& [kind, list] : entityLists) {
    auto const& uids = sets.of(kind);
    (group.*list).assign(uids.begin(), uids.end());
  }
}

/// Takes out of `list` what stands in `taken`; both are ascending.
void takeOut(Uids& list, Uids const& taken) {
  auto next = taken.begin();
  std::erase_if(list, [&](u64 uid) {
    while (next != taken.end() && *next < uid) ++next;
    return next != taken.end() && *next == uid;
  });
}

bool isEmpty(TransactionRecordGroup const& group) noexcept {
  return group.projectChanges.empty() && group.removedTags.empty() &&
         std::ranges::all_of(entityLists, [&](auto const& entry) { return (group.*entry.second).empty(); });
}

}  // namespace

bool UidSets::empty() const noexcept {
  return std::ranges::all_of(sets_, [](auto const& set) { return set.empty(); });
}

void UidSets::clear() noexcept {
  for (auto& set : sets_) set.clear();
}

ChangeLog::Entries const& ChangeLog::kept() const noexcept {
  static Entries const none;
  return entries_ ? *entries_ : none;
}

bool ChangeLog::empty() const noexcept {
  if (!entries_ || valuesChanged_) return !valuesChanged_;
  bool const noItems = std::ranges::all_of(entries_->items, [](auto const& list) { return list.empty(); });
  return noItems && created().empty() && erased().empty() && entries_->removedTags.empty();
}

void ChangeLog::dropItems(EntityKind kind, u64 uid) noexcept {
  auto& items = entries_->of(kind);
  items.erase(items.lower_bound(Key{uid, 0}), items.upper_bound(Key{uid, ~std::uint32_t{0}}));
}

TransactionRecord ChangeLog::changes() const {
  TransactionRecord record;
  record.valuesChanged = valuesChanged_;
  if (!entries_) return record;
  fill(record.added, entries_->created);
  for (auto const& [key, item] : entries_->of(EntityKind::Project)) record.modified.projectChanges.push_back(item);
  for (auto const& [kind, list] : entityLists)
    for (auto const& [key, item] : entries_->of(kind)) (record.modified.*list).push_back(key.first);
  return record;
}

TransactionRecord ChangeLog::removals() const {
  TransactionRecord record;
  fill(record.removed, kept().erased);
  record.removed.removedTags.assign(kept().removedTags.begin(), kept().removedTags.end());
  return record;
}

bool reportsAnything(TransactionRecord const& record) noexcept {
  return record.valuesChanged || !isEmpty(record.removed) || !isEmpty(record.added) || !isEmpty(record.modified);
}

void simplifyTransactionRecord(TransactionRecord& record) {
  for (auto const& [kind, list] : entityLists) {
    auto const& removed = record.removed.*list;
    auto const& added = record.added.*list;
    takeOut(record.added.*list, removed);
    takeOut(record.modified.*list, removed);
    takeOut(record.modified.*list, added);
  }
}

}  // namespace casebook
