#include "support/allocations.h"
#include "support/recount.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include <cmath>
#include <limits>
#include <set>

namespace casebook {
namespace {

using test::CurrentProject;
using test::refusalOf;
using test::transact;

using test::recount;
using test::uniqueIn;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

/// A project with a variable of these cells.
struct Table {
  CurrentProject project;
  u64 variable;

  Table(VariableDataType type, std::vector<Variant> const& cells) {
    transact(*project, [&](Project& p) {
      variable = p.addVariable("v", {}, type, {}).id();
      for (auto const& cell : cells) p.setRow(p.addRecord().id(), {nextId(), cell});
    });
  }

  /// A case identifier: 1, 2, ...
  Variant nextId() { return Variant{++ids_, Variant::UnsignedInteger}; }

  /// Writes the cells of a row, whatever their types.
  void set(u64 row, Variant const& id, Variant const& cell) {
    project->setRow(project->records()[row].id(), {id, cell});
  }

 private:
  std::uint32_t ids_ = 0;
};

bool isSame(double a, double b) {
  return (a == b && std::signbit(a) == std::signbit(b)) || (std::isnan(a) && std::isnan(b));
}

TEST(Statistics, OfTheLastEndStandAlsoWhenASlotThrewAtIt) {
  Table table{VariableDataType{2}, {5.0}};
  auto& p = *table.project;
  ScopedConnection const throwing = p.connectProjectChange([](auto const&) { throw std::runtime_error{"a slot's"}; });
  auto const set = [&](double value) { table.set(0, Variant{1u, Variant::UnsignedInteger}, value); };
  EXPECT_THROW(transact(p, [&](Project&) { set(7.0); }), std::runtime_error);
  auto open = p.startTransaction();
  set(9.0);
  EXPECT_EQ(p.variableValueCount(table.variable, 7.0), 1u);
  EXPECT_EQ(p.variableValueCount(table.variable, 9.0), 0u);
  EXPECT_EQ(p.variableRange(table.variable), (std::pair{9.0, 9.0})) << "of the table as it stands";
  EXPECT_THROW(open.commit(), std::runtime_error);
}

TEST(Statistics, TheRangeIsThatOfTheNumbers) {
  auto const whole = [](u64 word) { return Variant::ofWord(word, Variant::UnsignedInteger); };
  constexpr double most = std::numeric_limits<double>::max();
  struct Case {
    char const* name;
    VariableDataType type;
    std::vector<Variant> cells;
    std::pair<double, double> range;
  };
  for (auto const& [name, type, cells, range] : std::vector<Case>{
           {"empty", Variant::FloatingPoint, {}, {nan, nan}},
           {"texts and missing ones do not count", Variant::FloatingPoint, {{}, "9", whole(7), Variant::nan()}, {7, 7}},
           {"nothing but missing ones", Variant::FloatingPoint, {{}, Variant::nan()}, {nan, nan}},
           {"of zeros the first", Variant::FloatingPoint, {-0.0, whole(0), 0.0, 5.0}, {-0.0, 5}},
           {"of zeros the first, a whole one", Variant::FloatingPoint, {-1.0, whole(0), -0.0}, {-1, 0.0}},
           {"infinities", Variant::FloatingPoint, {inf, -inf}, {-inf, inf}},
           {"only infinity", Variant::FloatingPoint, {inf}, {most, inf}},
           {"nulls are 0 among whole numbers", Variant::UnsignedInteger, {whole(5), {}, whole(9)}, {0, 9}},
           {"whole numbers have no sign", Variant::UnsignedInteger, {whole(~u64{0}), whole(3)}, {3, 0x1p64}},
           {"cells are cut to whole numbers", Variant::UnsignedInteger, {2.9, -4.0, "text"}, {0, 2}},
       }) {
    Table const table{type, cells};
    auto const found = table.project->variableRange(table.variable);
    EXPECT_TRUE(isSame(found.first, range.first) && isSame(found.second, range.second))
        << name << ": " << found.first << ' ' << found.second;
  }
  for (auto const type : {Variant::Null, Variant::String})
    EXPECT_EQ(refusalOf([&] {
                Table const table{type, {}};
                return table.project->variableRange(table.variable);
              }),
              "variableRange called on a non-numeric variable (true)");
}

TEST(Statistics, OfAVariableThatIsGoneAreRefused) {
  Table const table{Variant::FloatingPoint, {1.0, 2.0}};
  transact(*table.project, [&](Project& p) { p.eraseVariable(table.variable); });
  transact(*table.project, [](Project& p) { p.setDescription("with which the others are worked out"); });
  EXPECT_EQ(refusalOf([&] { return table.project->variableUniqueValues(table.variable); }), test::unknownEntity);
}

TEST(Statistics, AreWorkedOutWhenAProjectWasRestored) {
  Table const table{Variant::FloatingPoint, {1.0, 2.0}};
  auto const checkpoint = table.project->checkpoint();
  CurrentProject const copy{test::restored({checkpoint.block}, checkpoint.nextUid)};
  transact(*copy, [&](Project& p) {
    p.setRow(p.records().front().id(), {Variant{1, Variant::UnsignedInteger}, 7.0});
    EXPECT_EQ(p.variableUniqueValues(table.variable), (std::vector<Variant>{1.0, 2.0}));
  });
}

TEST(Statistics, ThatRanOutOfMemoryAreNeitherWrongNorInTheWayOfASignal) {
  if (!test::runsOut(0, [] { ::operator delete(::operator new(1)); }))
    GTEST_SKIP() << "the sanitizer's allocations cannot be made to fail";
  Table table{Variant::FloatingPoint, {1.0, 2.0}};
  int heard = 0;
  int heardThoughItRanOut = 0;
  auto const expectRight = [&] {
    for (u64 const variable : {u64{1}, table.variable}) {
      auto const cases = recount(*table.project, variable);
      EXPECT_EQ(table.project->variableUniqueValues(variable), uniqueIn(cases));
      EXPECT_EQ(table.project->variableCaseIDs(variable, 2.0), cases.contains(2.0) ? cases.at(2.0) : std::set<u64>{});
    }
  };
  ScopedConnection const connection = table.project->connectProjectChange([&](auto const&) {
    test::allocationsLeft = -1;
    ++heard;
    expectRight();
  });
  bool ranOut = true;
  for (long count = 0; ranOut; ++count) {
    auto transaction = table.project->startTransaction();
    table.set(0, Variant{1, Variant::UnsignedInteger}, static_cast<double>(count));
    heard = 0;
    ranOut = test::runsOut(count, [&] { transaction.commit(); });
    heardThoughItRanOut += ranOut && heard == 1;
    expectRight();
  }
  EXPECT_GT(heardThoughItRanOut, 5);
}

}  // namespace
}  // namespace casebook
