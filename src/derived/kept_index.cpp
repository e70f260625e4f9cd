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
  index_.values().clear();  // what it still holds is released faster there than by the assignment
  index_ = std::move(index);
  changes_.clear();
  passed_ = {};
  for (std::size_t kind = 0; kind < valueKinds; ++kind) cells_[kind] = index_.cellsOf(static_cast<ValueKind>(kind));
  negativeZeros_ = index_.values().find(0.0) && std::ranges::any_of(column, isNegativeZero);
}

void KeptIndex::change(std::uint32_t rank, Variant const& before, Variant const& now) {
  if (compareValues(before, now) == 0) return noteZero(before), noteZero(now);
  remove(rank, before);
  add(rank, now);
}

void KeptIndex::remove(std::uint32_t rank, Variant const& value) {
  noteZero(value);
  changes_.add({value, rank, -1});
  --cellsOf(value);
}

void KeptIndex::add(std::uint32_t rank, Variant const& value) {
  noteZero(value);
  comeBack(value);
  changes_.add({value, rank, 1});
  ++cellsOf(value);
}

/// A known value that was passed over when it had no cases is the end again, or beyond it.
void KeptIndex::comeBack(Variant const& value) noexcept {
  auto const kind = keyOf(value).kind;
  auto& [least, most] = passed_[static_cast<std::size_t>(kind)];
  if (least == 0 && most == 0) return;
  auto const place = index_.values().find(value);
  if (!place) return;
  auto const [begin, end] = index_.values().ofKind(kind);
  least = std::min(least, *place - begin);
  most = std::min(most, end - 1 - *place);
}

void KeptIndex::noteZero(Variant const& value) noexcept {
  if (!isZero(value)) return;
  zeroInDoubt_ = true;
  negativeZeros_ |= isNegativeZero(value);
}

void KeptIndex::settleZero(std::vector<Variant> const& column) noexcept {
  if (std::exchange(zeroInDoubt_, false) && negativeZeros_) index_.setZeroNegative(firstZeroIsNegative(column));
}

bool KeptIndex::isToBeFolded() const noexcept {
  constexpr std::size_t alwaysKept = 1024;
  constexpr std::size_t leastShare = 8;
  return changes_.size() > std::max(alwaysKept, index_.cells() / leastShare);
}

void KeptIndex::fold(IndexFolder& folder) {
  folder.fold(index_, changes_.asOneRun());
  changes_.clear();
  passed_ = {};
}

bool KeptIndex::hasCases(Variant const& value) const noexcept {
  auto const more = changes_.total(value);
  return more > 0 || index_.count(value) + static_cast<u64>(more) != 0;
}

u64 KeptIndex::count(Variant const& value) const noexcept {
  return index_.count(value) + static_cast<u64>(changes_.total(value));
}

std::set<u64> KeptIndex::caseIds(Variant const& value) const {
  auto ids = index_.caseIds(value);
  changes_.forCases(value, [&](CaseChange const& change) {
    u64 const id = (*index_.allCaseIds())[change.rank];
    if (change.sign > 0) ids.insert(id);
    else ids.erase(id);
  });
  return ids;
}

std::vector<Variant> KeptIndex::values() const {
  auto const& known = index_.values();
  if (changes_.empty()) return known.all();
  std::vector<Variant> values;
  values.reserve(known.size());
  std::size_t place = 0;
  auto const copyTo = [&](std::size_t end) {
    for (; place < end; ++place) values.push_back(known.at(place));
  };
  for (auto const& [value, cases] : changes_.totals()) {
    if (isMissing(value)) continue;
    copyTo(known.placeOf(value, place));
    bool const isKnown = known.holds(value, place);
    u64 const before = isKnown ? index_.ranksOfValue(place++).size() : 0;
    if (before + static_cast<u64>(cases) != 0) values.push_back(isZero(value) ? known.zero() : value);
  }
  copyTo(known.size());
  return values;
}

u64 KeptIndex::casesAt(std::size_t place) const noexcept {
  return index_.ranksOfValue(place).size() + static_cast<u64>(changes_.total(index_.values().at(place)));
}

Variant KeptIndex::least(ValueKind kind) {
  auto const [begin, end] = index_.values().ofKind(kind);
  auto& passed = passed_[static_cast<std::size_t>(kind)].least;
  while (begin + passed < end && casesAt(begin + passed) == 0) ++passed;
  auto const known = begin + passed < end ? index_.values().at(begin + passed) : Variant{};
  return withSign(changes_.least(kind, known, [this](Variant const& value) { return hasCases(value); }));
}

Variant KeptIndex::most(ValueKind kind) {
  auto const [begin, end] = index_.values().ofKind(kind);
  auto& passed = passed_[static_cast<std::size_t>(kind)].most;
  while (begin + passed < end && casesAt(end - 1 - passed) == 0) ++passed;
  auto const known = begin + passed < end ? index_.values().at(end - 1 - passed) : Variant{};
  return withSign(changes_.most(kind, known, [this](Variant const& value) { return hasCases(value); }));
}

Variant KeptIndex::withSign(Variant const& value) const noexcept {
  return isZero(value) ? index_.values().zero() : value;
}

}  // namespace casebook
