#pragma once

#include <casebook/variant.h>

#include <array>
#include <bit>
#include <cstddef>
#include <limits>
#include <span>

/// What blocks of rows are worked out on.
///
/// A missing value is a bit beside the numbers and not a NaN among them: NaN that arithmetic yields is an answer. The
/// number behind a missing bit means nothing, but it is always initialized.
namespace casebook::expression {

constexpr std::size_t blockRows = 1024;
constexpr std::size_t rowsPerWord = 64;

using MissingWords = std::array<u64, blockRows / rowsPerWord>;

/// One number per row of a block. Row i is missing where bit i % 64 of word i / 64 is set.
struct Register {
  std::array<double, blockRows> values;
  MissingWords missing;
};

inline constexpr MissingWords noneMissing{};

/// A block: up to 1,024 rows of the columns, consecutive ones or those of a list.
class Block {
 public:
  Block(std::size_t first, std::size_t count) noexcept : first_{first}, count_{count} {}
  explicit Block(std::span<std::size_t const> rows) noexcept : rows_{rows.data()}, count_{rows.size()} {}

  [[nodiscard]] std::size_t count() const noexcept { return count_; }
  [[nodiscard]] std::size_t row(std::size_t i) const noexcept { return rows_ ? rows_[i] : first_ + i; }

  /// Calls `body` with a function from 0, 1, ... count() - 1 to the cells of `column` in this block. One call for each
  /// kind of block, so that a loop in `body` is compiled for each.
  template <class Body>
  void visit(Variant* column, Body body) const {
    if (rows_) body([column, rows = rows_](std::size_t i) -> Variant& { return column[rows[i]]; });
    else body([cells = column + first_](std::size_t i) -> Variant& { return cells[i]; });
  }

 private:
  std::size_t const* rows_ = nullptr;
  std::size_t first_ = 0;
  std::size_t count_ = 0;
};

/// The cells of one column in a block, for operations that look at texts.
class Cells {
 public:
  Cells() noexcept = default;
  Cells(Variant const* column, Block const& block) noexcept : column_{column}, block_{&block} {}

  [[nodiscard]] Variant const& operator[](std::size_t i) const noexcept { return column_[block_->row(i)]; }

 private:
  Variant const* column_ = nullptr;
  Block const* block_ = nullptr;
};

/// One operand of an instruction: numbers (one for all rows when `constant`), or a text. Those of a column have its
/// cells beside the numbers.
struct Source {
  double const* values = nullptr;
  u64 const* missing = noneMissing.data();
  bool constant = false;
  Cells cells = {};
  std::string const* text = nullptr;
};

/// The number in a cell; NaN where there is none.
inline double numberIn(Variant const& cell) noexcept {
  if (cell.type() == Variant::FloatingPoint) [[likely]]
    return std::bit_cast<double>(cell.word());
  if (cell.type() == Variant::UnsignedInteger) return static_cast<double>(cell.word());
  return std::numeric_limits<double>::quiet_NaN();
}

/// Cells without a number, or with NaN, become missing.
void load(Variant* column, Block const& block, Register& to) noexcept;

/// Missing values become null.
void store(Source const& from, Block const& block, Variant* column) noexcept;

void storeNull(Block const& block, Variant* column) noexcept;

}  // namespace casebook::expression
