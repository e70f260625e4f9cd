#pragma once

#include <casebook/variant.h>

#include <algorithm>
#include <span>
#include <vector>

namespace casebook {

/// The rows that one pass over a table closes and opens.
struct RowShift {
  std::span<std::uint32_t const> gone;  ///< ascending, as rows are numbered before
  std::span<std::uint32_t const> came;  ///< ascending, as they are numbered after

  [[nodiscard]] bool closes(std::uint32_t row) const noexcept { return std::ranges::binary_search(gone, row); }
  /// The number that a row, which stays, has after.
  [[nodiscard]] std::uint32_t operator()(std::uint32_t row) const noexcept;

  /// Takes out what a list holds for the rows that are gone, and makes place for those that came, which has yet to be
  /// assigned. Takes memory where the list becomes longer than it has room for.
  template <class T>
  void apply(std::vector<T>& rows) const {
    close(rows);
    open(rows);
  }

 private:
  template <class T>
  void close(std::vector<T>& rows) const;
  template <class T>
  void open(std::vector<T>& rows) const;
};

/// A row that went.
struct GoneRow {
  std::uint32_t row;    ///< as rows were numbered when all was settled
  std::uint32_t place;  ///< of its cell among those that a column keeps of such rows
  u64 record;
};

/// What became of the rows since somebody looked at them.
struct RowChanges {
  std::span<GoneRow const> gone;        ///< ascending
  std::span<std::uint32_t const> came;  ///< between others, ascending
  u64 firstNew;                         ///< the rows from here on came as well

  [[nodiscard]] bool isNew(u64 row) const noexcept { return row >= firstNew || std::ranges::binary_search(came, row); }

  /// Calls `visit` with the rows that came, ascending, of a table of so many rows.
  template <class Visit>
  void forNew(u64 rowCount, Visit visit) const {
    for (auto const row : came) visit(row);
    for (u64 row = firstNew; row < rowCount; ++row) visit(row);
  }
};

/// Which rows came and went since all was settled, as long as they are few.
class RowMoves {
 public:
  static constexpr std::uint32_t nowhere = ~std::uint32_t{0};

  /// All is settled, with so many rows.
  void restart(u64 rows) noexcept;

  /// Takes a pass in, before it is made; `recordOfRow` are the records of all rows. False when too much has moved to
  /// be listed: then nothing is known until `restart`.
  [[nodiscard]] bool take(RowShift const& shift, std::span<u64 const> recordOfRow);

  /// For each row that the last pass closed the place of its cells; `nowhere` for one that came since all was settled.
  [[nodiscard]] std::span<std::uint32_t const> places() const noexcept { return places_; }
  [[nodiscard]] RowChanges changes() const noexcept { return {gone_, came_, firstNew()}; }

 private:
  [[nodiscard]] u64 firstNew() const noexcept { return rows_ - gone_.size() + came_.size(); }
  void takeGone(std::span<std::uint32_t const> rows, std::span<u64 const> recordOfRow);
  void takeCame(std::span<std::uint32_t const> rows);

  u64 rows_ = 0;
  std::vector<GoneRow> gone_;
  std::vector<std::uint32_t> came_;  // but for the rows behind all that were there
  std::vector<std::uint32_t> places_;
};

template <class T>
void RowShift::close(std::vector<T>& rows) const {
  if (gone.empty()) return;
  auto const at = [&](std::size_t row) { return rows.begin() + static_cast<std::ptrdiff_t>(row); };
  auto to = at(gone.front());
  for (std::size_t k = 0; k < gone.size(); ++k)
    to = std::move(at(gone[k] + 1), at(k + 1 < gone.size() ? gone[k + 1] : rows.size()), to);
  rows.erase(to, rows.end());
}

template <class T>
void RowShift::open(std::vector<T>& rows) const {
  if (came.empty()) return;
  auto const length = rows.size();
  rows.resize(length + came.size());
  auto const at = [&](std::size_t row) { return rows.begin() + static_cast<std::ptrdiff_t>(row); };
  auto end = at(length);
  for (std::size_t k = came.size(); k-- > 0;) {
    auto const first = at(came[k] - k);
    std::move_backward(first, end, end + static_cast<std::ptrdiff_t>(k + 1));
    end = first;
  }
}

}  // namespace casebook
