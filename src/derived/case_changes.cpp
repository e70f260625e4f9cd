#include "derived/case_changes.h"

#include "derived/text_sort.h"

#include <algorithm>

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
  sums_.reserve(changes.size());
  CaseChange const* last = nullptr;
  std::int32_t sign = 0;
  auto const put = [&] {
    if (sign != 0) append({last->value, last->rank, sign});
  };
  inOrder(changes, [&](CaseChange const& change) {
    if (!last || compare(*last, change) != 0) {
      put();
      sign = 0;
    }
    last = &change;
    sign += change.sign;
  });
  put();
}

void ChangeRun::append(CaseChange change) {
  changes_.push_back(std::move(change));
  sums_.push_back((sums_.empty() ? 0 : sums_.back()) + changes_.back().sign);
}

// What stands in both was undone in the later one: nothing came in between.
ChangeRun ChangeRun::merged(ChangeRun const& a, ChangeRun const& b) {
  ChangeRun both;
  both.changes_.reserve(a.size() + b.size());
  both.sums_.reserve(a.size() + b.size());
  auto one = a.changes_.begin();
  auto other = b.changes_.begin();
  while (one != a.changes_.end() && other != b.changes_.end()) {
    auto const order = compare(*one, *other);
    if (order < 0) both.append(*one++);
    else if (order > 0) both.append(*other++);
    else ++one, ++other;
  }
  for (; one != a.changes_.end(); ++one) both.append(*one);
  for (; other != b.changes_.end(); ++other) both.append(*other);
  return both;
}

std::span<CaseChange const> ChangeRun::of(Variant const& value) const noexcept {
  auto const first = std::ranges::partition_point(
      changes_, [&](CaseChange const& change) { return compareValues(change.value, value) < 0; });
  if (first == changes_.end() || compareValues(first->value, value) != 0) return {};
  return leadingValue({first, changes_.end()});
}

// Most columns are of one kind.
std::span<CaseChange const> ChangeRun::ofKind(ValueKind kind) const noexcept {
  auto const kindOf = [](CaseChange const& change) { return keyOf(change.value).kind; };
  if (empty() || (kindOf(changes_.front()) == kind && kindOf(changes_.back()) == kind)) return changes_;
  auto const found = std::ranges::equal_range(changes_, kind, {}, kindOf);
  return {found.begin(), found.end()};
}

std::int64_t ChangeRun::total(std::span<CaseChange const> part) const noexcept {
  if (part.empty()) return 0;
  auto const begin = static_cast<std::size_t>(part.data() - changes_.data());
  return sums_[begin + part.size() - 1] - (begin == 0 ? 0 : sums_[begin - 1]);
}

void ChangeRun::clear() noexcept {
  changes_.clear();
  sums_.clear();
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

std::size_t CaseChanges::size() const noexcept {
  std::size_t size = recent_.size();
  for (auto const& run : runs_) size += run.size();
  return size;
}

void CaseChanges::clear() noexcept {
  recent_.clear();
  runs_.clear();
}

void CaseChanges::arrange() {
  if (recent_.size() <= mostRecent) return;
  ChangeRun run{recent_};
  std::size_t room = mostRecent * growth;
  std::size_t level = 0;
  for (; level < runs_.size() && runs_[level].size() + run.size() > room; ++level, room *= growth)
    run = ChangeRun::merged(run, runs_[level]);
  if (level == runs_.size()) runs_.emplace_back();
  runs_[level] = ChangeRun::merged(run, runs_[level]);
  for (std::size_t below = 0; below < level; ++below) runs_[below].clear();
  recent_.clear();
}

ChangeRun const& CaseChanges::asOneRun() {
  runs_.emplace(runs_.begin(), recent_);
  recent_.clear();
  while (runs_.size() > 1) {
    auto last = std::move(runs_.back());
    runs_.pop_back();
    if (runs_.back().empty()) runs_.back() = std::move(last);
    else if (!last.empty()) runs_.back() = ChangeRun::merged(runs_.back(), last);
  }
  return runs_.front();
}

std::int64_t CaseChanges::total(Variant const& value) const noexcept {
  std::int64_t total = 0;
  for (auto const& run : runs_) total += run.total(value);
  for (auto const& change : recent_)
    if (compareValues(change.value, value) == 0) total += change.sign;
  return total;
}

std::vector<CaseChanges::Total> CaseChanges::totals() const {
  std::vector<Total> totals;
  for (auto const& run : runs_)
    for (auto rest = run.all(); !rest.empty();) {
      auto const same = leadingValue(rest);
      totals.push_back({&same.front().value, run.total(same)});
      rest = rest.subspan(same.size());
    }
  for (auto const& change : recent_) totals.push_back({&change.value, change.sign});
  std::ranges::sort(totals, [](Total const& a, Total const& b) { return compareValues(*a.value, *b.value) < 0; });
  std::vector<Total> distinct;
  for (auto const& total : totals) {
    if (distinct.empty() || compareValues(*distinct.back().value, *total.value) != 0) distinct.push_back(total);
    else distinct.back().cases += total.cases;
  }
  return distinct;
}

}  // namespace casebook
