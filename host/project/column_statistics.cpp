#include "project/column_statistics.h"

#include "project/words.h"

#include <algorithm>
#include <numeric>

namespace casebook::cli {
namespace {

std::size_t casesOf(std::vector<NumberCount> const& numbers) {
  return std::accumulate(numbers.begin(), numbers.end(), std::size_t{0},
                         [](std::size_t sum, NumberCount const& number) { return sum + number.cases; });
}

double mean(std::vector<NumberCount> const& numbers, std::size_t cases) {
  long double sum = 0;  // of finite numbers it never overflows
  for (auto const& [number, count] : numbers) sum += static_cast<long double>(number) * static_cast<long double>(count);
  return static_cast<double>(sum / static_cast<long double>(cases));
}

/// The number that has `place` others before it.
double numberAt(std::vector<NumberCount> const& numbers, std::size_t place) {
  auto number = numbers.begin();
  while (place >= number->cases) place -= number++->cases;
  return number->number;
}

std::optional<NumberSummary> summary(std::vector<NumberCount> const& numbers) {
  if (numbers.empty()) return {};
  std::size_t const cases = casesOf(numbers);
  double const below = numberAt(numbers, (cases - 1) / 2);
  double const above = numberAt(numbers, cases / 2);
  return NumberSummary{numbers.front().number, numbers.back().number, mean(numbers, cases),
                       below == above ? below : std::midpoint(below, above)};
}

}  // namespace

// The range is that of the distinct values: variableRange takes a null among whole numbers for 0.
ColumnStatistics ColumnStatistics::of(Project& project, u64 variable) {
  auto const count = [&](Variant const& value) {
    return static_cast<std::size_t>(project.variableValueCount(variable, value));
  };
  ColumnStatistics statistics;
  for (Variant const& value : project.variableUniqueValues(variable)) {
    if (isMissing(value)) continue;
    statistics.counts.push_back({value, count(value)});
    statistics.cases += statistics.counts.back().cases;
  }
  statistics.missing = static_cast<std::size_t>(project.variableNumNullValues(variable)) + count(Variant{""});
  statistics.numbers = summary(statistics.numberCounts());
  return statistics;
}

// A column whose type was changed may hold numbers of both types, and texts.
std::vector<NumberCount> ColumnStatistics::numberCounts() const {
  std::vector<NumberCount> sorted;
  for (auto const& count : counts)
    if (count.value.type() != Variant::String) sorted.push_back({count.value.doubleValue(), count.cases});
  std::ranges::sort(sorted, {}, &NumberCount::number);
  return sorted;
}

}  // namespace casebook::cli
