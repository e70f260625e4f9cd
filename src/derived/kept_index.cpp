#include "derived/kept_index.h"

#include <algorithm>
#include <utility>

namespace casebook {

namespace {

constexpr u64 zeroKey = value_key::ofNumber(0).key;

bool isZero(Variant const& value) noexcept {
  auto const [kind, key] = keyOf(value);
  return kind == ValueKind::Number && key == zeroKey;
}

bool isNegativeZero(Variant const& value) noexcept { return isZero(value) && value.word() != 0; }

}  // namespace

void KeptIndex::assign(ValueIndex index, std::vector<Variant> const& column) noexcept {
  index_ = std::move(index);
  changes_.clear();
  for (std::size_t kind = 0; kind < valueKinds; ++kind) cells_[kind] = index_.cellsOf(static_cast<ValueKind>(kind));
  negativeZeros_ = index_.values().find(0.0) && std::ranges::any_of(column, isNegativeZero);
}

void KeptIndex::change(std::uint32_t rank, Variant const& before, Variant const& now) {
  noteZero(before);
  if (compareValues(before, now) == 0) return noteZero(now);
  changes_.add({before, rank, -1});
  --cellsOf(before);
  add(rank, now);
}

void KeptIndex::add(std::uint32_t rank, Variant const& value) {
  noteZero(value);
  changes_.add({value, rank, 1});
  ++cellsOf(value);
}

void KeptIndex::noteZero(Variant const& value) noexcept {
  if (!isZero(value)) return;
  zeroInDoubt_ = true;
  negativeZeros_ |= isNegativeZero(value);
}

void KeptIndex::settleZero(std::vector<Variant> const& column) noexcept {
  if (std::exchange(zeroInDoubt_, false) && negativeZeros_) index_.setZeroNegative(firstZeroIsNegative(column));
}

bool KeptIndex::isToBeFolded() {
  constexpr std::size_t alwaysKept = 256;
  constexpr std::size_t leastShare = 16;
  auto const most = std::max(alwaysKept, index_.cells() / leastShare);
  if (changes_.size() <= most) return false;
  changes_.arrange();
  return changes_.size() > most / 2;
}

void KeptIndex::fold(IndexFolder& folder) {
  folder.fold(index_, changes_.asOneRun());
  changes_.clear();
}

u64 KeptIndex::casesOf(Variant const& value) const noexcept {
  return index_.count(value) + static_cast<u64>(changes_.total(value));
}

u64 KeptIndex::count(Variant const& value) {
  changes_.arrange();
  return casesOf(value);
}

std::set<u64> KeptIndex::caseIds(Variant const& value) {
  changes_.arrange();
  auto ids = index_.caseIds(value);
  changes_.forCases(value, [&](CaseChange const& change) {
    u64 const id = (*index_.allCaseIds())[change.rank];
    if (change.sign > 0) ids.insert(id);
    else ids.erase(id);
  });
  return ids;
}

std::vector<Variant> KeptIndex::values() {
  changes_.arrange();
  auto const& known = index_.values();
  if (changes_.empty()) return known.all();
  std::vector<Variant> values;
  values.reserve(known.size());
  std::size_t place = 0;
  auto const copyTo = [&](std::size_t end) {
    for (; place < end; ++place) values.push_back(known.at(place));
  };
  for (auto const& [value, cases] : changes_.totals()) {
    if (isMissing(*value)) continue;
    copyTo(known.placeOf(*value, place));
    bool const isKnown = known.holds(*value, place);
    u64 const before = isKnown ? index_.ranksOfValue(place++).size() : 0;
    if (before + static_cast<u64>(cases) != 0) values.push_back(isZero(*value) ? known.zero() : *value);
  }
  copyTo(known.size());
  return values;
}

u64 KeptIndex::casesAt(std::size_t place) const noexcept {
  return index_.ranksOfValue(place).size() + static_cast<u64>(changes_.total(index_.values().at(place)));
}

Variant KeptIndex::least(ValueKind kind) {
  changes_.arrange();
  auto [place, end] = index_.values().ofKind(kind);
  while (place < end && casesAt(place) == 0) ++place;
  Variant least;
  if (place < end) least = index_.values().at(place);
  changes_.forGained(kind, CaseChanges::Direction::Up, [&](Variant const& value) {
    if (!least.isNull() && compareValues(value, least) >= 0) return false;
    if (casesOf(value) != 0) least = value;
    return true;
  });
  return isZero(least) ? index_.values().zero() : least;
}

Variant KeptIndex::most(ValueKind kind) {
  changes_.arrange();
  auto [begin, place] = index_.values().ofKind(kind);
  while (place > begin && casesAt(place - 1) == 0) --place;
  Variant most;
  if (place > begin) most = index_.values().at(place - 1);
  changes_.forGained(kind, CaseChanges::Direction::Down, [&](Variant const& value) {
    if (!most.isNull() && compareValues(value, most) <= 0) return false;
    if (casesOf(value) != 0) most = value;
    return true;
  });
  return isZero(most) ? index_.values().zero() : most;
}

}  // namespace casebook
