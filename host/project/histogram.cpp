#include "project/histogram.h"

#include <algorithm>
#include <cmath>

namespace casebook::cli {
namespace {

constexpr double mostIntervals = 16;

/// A width of intervals, `digit` times ten to the power of `exponent`; interval i begins at i times that.
struct Width {
  int digit = 1;
  int exponent = 0;

  [[nodiscard]] Width next() const {
    if (digit == 5) return {1, exponent + 1};
    return {digit == 1 ? 2 : 5, exponent};
  }

  /// A division by the power, which is exact, gives the double nearest to a decimal fraction: the one that is read from
  /// a table where the edge stands in it.
  [[nodiscard]] double edge(double index) const {
    return exponent < 0 ? index * digit / std::pow(10.0, -exponent) : index * digit * std::pow(10.0, exponent);
  }

  /// The interval that holds the number.
  [[nodiscard]] double indexOf(double number) const {
    double const index = std::floor(number / edge(1));
    if (edge(index) > number) return index - 1;
    return edge(index + 1) <= number ? index + 1 : index;
  }

  [[nodiscard]] double intervals(double least, double most) const { return indexOf(most) - indexOf(least) + 1; }
};

/// Whether there are doubles enough between the numbers for edges.
bool canBeCut(double least, double most) {
  double const span = most - least;
  double const farthest = std::max(std::abs(least), std::abs(most));
  return std::isfinite(span) && span > farthest * 1e-12 && span > 1e-200 && farthest < 1e300;
}

Width widthFor(double least, double most) {
  Width width{1, static_cast<int>(std::floor(std::log10((most - least) / mostIntervals)))};
  while (width.intervals(least, most) > mostIntervals) width = width.next();
  return width;
}

}  // namespace

std::vector<Interval> histogram(std::span<NumberCount const> numbers) {
  auto const isFinite = [](NumberCount const& number) { return std::isfinite(number.number); };
  auto const first = std::ranges::find_if(numbers, isFinite);
  auto const last = std::find_if_not(first, numbers.end(), isFinite);
  if (first == last || !canBeCut(first->number, last[-1].number)) return {};
  Width const width = widthFor(first->number, last[-1].number);
  double const begin = width.indexOf(first->number);
  std::vector<Interval> intervals;
  for (double i = begin; i <= width.indexOf(last[-1].number); ++i)
    intervals.push_back({width.edge(i), width.edge(i + 1), 0});
  for (auto number = first; number != last; ++number)
    intervals[static_cast<std::size_t>(width.indexOf(number->number) - begin)].cases += number->cases;
  return intervals;
}

}  // namespace casebook::cli
