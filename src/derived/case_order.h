#pragma once

#include "derived/case_ids.h"
#include "store/first_writes.h"
#include "store/row_moves.h"

namespace casebook {

/// Which case each row of a table is: the rank of its identifier. Rows of one identifier are one case. It follows what
/// becomes of the rows, and ranks stay what they are; a case that has lost its rows keeps its own, for it may come
/// back. There are fewer than 2^32 rows.
class CaseOrder {
 public:
  static constexpr std::uint32_t noCase = ~std::uint32_t{0};

  explicit CaseOrder(std::vector<Variant> const& caseIdColumn);

  /// The number of rows.
  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  /// Whether row, position and rank are the same number.
  [[nodiscard]] bool isPlain() const noexcept { return isPlain_; }
  [[nodiscard]] std::uint32_t rankOfRow(u64 row) const noexcept {
    return isPlain_ ? static_cast<std::uint32_t>(row) : rankOfRow_[row];
  }
  /// How many rows the case has.
  [[nodiscard]] std::uint32_t rowsOfCase(std::uint32_t rank) const noexcept { return isPlain_ ? 1 : rowsOfCase_[rank]; }
  [[nodiscard]] CaseIds::ByRank caseIds() const noexcept { return ids_.byRank(); }

  /// Calls `visit` with the rows of cases, whose ranks ascend, and the rank of each.
  template <class Visit>
  void forRowsOf(std::span<std::uint32_t const> ranks, Visit visit) const;

  /// Before `row` after `follow`: sorts the rows by the ranks of their cases, equal ones by row.
  void arrange();
  [[nodiscard]] std::uint32_t row(std::uint32_t position) const noexcept {
    return rowsByRank_.empty() ? position : rowsByRank_[position];
  }

  /// A row that came, or is another case than it was, or whose case lost or got other rows.
  struct Regrouped {
    std::uint32_t row;
    std::uint32_t before;  ///< the rank of its case; `noCase` for one that came
    std::uint32_t now;
  };
  struct Gone {
    std::uint32_t rank;
    std::uint32_t place;  ///< as GoneRow tells it
  };
  /// What `follow` found.
  struct Changes {
    std::vector<Gone> gone;
    std::vector<Regrouped> rows;  ///< ascending
    bool anyTwins = false;        ///< whether two of all these were or are one case

    void clear() noexcept;
    [[nodiscard]] bool any() const noexcept { return !gone.empty() || !rows.empty(); }
    [[nodiscard]] bool concern(std::uint32_t row) const noexcept {
      return std::ranges::binary_search(rows, row, {}, &Regrouped::row);
    }
  };

  /// Takes in what became of the rows, and what was written to the identifiers. False: too much has changed, and the
  /// order is to be made anew.
  [[nodiscard]] bool follow(std::vector<Variant> const& caseIdColumn, RowChanges const& rows,
                            FirstWrites const& writes);
  [[nodiscard]] Changes const& changes() const noexcept { return changes_; }

 private:
  /// A row whose case is to be found.
  struct Unranked {
    u64 id;
    std::uint32_t row;
    bool isNew;
  };

  [[nodiscard]] std::vector<u64> sort(std::vector<u64> idsByRow);

  void listUnranked(std::vector<Variant> const& caseIdColumn, RowChanges const& rows, FirstWrites const& writes);
  [[nodiscard]] bool staysPlain(RowChanges const& rows) const;
  void append();
  void moveRows(RowChanges const& rows, std::size_t rowCount);
  void rankRows();
  void join(std::uint32_t rank, std::uint32_t row, std::uint32_t before);
  void leave(std::uint32_t rank) noexcept;
  [[nodiscard]] bool addCompany();
  /// Of the cases that the changed rows were, and are.
  [[nodiscard]] std::vector<std::uint32_t> ranksBefore() const;
  [[nodiscard]] std::vector<std::uint32_t> ranksNow() const;
  void writeOut();

  std::size_t size_;
  bool isPlain_ = true;  // every row is a case of its own, of which it is the rank, as in nearly every table
  std::vector<std::uint32_t> rankOfRow_;   // empty where that is plain
  std::vector<std::uint32_t> rowsOfCase_;  // the same
  std::vector<std::uint32_t> rowsByRank_;  // empty where the ranks ascend with the rows
  CaseIds ids_;
  std::size_t lost_ = 0;  // cases without rows
  Changes changes_;
  std::vector<Unranked> unranked_;
};

template <class Visit>
void CaseOrder::forRowsOf(std::span<std::uint32_t const> ranks, Visit visit) const {
  if (ranks.empty()) return;
  for (std::uint32_t row = 0; row < size_; ++row) {
    auto const rank = rankOfRow(row);
    bool const between = ranks.front() <= rank && rank <= ranks.back();
    if (between && std::ranges::binary_search(ranks, rank)) visit(row, rank);
  }
}

}  // namespace casebook
