#include "derived/index_builder.h"

#include <functional>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace casebook {

namespace {

// Fewer are sorted faster than they are counted.
constexpr std::size_t leastToCount = 2 * FewValues::most;

constexpr std::size_t ahead = 8;  // steps in which memory answers

}  // namespace

ValueIndex IndexBuilder::build(Column const& column, CaseOrder const& order) {
  order_ = &order;
  if (column.size() != order.size()) throw std::out_of_range{"invalid vector subscript"};
  runs_.clear();
  runs_.ranks.reserve(column.size());
  divideByKind(column);
  runs_.nulls = putMissing(ValueKind::Null);
  runs_.nans = putMissing(ValueKind::NotANumber);
  putNumbers(ValueKind::Whole);
  putNumbers(ValueKind::Number);
  putTexts(column);
  runs_.values.setZeroNegative(runs_.values.find(0.0) && firstZeroIsNegative(column));
  ValueIndex index;
  index.assign(runs_, order.caseIds());
  return index;
}

void IndexBuilder::divideByKind(Column const& column) {
  keys_.resize(column.size());
  kinds_.resize(column.size());
  positions_.resize(column.size());
  begins_ = {};
  for (std::uint32_t position = 0; position < column.size(); ++position) {
    auto const [kind, key] = keyOf(column[order_->row(position)]);
    keys_[position] = key;
    kinds_[position] = kind;
    ++begins_[static_cast<std::size_t>(kind) + 1];
  }
  std::partial_sum(begins_.begin(), begins_.end(), begins_.begin());
  auto places = begins_;
  for (std::size_t position = 0; position < column.size(); ++position)
    positions_[places[static_cast<std::size_t>(kinds_[position])]++] = position;
}

std::span<u64> IndexBuilder::positionsOf(ValueKind kind) noexcept {
  auto const number = static_cast<std::size_t>(kind);
  return std::span{positions_}.subspan(begins_[number], begins_[number + 1] - begins_[number]);
}

std::size_t IndexBuilder::putMissing(ValueKind kind) {
  auto const before = runs_.ranks.size();
  putRanks(positionsOf(kind));
  return runs_.ranks.size() - before;
}

void IndexBuilder::putNumbers(ValueKind kind) {
  auto const positions = positionsOf(kind);
  auto const keyAt = [this](u64 position) { return keys_[position]; };
  auto const equal = [&](u64 a, u64 b) { return keyAt(a) == keyAt(b); };
  auto const less = [&](u64 a, u64 b) { return keyAt(a) < keyAt(b); };
  ends_.clear();
  if (positions.size() < leastToCount || !fewValues_.collect(positions, keyAt, equal)) {
    keySort_.sort(positions, keys_);
    return putSorted(kind, positions);
  }
  fewValues_.arrange(positions, less, ends_);
  for (std::size_t begin = 0; std::size_t const end : ends_)
    runs_.values.append(kind, keyAt(positions[std::exchange(begin, end)]));
  putRuns(positions);
}

// Where nearly all values differ, their keys lie anywhere.
void IndexBuilder::putSorted(ValueKind kind, std::span<u64 const> positions) {
  u64 last = 0;
  for (std::size_t k = 0; k < positions.size(); ++k) {
    if (k + 2 * ahead < positions.size()) __builtin_prefetch(&keys_[positions[k + 2 * ahead]]);
    u64 const key = keys_[positions[k]];
    if (k != 0 && key == last) continue;
    if (k != 0) ends_.push_back(static_cast<std::uint32_t>(k));
    runs_.values.append(kind, key);
    last = key;
  }
  if (!positions.empty()) ends_.push_back(static_cast<std::uint32_t>(positions.size()));
  putRuns(positions);
}

void IndexBuilder::putTexts(Column const& column) {
  auto const positions = positionsOf(ValueKind::Text);
  if (positions.empty()) return;
  auto const cellAt = [&](u64 position) -> Variant const& {
    return column[order_->row(static_cast<std::uint32_t>(position))];
  };
  viewTexts(column, positions);
  auto const textAt = [&](u64 position) { return texts_[position]; };
  auto const hash = [&](u64 position) { return std::hash<std::string_view>{}(textAt(position)); };
  auto const equal = [&](u64 a, u64 b) { return cellAt(a) == cellAt(b); };
  auto const less = [&](u64 a, u64 b) { return cellAt(a) < cellAt(b); };
  ends_.clear();
  if (positions.size() >= leastToCount && fewValues_.collect(positions, hash, equal))
    fewValues_.arrange(positions, less, ends_);
  else textSort_.sort(positions, textAt, keys_, ends_);
  runs_.values.reserveTexts(ends_.size());
  auto const firstOf = [&](std::size_t value) { return positions[value == 0 ? 0 : ends_[value - 1]]; };
  for (std::size_t value = 0; value < ends_.size(); ++value) {
    if (value + 2 * ahead < ends_.size()) __builtin_prefetch(&cellAt(firstOf(value + 2 * ahead)));
    if (value + ahead < ends_.size()) __builtin_prefetch(&cellAt(firstOf(value + ahead)).stringValue(), 1);
    runs_.values.append(cellAt(firstOf(value)));
  }
  putRuns(positions);
}

// Texts lie anywhere: each is asked of the memory some steps ahead.
void IndexBuilder::viewTexts(Column const& column, std::span<u64 const> positions) {
  texts_.resize(column.size());
  auto const textAt = [&](std::size_t k) -> std::string const& {
    return column[order_->row(static_cast<std::uint32_t>(positions[k]))].stringValue();
  };
  for (std::size_t k = 0; k < positions.size(); ++k) {
    if (k + 2 * ahead < positions.size()) __builtin_prefetch(&textAt(k + 2 * ahead));
    if (k + ahead < positions.size()) __builtin_prefetch(textAt(k + ahead).data());
    texts_[positions[k]] = textAt(k);
  }
}

/// Puts the ranks of each value, of positions that lie in the order of their values and end at `ends_`.
void IndexBuilder::putRuns(std::span<u64 const> positions) {
  for (std::size_t begin = 0; std::size_t const end : ends_) {
    putRanks(positions.subspan(begin, end - begin));
    runs_.ends.push_back(static_cast<std::uint32_t>(runs_.ranks.size()));
    begin = end;
  }
}

/// Rows of one case identifier count once.
void IndexBuilder::putRanks(std::span<u64 const> positions) {
  auto& ranks = runs_.ranks;
  auto const begin = ranks.size();
  for (u64 const position : positions) {
    auto const rank = order_->rankOfRow(order_->row(static_cast<std::uint32_t>(position)));
    if (ranks.size() == begin || ranks.back() != rank) ranks.push_back(rank);
  }
}

}  // namespace casebook
