#include "derived/value_index.h"

#include <algorithm>
#include <utility>

namespace casebook {

namespace {

constexpr u64 zeroKey = value_key::ofNumber(0).key;

/// The number of keys below this one; without a branch that nobody can foresee.
std::size_t lowerBound(std::span<u64 const> keys, u64 key) noexcept {
  auto const* first = keys.data();
  for (std::size_t left = keys.size(); left != 0;) {
    std::size_t const half = (left + 1) / 2;
    first += half & -static_cast<std::size_t>(first[half - 1] < key);
    left -= half;
  }
  return static_cast<std::size_t>(first - keys.data());
}

/// Hands on elements without room for more. Assigning keeps memory where there is enough, else it takes just what is
/// needed.
template <class T>
void takeJust(std::vector<T>& from, std::vector<T>& to) {
  if (from.capacity() == from.size()) to = std::move(from);
  else to.assign(from.begin(), from.end());
  from.clear();
}

}  // namespace

void DistinctValues::append(ValueKind kind, u64 key) {
  keys_.push_back(key);
  if (kind == ValueKind::Whole) ++wholes_;
}

void DistinctValues::append(Variant const& value) {
  auto const [kind, key] = keyOf(value);
  if (kind == ValueKind::Text) texts_.push_back(value);
  else append(kind, key);
}

void DistinctValues::append(Variant&& value) {
  auto const [kind, key] = keyOf(value);
  if (kind == ValueKind::Text) texts_.push_back(std::move(value));
  else append(kind, key);
}

std::span<u64> DistinctValues::makeRoom(ValueKind kind, std::size_t count) {
  keys_.resize(keys_.size() + count);
  if (kind == ValueKind::Whole) wholes_ += count;
  return std::span{keys_}.last(count);
}

void DistinctValues::append(DistinctValues&& from, std::size_t begin, std::size_t end) {
  auto const places = [&]<class T>(std::vector<T>& all, std::size_t offset) {
    auto const place = [&](std::size_t number) {
      return all.begin() + static_cast<std::ptrdiff_t>(std::clamp(number, offset, offset + all.size()) - offset);
    };
    return std::pair{place(begin), place(end)};
  };
  auto const [firstKey, lastKey] = places(from.keys_, 0);
  keys_.insert(keys_.end(), firstKey, lastKey);
  auto const [firstText, lastText] = places(from.texts_, from.keys_.size());
  texts_.insert(texts_.end(), std::move_iterator{firstText}, std::move_iterator{lastText});
  wholes_ += std::min(end, from.wholes_) - std::min(begin, from.wholes_);
}

// Texts lie anywhere: each is asked of the memory some steps before it loses what is mostly its last owner.
void DistinctValues::clear() noexcept {
  keys_.clear();
  steps_.clear();
  wholes_ = 0;
  constexpr std::size_t ahead = 8;
  for (std::size_t k = 0; k < texts_.size(); ++k) {
    if (k + 2 * ahead < texts_.size()) __builtin_prefetch(&texts_[k + 2 * ahead].stringValue(), 1);
    if (k + ahead < texts_.size()) __builtin_prefetch(texts_[k + ahead].stringValue().data(), 1);
    texts_[k] = {};
  }
  texts_.clear();
  negativeZero_ = false;
}

void DistinctValues::takeFrom(DistinctValues& others) {
  takeJust(others.keys_, keys_);
  wholes_ = others.wholes_;
  texts_ = std::exchange(others.texts_, {});
  negativeZero_ = others.negativeZero_;
  others.clear();
  steps_.clear();
  if (wholes_ != 0 && wholes_ != keys_.size()) return;
  for (std::size_t place = 0; place < keys_.size(); place += stride) steps_.push_back(keys_[place]);
}

std::optional<std::size_t> DistinctValues::find(Variant const& value) const noexcept {
  auto const place = placeOf(value);
  return holds(value, place) ? std::optional{place} : std::nullopt;
}

std::size_t DistinctValues::placeOf(Variant const& value) const noexcept {
  auto const [kind, key] = keyOf(value);
  auto const [begin, end] = ofKind(kind);
  return placeIn(begin, end, value);
}

std::size_t DistinctValues::placeOf(Variant const& value, std::size_t from) const noexcept {
  auto const [kind, key] = keyOf(value);
  auto [begin, end] = ofKind(kind);
  begin = std::max(begin, from);
  std::size_t step = 16;
  for (; begin + step < end && isBelow(begin + step, value); step *= 2) begin += step;
  return placeIn(begin, std::min(end, begin + step), value);
}

std::size_t DistinctValues::placeIn(std::size_t begin, std::size_t end, Variant const& value) const noexcept {
  auto const lowest = [&](auto const& all, std::size_t offset, auto const& sought) {
    auto const part = std::span{all}.subspan(begin - offset, end - begin);
    return begin + static_cast<std::size_t>(std::ranges::lower_bound(part, sought) - part.begin());
  };
  return begin >= keys_.size() ? lowest(texts_, keys_.size(), value) : placeOfKey(begin, end, keyOf(value).key);
}

std::size_t DistinctValues::placeOfKey(std::size_t begin, std::size_t end, u64 key) const noexcept {
  if (!steps_.empty() && begin < end) {
    std::size_t const past = lowerBound(steps_, key);  // the key is above the step before
    begin = std::clamp(past == 0 ? 0 : (past - 1) * stride, begin, end);
    end = std::clamp(past * stride, begin, end);
  }
  return begin + lowerBound(std::span{keys_}.subspan(begin, end - begin), key);
}

bool DistinctValues::isBelow(std::size_t place, Variant const& value) const noexcept {
  return place < keys_.size() ? keys_[place] < keyOf(value).key : texts_[place - keys_.size()] < value;
}

std::pair<std::size_t, std::size_t> DistinctValues::ofKind(ValueKind kind) const noexcept {
  switch (kind) {
    case ValueKind::Null: return {0, 0};
    case ValueKind::Whole: return {0, wholes_};
    case ValueKind::Number: return {wholes_, keys_.size()};
    case ValueKind::NotANumber: return {keys_.size(), keys_.size()};
    case ValueKind::Text: return {keys_.size(), size()};
  }
  return {0, 0};
}

Variant DistinctValues::at(std::size_t place) const noexcept {
  if (place >= keys_.size()) return texts_[place - keys_.size()];
  if (place < wholes_) return valueOf({ValueKind::Whole, keys_[place]});
  return number(keys_[place]);
}

Variant DistinctValues::number(u64 key) const noexcept {
  if (key == zeroKey) return zero();
  return valueOf({ValueKind::Number, key});
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

bool firstZeroIsNegative(std::vector<Variant> const& column) noexcept {
  auto const first = std::ranges::find(column, Variant{0.0});
  return first != column.end() && first->word() != 0;
}

void ValueIndex::Runs::clear() noexcept {
  values.clear();
  ranks.clear();
  nulls = nans = 0;
  ends.clear();
}

void ValueIndex::assign(Runs& runs, CaseIds::ByRank caseIds) {
  values_.takeFrom(runs.values);
  takeJust(runs.ranks, ranks_);
  nulls_ = runs.nulls;
  nans_ = runs.nans;
  bool const oneEach = nulls_ + nans_ + values_.size() == ranks_.size();
  ends_.assign(runs.ends.begin(), oneEach ? runs.ends.begin() : runs.ends.end());
  caseIds_ = std::move(caseIds);
}

std::set<u64> ValueIndex::caseIds(Variant const& value) const {
  std::set<u64> ids;
  for (auto const rank : ranksOf(value)) ids.insert(ids.end(), (*caseIds_)[rank]);  // nearly all ascend
  return ids;
}

std::size_t ValueIndex::cellsOf(ValueKind kind) const noexcept {
  if (kind == ValueKind::Null) return nulls_;
  if (kind == ValueKind::NotANumber) return nans_;
  auto const [begin, end] = values_.ofKind(kind);
  return begin == end ? 0 : beginOf(end) - beginOf(begin);
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
  auto const begin = beginOf(number);
  return std::span{ranks_}.subspan(begin, beginOf(number + 1) - begin);
}

std::size_t ValueIndex::beginOf(std::size_t number) const noexcept {
  if (ends_.empty()) return nulls_ + nans_ + number;
  return number == 0 ? nulls_ + nans_ : ends_[number - 1];
}

}  // namespace casebook
