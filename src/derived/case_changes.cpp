#include "derived/case_changes.h"

#include "derived/text_sort.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace casebook {

namespace {

/// The places of values that differ, ascending.
std::vector<std::uint32_t> placesInOrder(std::vector<Variant const*> const& values) {
  std::vector<u64> keys;
  keys.reserve(values.size());
  for (auto const* const value : values) keys.push_back(keyOf(*value).key);
  std::vector<std::uint32_t> places;
  places.reserve(values.size());
  KeySort keySort;
  std::vector<std::uint32_t> ends;
  for (auto const kind :
       {ValueKind::Null, ValueKind::Whole, ValueKind::Number, ValueKind::NotANumber, ValueKind::Text}) {
    auto const begin = static_cast<std::ptrdiff_t>(places.size());
    for (std::uint32_t place = 0; place < values.size(); ++place)
      if (keyOf(*values[place]).kind == kind) places.push_back(place);
    std::span const ofKind{places.begin() + begin, places.end()};
    if (kind != ValueKind::Text) keySort.sort(ofKind, keys, ends);
    else if (!ofKind.empty())
      TextSort{keySort}.sort(ofKind, [&](auto place) -> auto& { return values[place]->stringValue(); }, keys, ends);
  }
  return places;
}

}  // namespace

void ChangeRun::append(Variant const& value, std::span<Step> steps) {
  std::ranges::sort(steps, {}, &Step::rank);
  for (auto step = steps.begin(); step != steps.end();) {
    auto const rank = step->rank;
    std::int32_t sign = 0;
    for (; step != steps.end() && step->rank == rank; ++step) sign += step->sign;
    if (sign != 0) changes_.push_back({value, rank, sign});
  }
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

void CaseChanges::add(CaseChange const& change) {
  constexpr std::size_t alwaysKept = 256;
  if (addedSince_ > alwaysKept + 4 * size_) compact();
  ++addedSince_;
  auto const place = values_.try_emplace(change.value).first;
  auto& [last, total] = place->second;
  total += change.sign;
  if (change.sign > 0) noteGained(change.value);
  if (last != none && entries_[last].rank == change.rank) return undoLast(place);
  entries_.push_back({change.rank, change.sign, last});
  last = static_cast<std::uint32_t>(entries_.size() - 1);
  ++size_;
}

void CaseChanges::undoLast(Values::iterator place) {
  auto& undone = entries_[place->second.last];
  undone.sign = 0;
  --size_;
  place->second.last = undone.earlier;
  if (undone.earlier == none) values_.erase(place);
  while (!entries_.empty() && entries_.back().sign == 0) entries_.pop_back();
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
  auto const changes = all();
  clear();
  for (auto const& change : changes) add(change);
  addedSince_ = 0;
}

/// Those of a value in the order of time.
std::vector<CaseChange> CaseChanges::all() const {
  std::vector<CaseChange> all;
  all.reserve(size_);
  for (auto const& ofValue : values_) forCases(ofValue, [&](CaseChange const& change) { all.push_back(change); });
  return all;
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
  ChangeRun run;
  run.reserve(size_);
  std::vector<ChangeRun::Step> steps;
  for (auto const* const ofValue : valuesInOrder()) {
    steps.clear();
    for (auto place = ofValue->second.last; place != none; place = entries_[place].earlier)
      steps.push_back({entries_[place].rank, entries_[place].sign});
    run.append(ofValue->first, steps);
  }
  return run;
}

auto CaseChanges::totals() const -> std::vector<Total> {
  std::vector<Total> totals;
  for (auto const* const ofValue : valuesInOrder())
    if (ofValue->second.total != 0) totals.push_back({ofValue->first, ofValue->second.total});
  return totals;
}

auto CaseChanges::valuesInOrder() const -> std::vector<Values::value_type const*> {
  std::vector<Variant const*> values;
  std::vector<Values::value_type const*> all;
  values.reserve(values_.size());
  all.reserve(values_.size());
  for (auto const& ofValue : values_) {
    values.push_back(&ofValue.first);
    all.push_back(&ofValue);
  }
  std::vector<Values::value_type const*> ordered;
  ordered.reserve(all.size());
  for (auto const place : placesInOrder(values)) ordered.push_back(all[place]);
  return ordered;
}

}  // namespace casebook
