#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace casebook::cli {

/// A number, and how many cases hold it.
struct NumberCount {
  double number = 0;
  std::size_t cases = 0;
};

/// How many cases hold a number from `from` on and below `to`.
struct Interval {
  double from = 0;
  double to = 0;
  std::size_t cases = 0;
};

/// Counts the finite ones of ascending numbers in intervals of one width, at most 16, which is 1, 2 or 5 times a power
/// of ten and of which all edges are multiples. Empty when they are one number alone, or too near each other or too far
/// apart for such edges.
[[nodiscard]] std::vector<Interval> histogram(std::span<NumberCount const> numbers);

}  // namespace casebook::cli
