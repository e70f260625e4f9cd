#pragma once

#include "store/row_moves.h"

#include <optional>
#include <span>
#include <vector>

namespace casebook {

/// What was written in one column since everything derived was last refreshed. Times are those of TouchedCells, which
/// keeps this up to date.
class TouchedColumn {
 public:
  struct Cell {
    std::uint32_t row;
    Variant before;
  };

  TouchedColumn() = default;
  // A copy of a column is another column, of which nobody has derived anything.
  TouchedColumn(TouchedColumn const&) noexcept : TouchedColumn{} {}
  TouchedColumn& operator=(TouchedColumn const&) = delete;
  ~TouchedColumn() = default;

  /// How many writes are listed of a column: past this share its rebuild costs no more than the list.
  [[nodiscard]] static constexpr std::size_t mostListed(std::size_t columnLength) noexcept {
    return std::max(std::size_t{16}, columnLength / 32);
  }

  /// When a cell was last written, or all of them were, or the column came.
  [[nodiscard]] u64 changedAt() const noexcept { return changedAt_; }

  /// The writes after `time`, the oldest first, also those to rows that came after it; of a cell that was written
  /// twice the first tells what it held then. Rows that went are not among them, and the others are as they are
  /// numbered now. Null: all cells may have been written.
  [[nodiscard]] std::optional<std::span<Cell const>> since(u64 time) const noexcept {
    if (changedAt_ <= time) return std::span<Cell const>{};
    bool const listed = !all_ && listedSince_ <= time && time < firstAt_;
    return listed ? std::optional{std::span{cells_}} : std::nullopt;
  }

  void noteWrite(u64 now, u64 row, Variant const& before, std::size_t columnLength) noexcept {
    changedAt_ = now;
    if (all_) return;
    if (cells_.empty()) firstAt_ = now;
    if (!list({static_cast<std::uint32_t>(row), before}, columnLength)) noteAll(now);
  }
  void noteAll(u64 now) noexcept {
    changedAt_ = now;
    all_ = true;
    cells_.clear();
    gone_.clear();
  }
  /// What the cells of rows that went held when all was settled, by GoneRow::place; where `since` then tells of all
  /// writes.
  [[nodiscard]] std::span<Variant const> gone() const noexcept { return gone_; }

  /// Rows are about to move, of which RowMoves has told the places.
  /// Returns how many cells it looked at.
  std::size_t noteShift(u64 now, RowShift const& shift, std::span<std::uint32_t const> places,
                        std::vector<Variant> const& column) noexcept;

  /// Everything derived has seen what is noted. Keeps the memory of the list.
  void settle(u64 now) noexcept {
    cells_.clear();
    gone_.clear();
    all_ = false;
    listedSince_ = now;
    entered_ = false;
  }

  /// Whether TouchedCells names the column.
  [[nodiscard]] bool entered() const noexcept { return entered_; }
  void markEntered() noexcept { entered_ = true; }

 private:
  [[nodiscard]] bool list(Cell cell, std::size_t columnLength) noexcept try {
    if (cells_.size() >= mostListed(columnLength)) return false;
    cells_.push_back(std::move(cell));
    return true;
  } catch (...) {
    return false;  // out of memory: all counts as written
  }

  u64 changedAt_ = 0;
  u64 listedSince_ = 0;
  u64 firstAt_ = 0;  // of the list, unless it is empty
  std::vector<Cell> cells_;
  std::vector<Variant> gone_;
  bool all_ = false;
  bool entered_ = false;
};

}  // namespace casebook
