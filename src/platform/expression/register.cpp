#include "platform/expression/register.h"

#include <algorithm>

namespace casebook::expression {

namespace {

/// Calls `body` with each word's number, its first row and the end of its rows.
template <class Body>
void forEachWord(std::size_t rows, Body body) {
  for (std::size_t first = 0; first < rows; first += rowsPerWord)
    body(first / rowsPerWord, first, std::min(first + rowsPerWord, rows));
}

Variant cellFor(double value, bool missing) noexcept { return missing ? Variant{} : Variant{value}; }

}  // namespace

void load(Variant* column, Block const& block, Register& to) noexcept {
  block.visit(column, [&](auto cell) {
    forEachWord(block.count(), [&](std::size_t word, std::size_t first, std::size_t last) {
      u64 missing = 0;
      for (std::size_t i = first; i < last; ++i) {
        double const value = numberIn(cell(i));
        to.values[i] = value;
        missing |= u64{value != value} << (i - first);
      }
      to.missing[word] = missing;
    });
  });
}

void store(Source const& from, Block const& block, Variant* column) noexcept {
  std::size_t const step = from.constant ? 0 : 1;
  block.visit(column, [&](auto cell) {
    forEachWord(block.count(), [&](std::size_t word, std::size_t first, std::size_t last) {
      u64 const missing = from.missing[word];
      for (std::size_t i = first; i < last; ++i)
        cell(i) = cellFor(from.values[i * step], ((missing >> (i - first)) & 1) != 0);
    });
  });
}

void storeNull(Block const& block, Variant* column) noexcept {
  block.visit(column, [&](auto cell) {
    for (std::size_t i = 0; i < block.count(); ++i) cell(i) = Variant{};
  });
}

}  // namespace casebook::expression
