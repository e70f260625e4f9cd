#include "platform/expression/equation_plan.h"

#include "expression_testing.h"
#include "platform/expression/dependency_order.h"
#include "support/allocations.h"
#include "support/current_project.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <thread>

namespace casebook {
namespace {

using expression::EquationPlan;
using test::written;

using Table = std::vector<std::vector<Variant>>;

std::vector<Variant*> columnsOf(Table& table) {
  std::vector<Variant*> columns;
  for (auto& cells : table) columns.push_back(cells.data());
  return columns;
}

EquationPlan planFor(std::vector<std::pair<std::size_t, std::string>> const& equations,
                     std::vector<std::string> const& names) {
  std::vector<expression::TargetedExpression> targeted;
  for (auto const& [target, text] : equations) targeted.push_back({Expression{text, names}, target});
  return EquationPlan{std::move(targeted)};
}

/// Columns c0, c1, ... of which the last are calculated, each as the sum of others, missing ones as 0.5.
class RandomEquations {
 public:
  explicit RandomEquations(std::size_t rows)
      : ordinary_{*rc::gen::inRange<std::size_t>(1, 4)}, reads_(ordinary_ + *rc::gen::inRange<std::size_t>(1, 9)) {
    for (std::size_t column = 0; column < reads_.size(); ++column) {
      names_.push_back("c" + std::to_string(column));
      auto& cells = table_.emplace_back();
      for (std::size_t row = 0; row < rows; ++row)
        cells.push_back((row + column) % 7 == 0 ? Variant{} : Variant{static_cast<double>(row + column)});
      auto const source = rc::gen::inRange<std::size_t>(0, reads_.size());
      if (column >= ordinary_)
        reads_[column] = *rc::gen::resize(20, rc::gen::container<std::vector<std::size_t>>(source));
      if (reads_[column].size() > 3) reads_[column].resize(3);
    }
  }

  [[nodiscard]] Table const& table() const { return table_; }

  [[nodiscard]] EquationPlan plan() const {
    std::vector<std::pair<std::size_t, std::string>> equations;
    for (std::size_t column = ordinary_; column < names_.size(); ++column) equations.emplace_back(column, text(column));
    std::ranges::reverse(equations);
    return planFor(equations, names_);
  }

  /// Worked out one cell after the other.
  [[nodiscard]] std::optional<double> expected(std::size_t column, std::size_t row) const {
    if (column < ordinary_) return numberIn(table_[column][row]);
    if (reaches(column, column)) return std::nullopt;
    double sum = table_[0][row].isNull() ? 2.0 : 1.0;
    for (auto const read : reads_[column]) sum += expected(read, row).value_or(0.5);
    return sum;
  }

 private:
  static std::optional<double> numberIn(Variant const& cell) {
    return cell.isNull() ? std::nullopt : std::optional{cell.doubleValue()};
  }

  [[nodiscard]] std::string text(std::size_t column) const {
    std::string sum = "1 + isnull(c0)";
    for (auto const read : reads_[column]) sum += " + coalesce(" + names_[read] + ", 0.5)";
    return sum;
  }

  [[nodiscard]] bool reaches(std::size_t from, std::size_t to) const {
    std::vector<bool> seen(reads_.size());
    std::vector<std::size_t> open{from};
    while (!open.empty()) {
      auto const column = open.back();
      open.pop_back();
      for (auto const read : reads_[column]) {
        if (read == to) return true;
        if (!seen[read]) open.push_back(read);
        seen[read] = true;
      }
    }
    return false;
  }

  std::size_t ordinary_;
  std::vector<std::vector<std::size_t>> reads_;
  std::vector<std::string> names_;
  Table table_;
};

RC_GTEST_PROP(EquationPlan, GivesWhatOneCellAfterTheOtherGives, ()) {
  constexpr std::size_t rows = 2500;
  RandomEquations const equations{rows};
  auto const plan = equations.plan();

  // Two threads share the rows; of a third table a list of rows is worked out.
  auto shared = equations.table();
  auto const columns = columnsOf(shared);
  auto const split = *rc::gen::inRange<std::size_t>(0, rows);
  auto const work = [&](std::size_t first, std::size_t last) {
    EquationPlan::Scratch scratch{plan};
    plan.evaluate(columns, first, last, scratch);
  };
  std::thread other{work, 0, split};
  work(split, rows);
  other.join();

  auto listed = equations.table();
  std::vector<std::size_t> list;
  for (std::size_t row = split % 3; row < rows; row += 1 + split % 5) list.push_back(row);
  EquationPlan::Scratch scratch{plan};
  auto const listedColumns = columnsOf(listed);
  RC_ASSERT_FALSE(test::runsOut(0, [&] { plan.evaluate(listedColumns, list, scratch); }));

  for (std::size_t column = 0; column < shared.size(); ++column)
    for (std::size_t row = 0; row < rows; ++row) {
      auto const value = equations.expected(column, row);
      Variant const expected = value ? Variant{*value} : Variant{};
      RC_ASSERT(shared[column][row] == expected);
      bool const isListed = std::ranges::binary_search(list, row);
      RC_ASSERT(listed[column][row] == (isListed ? expected : equations.table()[column][row]));
    }
}

// Each reads the next; then the last reads the first, and all are on a circle.
TEST(EquationPlan, OrdersALongChainOnLittleStack) {
  constexpr std::size_t length = 20000;
  std::vector<std::vector<std::size_t>> needs(length);
  for (std::size_t i = 0; i + 1 < length; ++i) needs[i] = {i + 1};
  test::runOnSmallStack([&] {
    auto const chain = expression::orderByNeed(needs);
    EXPECT_TRUE(std::ranges::is_sorted(chain.order, std::greater{}));
    EXPECT_EQ(std::ranges::count(chain.onCircle, true), 0);
    needs.back() = {0};
    EXPECT_EQ(std::ranges::count(expression::orderByNeed(needs).onCircle, true), length);
  });
}

TEST(ExpressionExecutor, FindsEachEquationItsColumn) {
  Table table{{5.0}, {0.0}, {0.0}, {0.0}, {7.0}};
  std::vector<ExpressionExecutor::VariableArray> const bindings{
      {"x", &table[0]}, {"y", &table[1]}, {"y", &table[2]}, {"z", &table[3]}, {"x", &table[4]}};
  // The second y is no circle: the first is what it reads. NaN of z is missing where it is read.
  ExpressionExecutor{}.execute({{"z", "0/0"}, {"y", "x + 1"}, {"y", "y * coalesce(z, 10)"}}, bindings);
  std::vector<std::string> results;
  for (auto const& cells : table) results.push_back(written(cells.front()));
  EXPECT_EQ(results, (std::vector<std::string>{"5", "6", "60", "nan", "7"}));
}

TEST(ExpressionExecutor, RefusesBeforeAnythingIsWritten) {
  Table table{{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0, 7.0}};
  auto const untouched = table;
  std::vector<ExpressionExecutor::VariableArray> bindings{{"a", &table[0]}, {"b", &table[1]}};
  auto const refusal = [&](std::vector<ExpressionExecutor::Equation> const& equations) {
    return test::refusalOf([&] { ExpressionExecutor{}.execute(equations, bindings); });
  };
  EXPECT_EQ(refusal({{"a", "1"}, {"c", "1"}}), "No column is bound for the results of \"c\". (true)");
  EXPECT_EQ(refusal({{"a", "1"}, {"a", "2"}}), "No column is bound for the results of \"a\". (true)");
  EXPECT_EQ(refusal({{"a", "1"}, {"b", "c"}}), "There is no column \"c\". (true)");
  bindings.push_back({"c", &table[2]});
  EXPECT_EQ(refusal({{"a", "1"}}), "The columns differ in length. (true)");
  EXPECT_EQ(table, untouched);
}

}  // namespace
}  // namespace casebook
