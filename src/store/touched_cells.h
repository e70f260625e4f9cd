#pragma once

#include "store/entities.h"
#include "store/entity_map.h"

#include <boost/container/flat_set.hpp>

namespace casebook {

/// The one record of what changed in the table since everything derived was last refreshed from it: the cells, column
/// by column (`DataVariable::touched`), and the rows and columns that came and went.
///
/// 1. Time is the number of changes so far; it never goes back. Who derives something from the table remembers when
///    it looked last, `now()`, and how many rows there were; all that it has missed was noted after that.
/// 2. Records came behind the rows that were seen, unless `movedAt()` is later: then `rowsSince` tells what became of
///    the rows that were seen, to those who saw them as they were when all was settled, and while few have moved.
/// 3. Columns that were written, came or went are among `variables()`.
///
/// Noting never fails: without memory everything counts as moved.
class TouchedCells {
 public:
  using Uids = boost::container::flat_set<u64>;

  [[nodiscard]] u64 now() const noexcept { return now_; }

  /// When a record last left, or came between others: rows are no longer those that they were.
  [[nodiscard]] u64 movedAt() const noexcept { return movedAt_; }

  /// What became of the rows after `time`, when there were so many. Null: nothing that was seen is of use.
  [[nodiscard]] std::optional<RowChanges> rowsSince(u64 time, u64 rowsThen) const noexcept {
    if (movedAt_ <= time) return RowChanges{{}, {}, rowsThen};
    return moves_ && time == settledAt_ ? std::optional{moves_->changes()} : std::nullopt;
  }

  /// Those that changed since all was settled, whether they are still there or not.
  [[nodiscard]] Uids const& variables() const noexcept { return variables_; }

  /// A cell holds, or is about to hold, another value than `before`.
  void noteWrite(DataVariable& variable, u64 row, Variant const& before) noexcept {
    variable.touched.noteWrite(++now_, row, before, variable.values.size());
    enter(variable);
  }

  /// A column came, or all its cells may be others.
  void noteColumn(DataVariable& variable) noexcept {
    variable.touched.noteAll(++now_);
    enter(variable);
  }

  void noteGone(u64 variable) noexcept {
    ++now_;
    enter(variable);
  }

  void noteAppended() noexcept { ++now_; }
  /// Rows moved, and nobody knows from where.
  void noteMoved() noexcept {
    movedAt_ = ++now_;
    moves_.reset();
  }
  /// Rows are about to move; before that, these are the records that they belong to.
  void noteMoves(EntityMap<DataVariable>& variables, RowShift const& shift, std::span<u64 const> recordOfRow) noexcept;

  /// Everything derived is up to date.
  void settle(EntityMap<DataVariable>& variables) noexcept;

  /// The record of a table that takes the place of another.
  [[nodiscard]] TouchedCells successor() const noexcept {
    TouchedCells next;
    next.now_ = now_;
    next.noteMoved();
    return next;
  }

 private:
  bool enter(u64 uid) noexcept try {
    variables_.insert(uid);
    return true;
  } catch (...) {
    noteMoved();
    return false;
  }
  void enter(DataVariable& variable) noexcept {
    if (!variable.touched.entered() && enter(variable.id)) variable.touched.markEntered();
  }

  // More, in rows that come and go by turns with writes, take as long as working everything out anew.
  static constexpr u64 mostFollowed = 4'000'000;

  u64 now_ = 1;  // nobody has looked by then
  u64 movedAt_ = 1;
  u64 settledAt_ = 0;
  u64 followed_ = 0;               // cells and rows, each as often as a pass moved it since all was settled
  std::optional<RowMoves> moves_;  // since all was settled; none when it is not known how
  Uids variables_;
};

}  // namespace casebook
