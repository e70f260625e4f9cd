#include "store/row_moves.h"

#include <functional>
#include <iterator>
#include <ranges>

namespace casebook {

namespace {

// Past this share of the rows everything that follows from the table is worked out anew as fast.
constexpr std::size_t leastShare = 32;
constexpr std::size_t alwaysListed = 16;

/// Of a list of two sorted parts, the second of which begins at `middle`, makes one.
template <class T, class Key = std::identity>
void mergeParts(std::vector<T>& list, std::size_t middle, Key key = {}) {
  std::span const all{list};
  std::vector<T> merged;
  merged.reserve(all.size());
  std::ranges::merge(all.first(middle), all.subspan(middle), std::back_inserter(merged), {}, key, key);
  list.swap(merged);
}

}  // namespace

std::uint32_t RowShift::operator()(std::uint32_t row) const noexcept {
  auto const closed = std::ranges::lower_bound(gone, row) - gone.begin();
  auto const rest = row - static_cast<std::uint32_t>(closed);
  auto const opened = *std::ranges::partition_point(std::views::iota(std::size_t{0}, came.size()),
                                                    [&](std::size_t k) { return came[k] - k <= rest; });
  return rest + static_cast<std::uint32_t>(opened);
}

void RowMoves::restart(u64 rows) noexcept {
  rows_ = rows;
  gone_.clear();
  came_.clear();
}

bool RowMoves::take(RowShift const& shift, std::span<u64 const> recordOfRow) {
  auto const most = std::max<std::size_t>(alwaysListed, rows_ / leastShare);
  if (gone_.size() + shift.gone.size() + came_.size() + shift.came.size() > most) return false;
  takeGone(shift.gone, recordOfRow);
  std::erase_if(came_, [&](auto const row) { return shift.closes(row); });
  for (auto& row : came_) row = shift(row);
  takeCame(shift.came);
  return true;
}

// Of the rows that are left of those that were there the n-th is sought, and what its number was.
void RowMoves::takeGone(std::span<std::uint32_t const> rows, std::span<u64 const> recordOfRow) {
  auto const known = gone_.size();
  u64 const end = firstNew();
  std::uint32_t passed = 0;
  places_.clear();
  for (auto const row : rows) {
    auto const came = std::ranges::lower_bound(came_, row);
    bool const isNew = row >= end || (came != came_.end() && *came == row);
    places_.push_back(isNew ? nowhere : static_cast<std::uint32_t>(gone_.size()));
    if (isNew) continue;
    auto const number = row - static_cast<std::uint32_t>(came - came_.begin());
    while (passed < known && gone_[passed].row <= number + passed) ++passed;
    gone_.push_back({number + passed, places_.back(), recordOfRow[row]});
  }
  mergeParts(gone_, known, &GoneRow::row);
}

void RowMoves::takeCame(std::span<std::uint32_t const> rows) {
  auto const known = came_.size();
  u64 const end = firstNew();
  for (auto const row : rows)
    if (row < end + (came_.size() - known)) came_.push_back(row);
  mergeParts(came_, known);
}

}  // namespace casebook
