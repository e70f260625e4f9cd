// Statistics that follow edits, beside those of the table counted again after each transaction.

#include "support/random_edits.h"
#include "support/recount.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace casebook {
namespace {

using test::BlockStore;
using test::CurrentProject;
using test::someValue;
using Random = std::mt19937_64;

/// As the columns of the two types of numbers are told to be read.
std::pair<double, double> rangeOf(std::vector<Variant> const& cells, VariableDataType type) {
  double least = std::numeric_limits<double>::max();
  double most = -least;
  for (auto const& cell : cells) {
    bool const whole = type == Variant::UnsignedInteger;
    double const number = whole ? static_cast<double>(cell.longValue()) : cell.doubleValue();
    if (number < least) least = number;
    if (number > most) most = number;
  }
  bool const none = least == std::numeric_limits<double>::max() && most == -least;
  return none ? std::pair{std::nan(""), std::nan("")} : std::pair{least, most};
}

std::string exactly(std::pair<double, double> range) {
  auto const text = [](double number) { return std::isnan(number) ? "none" : casebook::exactly(Variant{number}); };
  return text(range.first) + ".." + text(range.second);
}

void expectCounted(Project& p, u64 variable) {
  auto cases = test::recount(p, variable);
  EXPECT_EQ(test::exactly(p.variableUniqueValues(variable)), test::exactly(test::uniqueIn(cases)));
  for (Variant const& absent : {Variant{}, Variant::nan(), Variant{1234.5}, Variant{"absent"}}) cases[absent];
  for (auto const& [value, held] : cases) {
    ASSERT_EQ(p.variableValueCount(variable, value), held.size()) << value.toString();
    ASSERT_EQ(p.variableCaseIDs(variable, value), held) << value.toString();
  }
  EXPECT_EQ(p.variableNumNullValues(variable), cases[Variant{}].size() + cases[Variant::nan()].size());
  auto const type = p.variableDataType(variable);
  if (type == Variant::String) return;
  EXPECT_EQ(exactly(p.variableRange(variable)), exactly(rangeOf(test::cellsOf(p, variable), type)));
}

/// A table of columns of all types, few values and many, and edits of it.
class Study {
 public:
  explicit Study(u64 seed) : random_{seed}, calm_{seed % 2 == 0} {
    test::transact(*project_, [&](Project& p) {
      for (auto const type : {Variant::FloatingPoint, Variant::UnsignedInteger, Variant::String})
        p.addVariable("a", {}, type, type == Variant::String ? Variant{""} : Variant{});
      p.addVariable("d", {}, Variant::FloatingPoint, 0.0);
      p.addCalcVariable("c", {}, "-d");
      p.addCalcVariable("e", {}, "coalesce(a, c)");
      for (u64 left = random_() % (seed % 4 == 1 ? 6 : 600); left > 0; --left) p.addRecord();
    });
  }

  void edit() {
    auto const choice = random_() % 8;
    if (choice == 0) return (this->*appending[random_() % std::size(appending)])();
    if (choice == 1) return (this->*moving[random_() % std::size(moving)])();
    if (choice == 2 && !calm_) return (this->*shaking[random_() % std::size(shaking)])();
    transact([&](Project& p) {
      auto const variable = random_() % 2 == 0 ? busy : anyOf(p.variables());
      for (auto left = choice < 4 ? 1 : random_() % 40; left > 0; --left) write(variable);
    });
  }

  void expectAllCounted() {
    expectCalculated();
    for (auto const variable : project_->variables()) expectCounted(*project_, variable.id());
    std::map<u64, u64> records;
    auto const ids = test::cellsOf(*project_, 1);
    auto const all = project_->records();
    for (std::size_t row = 0; row < ids.size(); ++row) records.emplace(ids[row].longValue(), all[row].id());
    for (auto const& [id, record] : records) ASSERT_EQ(project_->recordById(id).id(), record);
    for (u64 const id : gone_) ASSERT_EQ(bool{project_->recordById(id)}, records.contains(id)) << id;
  }

 private:
  static constexpr u64 busy = 5;  // "d"
  static constexpr u64 negative = 6;

  void expectCalculated() {
    auto const calculated = test::cellsOf(*project_, negative);
    auto const cells = test::cellsOf(*project_, busy);
    for (std::size_t row = 0; row < cells.size(); ++row) {
      if (cells[row].type() != Variant::FloatingPoint || cells[row] == Variant::nan()) continue;
      ASSERT_EQ(casebook::exactly(calculated[row]), casebook::exactly(Variant{-cells[row].doubleValue()}));
    }
  }

  /// What is answered within a transaction stands until it ends.
  template <class Edits>
  void transact(Edits const& edits) {
    auto const variable = anyOf(project_->variables());
    bool const asks = random_() % 4 == 0;
    auto const answer = [&] {
      return asks ? test::exactly(project_->variableUniqueValues(variable)) : std::vector<std::string>{};
    };
    test::transact(*project_, [&](Project& p) {
      auto const before = answer();
      edits(p);
      EXPECT_EQ(answer(), before);
    });
  }

  template <class Handle>
  u64 anyOf(std::vector<WeakPtr<Handle>> const& all) {
    return all.empty() ? 0 : all[random_() % all.size()].id();
  }

  Variant valueFor(u64 variable) {
    auto const type = project_->variableDataType(variable);
    if (type == Variant::UnsignedInteger && random_() % 20 == 0) return {0, Variant::UnsignedInteger};
    if (type == Variant::FloatingPoint && random_() % 2 == 0) return static_cast<double>(random_() % 1000) / 8;
    bool const missing = type != Variant::String && random_() % 4 == 0;
    return someValue(missing ? Variant::Null : type, static_cast<std::uint32_t>(random_() % 40));
  }

  void write(u64 variable) {
    if (!project_->empty()) write(variable, anyOf(project_->records()));
  }
  void write(u64 variable, u64 record) {
    if (project_->variableIsCaseID(variable)) return;
    project_->setValue({variable, NoLockRequired{}}, {record, NoLockRequired{}}, valueFor(variable));
  }
  void writeColumn() {
    transact([&](Project& p) {
      auto const variable = anyOf(p.variables());
      for (std::size_t left = p.records().size(); left > 0; --left) write(variable);
    });
  }
  /// Whatever the types.
  void writeRow() {
    transact([&](Project& p) {
      if (p.empty()) return;
      auto const record = anyOf(p.records());
      auto row = p.getRow(record);
      for (auto& cell : std::span{row}.subspan(1)) cell = random_() % 3 == 0 ? valueFor(anyOf(p.variables())) : cell;
      p.setRow(record, row);
    });
  }
  void append() {
    transact([&](Project& p) {
      for (auto left = 1 + random_() % 4; left > 0; --left) p.addRecord();
      if (!calm_ && random_() % 2 == 0) writeCaseId(p);
      write(anyOf(p.variables()));
    });
  }
  void appendMany() {
    transact([&](Project& p) {
      for (auto left = random_() % 200; left > 0; --left) p.addRecord();
    });
  }
  void addColumn() {
    if (project_->variables().size() > 9) return;
    transact([&](Project& p) { p.addVariable("x", {}, Variant::FloatingPoint, -0.0); });
  }
  void erase() {
    transact([&](Project& p) {
      auto const records = p.records();
      std::set<u64> chosen;
      for (auto left = 1 + random_() % 4; left > 0 && !p.empty(); --left) chosen.insert(anyOf(records));
      for (u64 const record : chosen) {
        gone_.push_back(p.getRow(record).front().longValue());
        p.eraseRecord(record);
        if (random_() % 2 == 0) write(anyOf(p.variables()), record);
      }
      if (random_() % 2 == 0) write(busy);
      auto const variable = anyOf(p.variables());
      if (variable > 6) p.eraseVariable(variable);
    });
  }
  /// Perhaps one that another record has.
  void writeCaseId(Project& p) {
    if (p.empty()) return;
    auto const id = static_cast<std::uint32_t>(random_() % (2 * p.records().size()));
    auto const record = random_() % 4 == 0 ? p.records().back().id() : anyOf(p.records());
    p.setValue({1, NoLockRequired{}}, {record, NoLockRequired{}}, {id, Variant::UnsignedInteger});
  }
  void writeCaseIds() {
    transact([&](Project& p) {
      for (auto left = 1 + random_() % 3; left > 0; --left) {
        writeCaseId(p);
        if (random_() % 2 == 0) write(busy);
      }
    });
  }
  /// Distinct again, ascending or not.
  void renumber() {
    transact([&](Project& p) {
      auto const records = p.records();
      bool const down = random_() % 2 == 0;
      for (std::uint32_t row = 0; row < records.size(); ++row)
        p.setValue({1, NoLockRequired{}}, {records[row].id(), NoLockRequired{}},
                   {down ? 5000 - row : row + 1, Variant::UnsignedInteger});
    });
  }
  /// The last transactions, in one.
  void undo() {
    auto const blocks = blocks_.blocks;
    transact([&](Project& p) {
      auto left = std::min<u64>(1 + random_() % 3, blocks.size() - 1);
      for (auto block = blocks.rbegin(); left > 0; --left, ++block)
        p.processJournalTransaction(Journal::Transaction{*block, 0}, Journal::Direction::Backwards);
    });
  }

  /// An addition, undone and made again behind later ones: records of default values come between others.
  void addBetween() {
    auto const place = blocks_.blocks.size();
    append();
    auto const block = blocks_.blocks[place];
    test::undo(*project_, block);
    append();
    test::replay(*project_, block);
  }

  static constexpr void (Study::* appending[])() = {&Study::append, &Study::writeRow, &Study::addColumn};
  static constexpr void (Study::* moving[])() = {&Study::erase, &Study::writeCaseIds, &Study::undo, &Study::addBetween};
  static constexpr void (Study::* shaking[])() = {&Study::writeColumn, &Study::appendMany, &Study::renumber};
  Random random_;
  bool calm_;              // little changes at a time
  std::vector<u64> gone_;  // case identifiers of records that were erased
  CurrentProject const project_;
  BlockStore blocks_{*project_};
  ScopedConnection writing_ = project_->connectProjectJournal([this](auto&) {
    if (random_() % 16 == 0) write(busy);
  });
  ScopedConnection asking_ = project_->connectProjectChange([this](TransactionRecord const& record) {
    if (!record.removed.records.empty() && random_() % 2 == 0) expectCounted(*project_, busy);
  });
};

TEST(KeptStatistics, AreThoseOfTheTableCountedAgainAfterEachTransaction) {
  for (u64 seed = 1; seed <= 12; ++seed) {
    Study study{seed};
    for (int transaction = 0; transaction < 100; ++transaction) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", transaction " + std::to_string(transaction));
      study.edit();
      study.expectAllCounted();
      if (testing::Test::HasFailure()) return;
    }
  }
}

// The ends of a column go and come back, by other edits and by undoing; also when many edits elsewhere lie between.
TEST(KeptStatistics, TellTheEndsOfFewCellsWhoseValuesComeBack) {
  for (u64 seed = 1; seed <= 6; ++seed) {
    Random random{seed};
    CurrentProject const project;
    u64 const variable = project->addVariable("a", {}, Variant::FloatingPoint, {}).id();
    auto const write = [&](Project& p, u64 row, u64 value) {
      p.setValue({variable, NoLockRequired{}}, {p.records()[row].id(), NoLockRequired{}}, static_cast<double>(value));
    };
    test::transact(*project, [&](Project& p) {
      for (u64 row = 0; row <= seed; ++row) {
        p.addRecord();
        write(p, row, row);
      }
    });
    BlockStore const blocks{*project};
    for (int edit = 0; edit < 300; ++edit) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", edit " + std::to_string(edit));
      auto const row = random() % (seed + 1);
      test::transact(*project, [&](Project& p) { write(p, row, random() % 8); });
      if (random() % 2 == 0) expectCounted(*project, variable);
      if (random() % 2 == 0) test::undo(*project, blocks.blocks.back());
      for (u64 left = random() % 32 == 0 ? 200 : 0; left > 0; --left)
        test::transact(*project, [&](Project& p) { write(p, 0, left % 2 * 100); });
      if (random() % 2 == 0) expectCounted(*project, variable);
      if (testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace casebook
