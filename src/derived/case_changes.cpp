#include "derived/case_changes.h"

#include "derived/text_sort.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace casebook {

namespace {

std::weak_ordering compare(CaseChange const& a, CaseChange const& b) noexcept {
  auto const values = compareValues(a.value, b.value);
  return values != 0 ? values : a.rank <=> b.rank;
}

u64 sortKeyOf(Variant const& value) noexcept {
  auto const [kind, key] = keyOf(value);
  return kind == ValueKind::Text ? text_key::of(value.stringValue()) : key;
}

/// The places of the changes of one kind in the order of a run: mostly the keys tell it.
void sortPlaces(std::vector<u64>& places, std::vector<u64> const& keys, std::vector<CaseChange> const& changes) {
  auto const keyAt = [&](u64 place) { return keys[place]; };
  KeySort{}.sort(places, keys);
  for (auto begin = places.begin(); begin != places.end();) {
    auto const end = std::find_if(begin, places.end(), [&](u64 place) { return keyAt(place) != keyAt(*begin); });
    if (end - begin > 1) std::sort(begin, end, [&](u64 a, u64 b) { return compare(changes[a], changes[b]) < 0; });
    begin = end;
  }
}

/// Calls `visit` with the changes by value, then by rank.
template <class Visit>
void inOrder(std::vector<CaseChange> const& changes, Visit visit) {
  std::vector<u64> keys;
  keys.reserve(changes.size());
  for (auto const& change : changes) keys.push_back(sortKeyOf(change.value));
  std::vector<u64> places;
  places.reserve(changes.size());
  for (auto const kind :
       {ValueKind::Null, ValueKind::Whole, ValueKind::Number, ValueKind::NotANumber, ValueKind::Text}) {
    places.clear();
    for (u64 place = 0; place < changes.size(); ++place)
      if (keyOf(changes[place].value).kind == kind) places.push_back(place);
    if (places.empty()) continue;
    sortPlaces(places, keys, changes);
    for (u64 const place : places) visit(changes[place]);
  }
}

}  // namespace

ChangeRun::ChangeRun(std::vector<CaseChange> const& changes) {
  changes_.reserve(changes.size());
  inOrder(changes, [&](CaseChange const& change) {
    if (!changes_.empty() && changes_.back().sign == 0) changes_.pop_back();
    if (!changes_.empty() && compare(changes_.back(), change) == 0) changes_.back().sign += change.sign;
    else changes_.push_back(change);
  });
  if (!changes_.empty() && changes_.back().sign == 0) changes_.pop_back();
}

std::span<CaseChange const> ChangeRun::of(Variant const& value) const noexcept {
  auto const first = std::ranges::partition_point(
      changes_, [&](CaseChange const& change) { return compareValues(change.value, value) < 0; });
  if (first == changes_.end() || compareValues(first->value, value) != 0) return {};
  return leadingValue({first, changes_.end()});
}

// Of most values there are few changes.
std::span<CaseChange const> leadingValue(std::span<CaseChange const> sorted) noexcept {
  auto const& value = sorted.front().value;
  auto const isSame = [&](CaseChange const& change) { return compareValues(change.value, value) == 0; };
  std::size_t step = 1;
  while (step < sorted.size() && isSame(sorted[step])) step *= 2;
  auto const rest = sorted.subspan(step / 2, std::min(step, sorted.size()) - step / 2);
  auto const end = std::ranges::partition_point(rest, isSame);
  return sorted.first(step / 2 + static_cast<std::size_t>(end - rest.begin()));
}

void CaseChanges::add(CaseChange change) {
  constexpr std::size_t alwaysKept = 256;
  if (addedSince_ > alwaysKept + 4 * size_) compact();
  ++addedSince_;
  auto const place = values_.try_emplace(change.value).first;
  auto& [last, total] = place->second;
  total += change.sign;
  if (last != none && entries_[last].change.rank == change.rank) return undoLast(place);
  entries_.push_back({std::move(change), last});
  last = static_cast<std::uint32_t>(entries_.size() - 1);
  ++size_;
  if (entries_.back().change.sign > 0) noteGained(entries_.back().change.value);
}

void CaseChanges::undoLast(Values::iterator place) {
  auto& undone = entries_[place->second.last];
  undone.change.sign = 0;
  --size_;
  place->second.last = undone.earlier;
  if (undone.earlier == none) values_.erase(place);
  while (!entries_.empty() && entries_.back().change.sign == 0) entries_.pop_back();
}

void CaseChanges::noteGained(Variant const& value) {
  auto const [kind, key] = keyOf(value);
  if (kind != ValueKind::Whole && kind != ValueKind::Number) return;
  auto& [least, most] = gained_[kind == ValueKind::Whole];
  least.push_back(key);
  std::ranges::push_heap(least, std::greater{});
  most.push_back(key);
  std::ranges::push_heap(most, std::less{});
}

/// Drops what was undone.
void CaseChanges::compact() {
  auto const entries = std::exchange(entries_, {});
  clear();
  for (auto const& entry : entries)
    if (entry.change.sign != 0) add(entry.change);
  addedSince_ = 0;
}

void CaseChanges::clear() noexcept {
  entries_.clear();
  values_.clear();
  for (auto& [least, most] : gained_) {
    least.clear();
    most.clear();
  }
  size_ = addedSince_ = 0;
}

ChangeRun CaseChanges::asOneRun() const {
  std::vector<CaseChange> changes;
  changes.reserve(size_);
  for (auto const& entry : entries_)
    if (entry.change.sign != 0) changes.push_back(entry.change);
  return ChangeRun{changes};
}

auto CaseChanges::totals() const -> std::vector<Total> {
  std::vector<CaseChange> changes;
  for (auto const& [value, of] : values_)
    if (of.total != 0) changes.push_back({value, 0, of.total});
  std::vector<Total> totals;
  totals.reserve(changes.size());
  inOrder(changes, [&](CaseChange const& change) { totals.push_back({change.value, change.sign}); });
  return totals;
}

}  // namespace casebook
