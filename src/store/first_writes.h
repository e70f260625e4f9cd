#pragma once

#include "store/touched_column.h"

namespace casebook {

/// Of the writes to a column the first to each cell, which tells what it held before all of them; ascending by row.
class FirstWrites {
 public:
  /// Borrows the writes, which are in the order of time.
  void assign(std::span<TouchedColumn::Cell const> writes) {
    cells_.clear();
    for (auto const& cell : writes) cells_.push_back(&cell);
    std::ranges::sort(cells_, {}, [](auto const* cell) { return std::pair{cell->row, cell}; });
    auto const repeated = std::ranges::unique(cells_, {}, &TouchedColumn::Cell::row);
    cells_.erase(repeated.begin(), repeated.end());
  }

  [[nodiscard]] std::span<TouchedColumn::Cell const* const> all() const noexcept { return cells_; }

  /// What a cell of the column held before.
  [[nodiscard]] Variant const& before(u64 row, std::vector<Variant> const& column) const noexcept {
    auto const found = std::ranges::lower_bound(cells_, row, {}, &TouchedColumn::Cell::row);
    return found != cells_.end() && (*found)->row == row ? (*found)->before : column[row];
  }

 private:
  std::vector<TouchedColumn::Cell const*> cells_;
};

}  // namespace casebook
