#include "support/allocations.h"
#include "support/state.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace casebook {
namespace {

using test::CurrentProject;
using test::refusalOf;
using test::stateOf;
using test::unknownEntity;

using Row = std::vector<Variant>;

Variant integer(u64 number) { return Variant::ofWord(number, Variant::UnsignedInteger); }

/// A project with the transaction in which the tests edit it.
class Table : public testing::Test {
 protected:
  CurrentProject const project_;
  Transaction const transaction_ = project_->startTransaction();

  u64 addVariable(Variant::Type type, Variant const& defaultValue = {}) const {
    return project_->addVariable("x", {}, type, defaultValue).id();
  }
  u64 addRecord() const { return project_->addRecord().id(); }
  void setValue(u64 variable, u64 record, Variant const& value) const {
    project_->setValue(WeakPtr<Variable>{variable}.lock(), WeakPtr<Record>{record}.lock(), value);
  }
};

TEST_F(Table, GivesEveryRecordACellInEveryVariable) {
  addRecord();
  EXPECT_EQ(addVariable(Variant::String, "old"), 3u);
  EXPECT_EQ(project_->addCalcVariable("c", VariableNature{7}, "x+1").id(), 4u);
  project_->setVariableDefaultValue(3, "new");
  EXPECT_EQ(addRecord(), 5u);
  EXPECT_EQ(refusalOf([&] { project_->activate(99, true); }), unknownEntity) << "after the status was made";
  project_->activate(2, false);
  addRecord();
  EXPECT_EQ(stateOf(*project_),
            "texts ||\nvariable 1 Case ID|||0:0|1|3|0|case id\nvariable 3 x|||3:new|3|0|0\n"
            "variable 4 c||x+1|2:0|2|1|7\nvariable 6 Case Status|||3:Active|3|2|0\n"
            "record 2 inactive 1:1 3:old 2:0 3:Inactive\nrecord 5 active 1:2 3:new 2:0 3:Active\n"
            "record 7 active 1:3 3:new 2:0 3:Active\n");
  setValue(6, 7, "active");
  EXPECT_FALSE(project_->recordIsActive(7));
  project_->setRow(2, {"not a number", 2.5, {}, "Active", "beyond"});
  EXPECT_EQ(project_->getRow(2), (Row{"not a number", 2.5, {}, "Active"}));
  EXPECT_TRUE(project_->recordIsActive(2));
}

TEST_F(Table, TakesValuesOfTheVariablesTypeAndNullsAmongNumbers) {
  Variant const values[] = {{}, integer(7), 7.5, "7"};
  bool const accepted[4][4] = {
      {true, false, false, false}, {true, true, false, false}, {true, false, true, false}, {false, false, false, true}};
  u64 const record = addRecord();
  for (std::uint32_t type = 0; type < 4; ++type) {
    u64 const variable = addVariable(Variant::Type{type});
    for (auto const& value : values) {
      project_->setRow(record, Row(type + 2, "before"));
      auto const refusal = refusalOf([&] { setValue(variable, record, value); });
      bool const taken = accepted[type][value.type()];
      EXPECT_EQ(refusal, taken ? "" : "Attempted to set an invalid value type on a variable (true)");
      EXPECT_EQ(project_->getRow(record).back(), taken ? value : "before");
    }
  }
}

TEST_F(Table, NumbersARecordAfterTheLastOne) {
  std::pair<Variant, u64> const rows[] = {
      {integer(10), 11},          {{}, 1}, {7.9, 8}, {-3.0, 1}, {"41", 1}, {integer(0xFFFFFFFF), 0},
      {integer(0x1'0000'0005), 6}};
  setValue(1, addRecord(), integer(50));
  for (auto const& [last, next] : rows) {
    project_->setRow(addRecord(), {last});
    EXPECT_EQ(project_->getRow(addRecord()), Row{integer(next)}) << exactly(last);
  }
}

TEST_F(Table, FindsRecordsByIdentifierAsOfTheLastEnd) {
  EXPECT_FALSE(project_->recordById(1));
  u64 const first = addRecord();
  u64 const second = addRecord();
  EXPECT_EQ(project_->recordById(2).id(), second);
  EXPECT_FALSE(project_->recordById(2 + 11)) << "another identifier in the same bucket";
  setValue(1, second, integer(13));
  setValue(1, first, integer(13));
  EXPECT_EQ(project_->recordById(2).id(), second) << "the index stands until the outermost transaction ends";
  project_->endTransaction(0);
  EXPECT_EQ(project_->recordById(13).id(), first);
  EXPECT_FALSE(project_->recordById(2));
  project_->startTransaction(0);
  project_->setDescription("which identifiers do not depend on");
  project_->endTransaction(0);
  project_->startTransaction(0);
  setValue(1, addRecord(), integer(15));
  EXPECT_TRUE(project_->recordById(15)) << "nobody has asked since the end";
}

TEST_F(Table, FindsRecordsByIdentifierAsOfTheFirstQuestionInASlot) {
  u64 const gone = addRecord();
  u64 const kept = addRecord();
  project_->endTransaction(0);
  project_->startTransaction(0);
  std::string answers;
  ScopedConnection const asking = project_->connectProjectChange([&](TransactionRecord const&) {
    for (u64 const id : {1U, 2U, 7U}) answers += project_->recordById(id) ? '+' : '-';
  });
  ScopedConnection const editing = project_->connectProjectJournal([&, once = true](auto&) mutable {
    if (std::exchange(once, false)) setValue(1, kept, integer(7));
  });
  project_->eraseRecord(gone);
  project_->setDescription("reported after the removal");
  project_->endTransaction(0);
  EXPECT_EQ(answers, "-+--+---+");
  project_->startTransaction(0);
}

TEST_F(Table, PropertiesAreAssignedAndNothingElse) {
  Variable handle = project_->addVariable("x", {}, Variant::FloatingPoint, 1.5).lock();
  u64 const twin = addVariable(Variant::FloatingPoint);
  Transaction transaction{transaction_};
  EXPECT_EQ(project_->variable("x").id(), 2u) << "of several the lowest";
  handle.setDataType(Variant::String, transaction);
  handle.setType(VariableType::Calculated, transaction);
  handle.setNature(VariableNature{12345}, transaction);
  handle.setDescription("d", transaction);
  handle.setExpression("e", transaction);
  handle.setDefaultValue("f", transaction);
  handle.setName("X", transaction);
  EXPECT_EQ(project_->variable("x").id(), twin);
  EXPECT_EQ(handle.name() + handle.description() + handle.expression() + handle.defaultValue().toString(), "Xdef");
  EXPECT_TRUE(handle.isStringType() && handle.type() == VariableType::Calculated);
  EXPECT_EQ(handle.nature(), VariableNature{12345});
}

TEST_F(Table, RefusesBeforeAnythingChanges) {
  auto& p = *project_;
  Variable const column = p.getCaseIDColumn().lock();
  Record const row = WeakPtr<Record>{addRecord()}.lock();
  u64 const rule = p.addVariableRegex("*", column).id();
  p.activate(2, true);
  auto const noColumn = [](u64 n) { return Variable{n, NoLockRequired{}}; };
  auto const noRow = [](u64 n) { return Record{n, NoLockRequired{}}; };
  std::function<void(u64)> const calls[] = {
      [&](u64 n) { p.setValue(noColumn(n), row, {}); },
      [&](u64 n) { p.setValue(column, noRow(n), {}); },
      [&](u64 n) { return p.getRow(n); },
      [&](u64 n) { p.setRow(n, Row(9)); },
      [&](u64 n) { p.addAuxFile(n, "f", ""); },
      [&](u64 n) { return p.variableName(n); },
      [&](u64 n) { return p.variableUniqueValues(n); },
      [&](u64 n) { return p.variableCaseIDs(n, {}); },
      [&](u64 n) { return p.variableRange(n); },
      [&](u64 n) { p.setPathRegexExpression(n, "*"); },
      [&](u64 n) { p.setVariableRegexTarget(rule, n); },
  };
  auto const before = stateOf(p);
  for (std::size_t i = 0; i < std::size(calls); ++i)
    for (u64 const uid : {u64{0}, ~u64{0}}) EXPECT_EQ(refusalOf([&] { calls[i](uid); }), unknownEntity) << i;
  EXPECT_EQ(refusalOf([&] { p.setRow(2, {integer(9)}); }),
            "The row holds fewer values than there are variables. (true)");
  for (u64 const variable : {1u, 4u})
    EXPECT_EQ(refusalOf([&] { p.setVariableType(variable, VariableType{variable == 1 ? 2u : 0u}); }),
              "Only activating records makes a Case Status variable. (true)");
  EXPECT_EQ(stateOf(p), before);
}

TEST_F(Table, HasOneCaseStatusOnly) {
  auto const other = createProject();
  test::BlockStore const journal{*other};
  test::transact(*other, [](Project& p) { p.addTagGroup("g"), p.addTagGroup("h"); });
  test::transact(*other, [](Project& p) { refusalOf([&] { p.activate(99, true); }); });
  refusalOf([&] { project_->activate(99, true); });
  auto const before = stateOf(*project_);
  EXPECT_EQ(refusalOf([&] { test::replay(*project_, journal.blocks.at(1)); }),
            "Attempted to add a second Case Status variable. (true)");
  EXPECT_EQ(stateOf(*project_), before);
}

TEST(TableWrites, AllocateNothingOnceThereIsRoomForThem) {
  CurrentProject const project;
  ScopedConnection const journal = project->connectProjectJournal([](auto&) {});
  Variable const number{project->addVariable("a", {}, Variant::FloatingPoint, {}).id(), NoLockRequired{}};
  Variable const text{project->addVariable("b", {}, Variant::String, "").id(), NoLockRequired{}};
  Record const record{project->addRecord().id(), NoLockRequired{}};
  Variant const texts[] = {"one text that is held apart", "another text that is held apart"};
  bool ranOut = true;
  for (int round = 0; round < 3; ++round)
    test::transact(*project, [&](Project& p) {
      ranOut = test::runsOut(0, [&] {
        for (int k = 0; k < 200; ++k) {
          p.setValue(number, record, k + 0.5);
          p.setValue(text, record, texts[k % 2]);
        }
      });
      if (ranOut)
        for (int k = 0; k < 400; ++k) p.setValue(number, record, k + 0.5);
    });
  EXPECT_FALSE(ranOut);
}

}  // namespace
}  // namespace casebook
