#pragma once

#include "platform/expression/register.h"

#include <algorithm>
#include <string_view>

/// The loops over registers, for the table of operators and functions to choose from. `to` is never one of the
/// registers in `from`.
namespace casebook::expression {

constexpr std::size_t mostOperands = 3;

using Sources = std::array<Source, mostOperands>;

/// Works out the first `rows` rows of `to`.
using Kernel = void (*)(Sources const& from, Register& to, std::size_t rows) noexcept;

namespace lanes {

struct Vector {
  double const* values;
  double operator[](std::size_t i) const noexcept { return values[i]; }
};

struct Constant {
  double value;
  double operator[](std::size_t) const noexcept { return value; }
};

template <class Body>
void with(Source const& source, Body body) {
  if (source.constant) body(Constant{source.values[0]});
  else body(Vector{source.values});
}

inline std::size_t wordsFor(std::size_t rows) noexcept { return (rows + rowsPerWord - 1) / rowsPerWord; }

/// The bits of the rows in one word where `holds`. Rows behind the last hold whatever they held before.
template <class Lanes, class Test>
u64 bitsWhere(Lanes lanes, std::size_t word, Test holds) noexcept {
  u64 bits = 0;
  for (std::size_t i = 0; i < rowsPerWord; ++i) bits |= u64{holds(lanes[word * rowsPerWord + i])} << i;
  return bits;
}

template <class Lanes>
u64 bitsThatHold(Lanes lanes, std::size_t word) noexcept {
  return bitsWhere(lanes, word, [](double value) { return value != 0.0; });
}

inline double asNumber(bool holds) noexcept { return holds ? 1.0 : 0.0; }

inline bool bitAt(u64 const* words, std::size_t row) noexcept {
  return ((words[row / rowsPerWord] >> (row % rowsPerWord)) & 1) != 0;
}

inline void setBit(MissingWords& words, std::size_t row, bool set) noexcept {
  u64 const bit = u64{1} << (row % rowsPerWord);
  words[row / rowsPerWord] = set ? words[row / rowsPerWord] | bit : words[row / rowsPerWord] & ~bit;
}

}  // namespace lanes

template <auto f>
void unary(Sources const& from, Register& to, std::size_t rows) noexcept {
  double* const __restrict values = to.values.data();
  lanes::with(from[0], [&](auto a) {
    for (std::size_t i = 0; i < rows; ++i) values[i] = f(a[i]);
  });
  std::copy_n(from[0].missing, lanes::wordsFor(rows), to.missing.data());
}

template <auto f>
void binary(Sources const& from, Register& to, std::size_t rows) noexcept {
  double* const __restrict values = to.values.data();
  lanes::with(from[0], [&](auto a) {
    lanes::with(from[1], [&](auto b) {
      for (std::size_t i = 0; i < rows; ++i) values[i] = f(a[i], b[i]);
    });
  });
  for (std::size_t word = 0; word < lanes::wordsFor(rows); ++word)
    to.missing[word] = from[0].missing[word] | from[1].missing[word];
}

template <auto compare>
void compareNumbers(Sources const& from, Register& to, std::size_t rows) noexcept {
  binary<[](double a, double b) { return lanes::asNumber(compare(a, b)); }>(from, to, rows);
}

/// Two columns: numbers, and where neither cell holds one, texts.
template <auto compare>
void compareColumns(Sources const& from, Register& to, std::size_t rows) noexcept {
  compareNumbers<compare>(from, to, rows);
  for (std::size_t word = 0; word < lanes::wordsFor(rows); ++word)
    for (u64 open = from[0].missing[word] & from[1].missing[word]; open != 0; open &= open - 1) {
      std::size_t const i = word * rowsPerWord + static_cast<std::size_t>(std::countr_zero(open));
      if (i >= rows) break;
      Variant const& a = from[0].cells[i];
      Variant const& b = from[1].cells[i];
      if (a.type() != Variant::String || b.type() != Variant::String) continue;
      to.values[i] = lanes::asNumber(compare(a.stringValue(), b.stringValue()));
      lanes::setBit(to.missing, i, false);
    }
}

/// A column and a text: missing where the cell holds no text.
template <auto compare>
void compareText(Sources const& from, Register& to, std::size_t rows) noexcept {
  std::string_view const text = *from[1].text;
  for (std::size_t i = 0; i < rows; ++i) {
    Variant const& cell = from[0].cells[i];
    bool const isText = cell.type() == Variant::String;
    to.values[i] = isText ? lanes::asNumber(compare(std::string_view{cell.stringValue()}, text)) : 0.0;
    lanes::setBit(to.missing, i, !isText);
  }
}

/// `and` when `decides` is false, `or` when it is true: an operand that equals `decides` gives the result, whether the
/// other is missing or not (and whatever number stands behind the missing one).
template <bool decides>
void logic(Sources const& from, Register& to, std::size_t rows) noexcept {
  binary<[](double a, double b) {
    return lanes::asNumber(decides ? (a != 0.0) | (b != 0.0) : (a != 0.0) & (b != 0.0));
  }>(from, to, rows);
  for (std::size_t word = 0; word < lanes::wordsFor(rows); ++word) {
    if (to.missing[word] == 0) continue;
    u64 decided = 0;
    for (auto const* operand : {&from[0], &from[1]})
      lanes::with(*operand, [&](auto a) {
        u64 const holds = lanes::bitsThatHold(a, word);
        decided |= (decides ? holds : ~holds) & ~operand->missing[word];
      });
    to.missing[word] &= ~decided;
  }
}

/// from[0] ? from[1] : from[2]
inline void select(Sources const& from, Register& to, std::size_t rows) noexcept {
  double* const __restrict values = to.values.data();
  lanes::with(from[0], [&](auto condition) {
    lanes::with(from[1], [&](auto a) {
      lanes::with(from[2], [&](auto b) {
        for (std::size_t i = 0; i < rows; ++i) {
          double const x = a[i];
          double const y = b[i];
          values[i] = condition[i] != 0.0 ? x : y;
        }
      });
    });
    for (std::size_t word = 0; word < lanes::wordsFor(rows); ++word) {
      u64 missing = from[1].missing[word] | from[2].missing[word];
      if (missing != 0) {
        u64 const holds = lanes::bitsThatHold(condition, word);
        missing = (holds & from[1].missing[word]) | (~holds & from[2].missing[word]);
      }
      to.missing[word] = from[0].missing[word] | missing;
    }
  });
}

inline void isMissing(Sources const& from, Register& to, std::size_t rows) noexcept {
  for (std::size_t i = 0; i < rows; ++i) to.values[i] = lanes::asNumber(lanes::bitAt(from[0].missing, i));
  to.missing = noneMissing;
}

/// Of a column: a text is not missing.
inline void isMissingCell(Sources const& from, Register& to, std::size_t rows) noexcept {
  for (std::size_t i = 0; i < rows; ++i) {
    Variant const& cell = from[0].cells[i];
    double const value = numberIn(cell);
    to.values[i] = lanes::asNumber(cell.type() != Variant::String && value != value);
  }
  to.missing = noneMissing;
}

/// from[0], or from[1] where that is missing.
inline void firstPresent(Sources const& from, Register& to, std::size_t rows) noexcept {
  lanes::with(from[0], [&](auto a) {
    lanes::with(from[1], [&](auto b) {
      for (std::size_t i = 0; i < rows; ++i) to.values[i] = lanes::bitAt(from[0].missing, i) ? b[i] : a[i];
    });
  });
  for (std::size_t word = 0; word < lanes::wordsFor(rows); ++word)
    to.missing[word] = from[0].missing[word] & from[1].missing[word];
}

inline void allMissing(Sources const&, Register& to, std::size_t rows) noexcept {
  std::fill_n(to.values.data(), rows, 0.0);
  std::fill_n(to.missing.data(), lanes::wordsFor(rows), ~u64{0});
}

}  // namespace casebook::expression
