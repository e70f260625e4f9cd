#include "derived/value_index.h"

#include <algorithm>
#include <utility>

namespace casebook {

namespace {

constexpr u64 zeroKey = value_key::ofNumber(0).key;

/// A copy whose capacity is its size.
template <class T>
std::vector<T> trimmedCopy(std::vector<T> const& from) {
  return {from.begin(), from.end()};
}

/// The place of an element in an ascending range, `offset` further on.
template <class Range, class T>
std::optional<std::size_t> placeIn(Range const& range, T const& element, std::size_t offset) noexcept {
  auto const found = std::ranges::lower_bound(range, element);
  if (found == range.end() || *found != element) return std::nullopt;
  return offset + static_cast<std::size_t>(found - range.begin());
}

}  // namespace

void DistinctValues::append(ValueKind kind, u64 key) {
  keys_.push_back(key);
  if (kind == ValueKind::Whole) ++wholes_;
}

void DistinctValues::clear() noexcept {
  keys_.clear();
  wholes_ = 0;
  texts_.clear();
  negativeZero_ = false;
}

DistinctValues DistinctValues::take() {
  DistinctValues taken;
  taken.keys_ = trimmedCopy(keys_);
  taken.wholes_ = wholes_;
  taken.texts_ = std::exchange(texts_, {});
  taken.negativeZero_ = negativeZero_;
  clear();
  return taken;
}

std::optional<std::size_t> DistinctValues::find(Variant const& value) const noexcept {
  auto const keys = std::span{keys_};
  auto const [kind, key] = keyOf(value);
  switch (kind) {
    case ValueKind::Null:
    case ValueKind::NotANumber: return std::nullopt;
    case ValueKind::Whole: return placeIn(keys.first(wholes_), key, 0);
    case ValueKind::Number: return placeIn(keys.subspan(wholes_), key, wholes_);
    case ValueKind::Text: return placeIn(texts_, value, keys_.size());
  }
  return std::nullopt;
}

Variant DistinctValues::number(u64 key) const noexcept {
  if (key == zeroKey && negativeZero_) return -0.0;
  return std::bit_cast<double>(value_key::numberOf(key));
}

std::vector<Variant> DistinctValues::all() const {
  std::vector<Variant> values;
  values.reserve(size());
  auto const keys = std::span{keys_};
  for (u64 const key : keys.first(wholes_)) values.push_back(Variant::ofWord(key, Variant::UnsignedInteger));
  for (u64 const key : keys.subspan(wholes_)) values.push_back(number(key));
  values.insert(values.end(), texts_.begin(), texts_.end());
  return values;
}

void ValueIndex::Runs::clear() noexcept {
  values.clear();
  ranks.clear();
  nulls = nans = 0;
  ends.clear();
}

ValueIndex::ValueIndex(Runs& runs, CaseOrder::CaseIds caseIds)
    : values_{runs.values.take()},
      ranks_{trimmedCopy(runs.ranks)},
      nulls_{runs.nulls},
      nans_{runs.nans},
      caseIds_{std::move(caseIds)} {
  bool const eachHasOne = runs.nulls + runs.nans + runs.ends.size() == runs.ranks.size();
  if (!eachHasOne) ends_ = trimmedCopy(runs.ends);
}

std::set<u64> ValueIndex::caseIds(Variant const& value) const {
  std::set<u64> ids;
  for (auto const rank : ranksOf(value)) ids.insert(ids.end(), (*caseIds_)[rank]);
  return ids;
}

std::span<std::uint32_t const> ValueIndex::ranksOf(Variant const& value) const noexcept {
  auto const ranks = std::span{ranks_};
  if (value.isNull()) return ranks.first(nulls_);
  if (keyOf(value).kind == ValueKind::NotANumber) return ranks.subspan(nulls_, nans_);
  auto const number = values_.find(value);
  if (!number) return {};
  return ranksOfValue(*number);
}

std::span<std::uint32_t const> ValueIndex::ranksOfValue(std::size_t number) const noexcept {
  auto const ranks = std::span{ranks_};
  if (ends_.empty()) return ranks.subspan(nulls_ + nans_ + number, 1);
  std::size_t const begin = number == 0 ? nulls_ + nans_ : ends_[number - 1];
  return ranks.subspan(begin, ends_[number] - begin);
}

}  // namespace casebook
