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

constexpr std::size_t numberOf(ValueKind kind) noexcept { return static_cast<std::size_t>(kind); }

/// Tells a text from others without a look at it; equal texts mostly share it.
u64 storageOf(Variant const& text) noexcept { return reinterpret_cast<std::uintptr_t>(&text.stringValue()); }

std::string const& textIn(u64 storage) noexcept { return *reinterpret_cast<std::string const*>(storage); }

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
  kindRuns_.clear();
  if (order_->isPlain()) takeKeys(column, [](std::uint32_t position) { return position; });
  else takeKeys(column, [this](std::uint32_t position) { return order_->row(position); });
  kindRuns_.push_back({ValueKind::Null, static_cast<std::uint32_t>(column.size())});
  begins_ = {};
  forKindRuns([&](ValueKind kind, auto begin, auto end) { begins_[numberOf(kind) + 1] += end - begin; });
  std::partial_sum(begins_.begin(), begins_.end(), begins_.begin());
  positions_.resize(column.size());
  auto places = begins_;
  forKindRuns([&](ValueKind kind, auto begin, auto end) {
    auto& place = places[numberOf(kind)];
    std::iota(&positions_[place], &positions_[place] + (end - begin), begin);
    place += end - begin;
  });
}

template <class RowAt>
void IndexBuilder::takeKeys(Column const& column, RowAt rowAt) {
  auto* const keys = keys_.data();
  for (std::uint32_t position = 0; position < column.size(); ++position) {
    auto const& cell = column[rowAt(position)];
    auto const [kind, key] = keyOf(cell);
    keys[position] = kind == ValueKind::Text ? storageOf(cell) : key;
    if (position == 0 || kind != kindRuns_.back().kind) kindRuns_.push_back({kind, position});
  }
}

/// Calls `visit(kind, begin, end)` with positions of one kind that follow each other.
template <class Visit>
void IndexBuilder::forKindRuns(Visit visit) const {
  for (std::size_t run = 0; run + 1 < kindRuns_.size(); ++run)
    visit(kindRuns_[run].kind, kindRuns_[run].begin, kindRuns_[run + 1].begin);
}

auto IndexBuilder::positionsOf(ValueKind kind) noexcept -> Positions {
  auto const number = numberOf(kind);
  return std::span{positions_}.subspan(begins_[number], begins_[number + 1] - begins_[number]);
}

std::size_t IndexBuilder::putMissing(ValueKind kind) {
  auto const before = runs_.ranks.size();
  putRanks(positionsOf(kind));
  return runs_.ranks.size() - before;
}

// Where nearly all values differ, their keys lie anywhere.
void IndexBuilder::putNumbers(ValueKind kind) {
  auto const positions = positionsOf(kind);
  ends_.clear();
  auto const less = [this](auto a, auto b) { return keys_[a] < keys_[b]; };
  if (positions.size() >= leastToCount && haveFewKeys(positions)) fewValues_.arrange(positions, less, ends_);
  else keySort_.sort(positions, keys_, ends_);
  auto const firstOf = [&](std::size_t value) { return positions[value == 0 ? 0 : ends_[value - 1]]; };
  auto const values = runs_.values.makeRoom(kind, ends_.size());
  for (std::size_t value = 0; value < values.size(); ++value) {
    if (value + 2 * ahead < values.size()) __builtin_prefetch(&keys_[firstOf(value + 2 * ahead)]);
    values[value] = keys_[firstOf(value)];
  }
  putRuns(positions);
}

/// Whether they are collected, then.
bool IndexBuilder::haveFewKeys(Positions positions) {
  return fewValues_.collect(
      positions, [this](auto position) { return keys_[position]; }, [](auto, auto) { return true; });
}

/// The same of texts, of which few mostly share few storages.
bool IndexBuilder::haveFewTexts(Positions positions) {
  if (haveFewKeys(positions)) return true;
  auto const textAt = [this](auto position) -> auto& { return textIn(keys_[position]); };
  return fewValues_.collect(
      positions,
      [&, last = u64{0}, hash = std::size_t{0}](auto position) mutable {
        if (std::exchange(last, keys_[position]) != keys_[position]) hash = std::hash<std::string>{}(textAt(position));
        return hash;
      },
      [&](auto a, auto b) { return textAt(a) == textAt(b); });
}

void IndexBuilder::putTexts(Column const& column) {
  auto const positions = positionsOf(ValueKind::Text);
  if (positions.empty()) return;
  ends_.clear();
  auto const firstOf = [&](std::size_t value) { return positions[value == 0 ? 0 : ends_[value - 1]]; };
  if (positions.size() >= leastToCount && haveFewTexts(positions)) {
    fewValues_.arrange(positions, [this](auto a, auto b) { return textIn(keys_[a]) < textIn(keys_[b]); }, ends_);
    runs_.values.reserveTexts(ends_.size());
    for (std::size_t value = 0; value < ends_.size(); ++value) runs_.values.append(column[order_->row(firstOf(value))]);
  } else {
    takeTexts(column, positions);
    textSort_.sort(positions, [&](auto position) -> auto& { return texts_[position].stringValue(); }, keys_, ends_);
    runs_.values.reserveTexts(ends_.size());
    for (std::size_t value = 0; value < ends_.size(); ++value) {
      if (value + 2 * ahead < ends_.size()) __builtin_prefetch(&texts_[firstOf(value + 2 * ahead)], 1);
      runs_.values.append(std::move(texts_[firstOf(value)]));
    }
    texts_.clear();
  }
  putRuns(positions);
}

// Texts lie anywhere: each is asked of the memory some steps ahead. Once it is there it gets its second owner, and what
// is sorted and moved later are these.
void IndexBuilder::takeTexts(Column const& column, Positions positions) {
  texts_.clear();
  texts_.resize(column.size());
  for (std::size_t k = 0; k < positions.size(); ++k) {
    if (k + 2 * ahead < positions.size()) __builtin_prefetch(&textIn(keys_[positions[k + 2 * ahead]]), 1);
    texts_[positions[k]] = column[order_->row(positions[k])];
  }
}

/// Puts the ranks of each value, of positions that lie in the order of their values and end at `ends_`.
void IndexBuilder::putRuns(Positions positions) {
  if (order_->isPlain()) {
    auto const before = runs_.ends.size();
    runs_.ends.insert(runs_.ends.end(), ends_.begin(), ends_.end());
    for (auto& end : std::span{runs_.ends}.subspan(before)) end += static_cast<std::uint32_t>(runs_.ranks.size());
    return putRanks(positions);
  }
  for (std::size_t begin = 0; std::size_t const end : ends_) {
    putRanks(positions.subspan(begin, end - begin));
    runs_.ends.push_back(static_cast<std::uint32_t>(runs_.ranks.size()));
    begin = end;
  }
}

/// Rows of one case identifier count once.
void IndexBuilder::putRanks(Positions positions) {
  auto& ranks = runs_.ranks;
  if (order_->isPlain()) return (void)ranks.insert(ranks.end(), positions.begin(), positions.end());
  auto const begin = ranks.size();
  for (auto const position : positions) {
    auto const rank = order_->rankOfRow(order_->row(position));
    if (ranks.size() == begin || ranks.back() != rank) ranks.push_back(rank);
  }
}

}  // namespace casebook
