#include "project/histogram.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace casebook::cli {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

std::vector<NumberCount> counted(std::vector<double> numbers) {
  std::erase_if(numbers, [](double number) { return std::isnan(number); });
  std::ranges::sort(numbers);
  std::vector<NumberCount> counts;
  for (double number : numbers)
    if (!counts.empty() && counts.back().number == number) ++counts.back().cases;
    else counts.push_back({number, 1});
  return counts;
}

RC_GTEST_PROP(Histogram, OfAnyNumbersCountsEachInItsInterval, ()) {
  auto const decimal = rc::gen::map(rc::gen::inRange(-3000, 3000), [](int n) { return n / 100.0; });
  auto const any = rc::gen::oneOf(rc::gen::arbitrary<double>(), decimal,
                                  rc::gen::element(infinity, -infinity, 1e300, -1e-300, 5e-324));
  auto const numbers = counted(
      *rc::gen::oneOf(rc::gen::container<std::vector<double>>(decimal), rc::gen::container<std::vector<double>>(any)));
  auto const intervals = histogram(numbers);
  RC_ASSERT(intervals.size() <= 16U);
  for (std::size_t i = 0; i < intervals.size(); ++i) {
    RC_ASSERT(intervals[i].from < intervals[i].to);
    RC_ASSERT((i == 0 || intervals[i].from == intervals[i - 1].to));  // unbracketed, the macro asks both
    std::size_t cases = 0;
    for (auto const& [number, count] : numbers)
      if (intervals[i].from <= number && number < intervals[i].to) cases += count;
    RC_ASSERT(intervals[i].cases == cases);
  }
  if (intervals.empty()) return;
  auto const isIn = [&](NumberCount const& n) { return std::isfinite(n.number); };
  auto const first = std::ranges::find_if(numbers, isIn);
  RC_ASSERT(intervals.front().from <= first->number && intervals.front().cases > 0);
  RC_ASSERT(intervals.back().cases > 0);
}

// Edges are the doubles that are read from a table: 0.29 * 100 is less than 29, and 0.3 / 0.1 less than 3.
TEST(Histogram, HasRoundEdges) {
  std::vector<double> hundredths;
  for (int i = 29; i <= 42; ++i) hundredths.push_back(i / 100.0);
  auto const intervals = histogram(counted(hundredths));
  ASSERT_EQ(intervals.size(), 14U);
  for (std::size_t i = 0; i < intervals.size(); ++i) {
    EXPECT_EQ(intervals[i].from, hundredths[i]);
    EXPECT_EQ(intervals[i].cases, 1U);
  }
  EXPECT_EQ(histogram(counted({172, 231})).front().from, 170);
  EXPECT_EQ(histogram(counted({172, 231})).front().to, 175);
  EXPECT_TRUE(histogram(counted({5, 5, infinity})).empty());
  EXPECT_TRUE(histogram(counted({-std::numeric_limits<double>::max(), 1e308})).empty());
}

}  // namespace
}  // namespace casebook::cli
