#include "support/current_project.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace casebook {
namespace {

using test::BlockStore;
using test::CurrentProject;

constexpr u64 first = 2;   // of the records
constexpr u64 second = 3;  //
constexpr u64 a = 4;       // the variables "a" and "b"
constexpr u64 b = 5;

class CalculationTest : public testing::Test {
 protected:
  CalculationTest() {
    transact([](Project& p) {
      p.addRecord(), p.addRecord();
      p.addVariable("a", {}, Variant::FloatingPoint, 3.0), p.addVariable("b", {}, Variant::FloatingPoint, {});
    });
  }

  void transact(std::function<void(Project&)> const& edits) { test::transact(*project_, edits); }
  u64 calculated(std::string const& name, std::string const& expression) {
    u64 uid = 0;
    transact([&](Project& p) { uid = p.addCalcVariable(name, {}, expression).id(); });
    return uid;
  }
  void set(u64 variable, u64 record, Variant const& value) {
    transact(
        [&](Project& p) { p.setValue(Variable{variable, NoLockRequired{}}, Record{record, NoLockRequired{}}, value); });
  }
  [[nodiscard]] Variant cell(u64 variable, u64 record = first) const {
    return project_->value(Variable{variable, NoLockRequired{}}, Record{record, NoLockRequired{}});
  }
  [[nodiscard]] bool isCalculated(u64 variable) const {
    return project_->variableType(variable) == VariableType::Calculated;
  }
  [[nodiscard]] std::size_t madeStatic() const {
    auto const commands = journal_.commands();
    return static_cast<std::size_t>(std::ranges::count(commands, Journal::VariableMadeStatic, &Journal::Command::code));
  }

  CurrentProject const project_;
  BlockStore const journal_{*project_};
};

TEST_F(CalculationTest, FollowsItsInputsAtTheEndOfEachTransaction) {
  auto const twice = calculated("twice", "a * 2");
  auto const both = calculated("both", "twice + b");
  EXPECT_EQ(cell(twice), Variant{6.0});
  EXPECT_EQ(cell(both), Variant{});
  transact([&](Project& p) {
    p.setValue(Variable{b, NoLockRequired{}}, Record{first, NoLockRequired{}}, 0.5);
    p.setValue(Variable{twice, NoLockRequired{}}, Record{first, NoLockRequired{}}, 99.0);
    EXPECT_EQ(cell(both), Variant{});
  });
  EXPECT_EQ(cell(twice), Variant{6.0});
  EXPECT_EQ(cell(both), Variant{6.5});
  EXPECT_EQ(cell(both, second), Variant{});
  transact([&](Project& p) { p.setVariableExpression(twice, "a * 20"); });
  EXPECT_EQ(cell(both), Variant{60.5});
}

TEST_F(CalculationTest, WhatIsNoExpressionBecomesStaticAndKeepsItsValues) {
  auto const ordinary = calculated("x", "a +");
  EXPECT_FALSE(isCalculated(ordinary));
  EXPECT_EQ(cell(ordinary), Variant{0.0});
  EXPECT_EQ(madeStatic(), 1u);
  for (auto const* text : {"", "nobody", "\"text\"", "a = 1"})
    EXPECT_FALSE(isCalculated(calculated("y", text))) << text;

  auto const x = calculated("x", "a * 10");
  auto const namesake = calculated("x", "b + a");
  auto const next = calculated("next", "a");
  auto const before = madeStatic();
  transact([](Project& p) { p.setVariableName(b, "gone"); });
  EXPECT_FALSE(isCalculated(x) || isCalculated(namesake));
  EXPECT_TRUE(isCalculated(next));
  EXPECT_EQ(cell(x), Variant{30.0});
  EXPECT_EQ(madeStatic(), before + 2);  // none for the "x" that was ordinary already
  set(a, first, 1.0);
  EXPECT_EQ(cell(x), Variant{30.0});
}

// The next end makes it static, and journals it.
TEST_F(CalculationTest, OfARestoredProjectDoesNotMakeVariablesStaticUnheard) {
  auto const good = calculated("good", "a + 1");
  project_->setVariableExpression(good, "a +");  // in no transaction: no end has met it
  auto const checkpoint = project_->checkpoint();
  auto const restored = test::restored({checkpoint.block}, checkpoint.nextUid);
  BlockStore const journal{*restored};
  EXPECT_EQ(restored->variableType(good), VariableType::Calculated);
  test::transact(*restored, [](Project&) {});
  EXPECT_EQ(restored->variableType(good), VariableType::Ordinary);
  EXPECT_EQ(journal.commands().at(0).code, Journal::VariableMadeStatic);
}

TEST_F(CalculationTest, VariablesBecomeStaticNameByName) {
  transact([](Project& p) {
    for (auto const* name : {"x", "y", "x"}) p.addCalcVariable(name, {}, "(");
  });
  std::vector<u64> order;
  for (auto const& command : journal_.commands())
    if (command.code == Journal::VariableMadeStatic)
      order.push_back(std::get<u64>(Journal::fields(command).front().value));
  EXPECT_EQ(order, (std::vector<u64>{b + 1, b + 3, b + 2}));
}

// So many cells are divided among threads; statistics hear of each that changed.
TEST_F(CalculationTest, WorksOutManyRowsAtOnce) {
  constexpr int columns = 12;
  constexpr u64 rows = 17'000;
  std::vector<u64> calculatedOnes;
  transact([&](Project& p) {
    for (int k = 0; k < columns; ++k) {
      auto const input = k == 0 ? std::string{"1"} : "c" + std::to_string(k - 1);
      calculatedOnes.push_back(p.addCalcVariable("c" + std::to_string(k), {}, input + " + a").id());
    }
    for (u64 left = rows - 2; left > 0; --left) p.addRecord();
  });
  auto const records = project_->records();
  for (double const factor : {1.0, 0.5, 0.5}) {
    transact([&](Project& p) {
      for (u64 row = 0; row < rows; ++row)
        p.setValue(Variable{a, NoLockRequired{}}, Record{records[row].id(), NoLockRequired{}},
                   factor * static_cast<double>(row));
    });
    double slope = 0;
    for (u64 const calculatedOne : calculatedOnes) {
      slope += factor;
      u64 wrong = 0;
      for (u64 row = 0; row < rows; ++row)
        wrong += cell(calculatedOne, records[row].id()) != Variant{1 + slope * static_cast<double>(row)};
      EXPECT_EQ(wrong, 0u) << slope;
      EXPECT_EQ(project_->variableUniqueValues(calculatedOne).size(), rows);
      EXPECT_EQ(project_->variableRange(calculatedOne).second, 1 + slope * (rows - 1));
    }
  }
}

}  // namespace
}  // namespace casebook
