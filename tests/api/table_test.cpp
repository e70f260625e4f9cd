#include "support/state.h"

#include <gtest/gtest.h>

#include <functional>

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
  for (u64 uid = 2; uid <= 4; ++uid) EXPECT_EQ(addRecord(), uid);
  EXPECT_EQ(addVariable(Variant::String, "old"), 5u);
  EXPECT_EQ(project_->addCalcVariable("c", VariableNature{7}, "x+1").id(), 6u);
  project_->setVariableDefaultValue(5, "new");
  EXPECT_EQ(addRecord(), 7u);
  EXPECT_EQ(stateOf(*project_),
            "texts ||\nvariable 1 Case ID|||0:0|1|3|0|case id\nvariable 5 x|||3:new|3|0|0\n"
            "variable 6 c||x+1|2:0|2|1|7\nrecord 2 active 1:1 3:old 2:0\nrecord 3 active 1:2 3:old 2:0\n"
            "record 4 active 1:3 3:old 2:0\nrecord 7 active 1:4 3:new 2:0\n");
  EXPECT_EQ(project_->value(WeakPtr<Variable>{5}.lock(), WeakPtr<Record>{7}.lock()), Variant{"new"});
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
  Variant const last[] = {integer(10),           {}, 7.9, -3.0, "41", Variant::nan(), integer(0xFFFFFFFF),
                          integer(0x1'0000'0005)};
  u64 const next[] = {11, 1, 8, 1, 1, 1, 0, 6};
  setValue(1, addRecord(), integer(50));
  for (std::size_t i = 0; i < std::size(last); ++i) {
    project_->setRow(addRecord(), {last[i]});
    EXPECT_EQ(project_->getRow(addRecord()), Row{integer(next[i])}) << exactly(last[i]);
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
  Transaction{transaction_}.commit();
  EXPECT_EQ(project_->recordById(2).id(), second) << "the index stands until the outermost transaction ends";
  project_->endTransaction(0);
  EXPECT_EQ(project_->recordById(13).id(), first);
  EXPECT_FALSE(project_->recordById(2));
  project_->startTransaction(0);
}

TEST_F(Table, WritesRowsWithoutAskingForTypes) {
  u64 const record = addRecord();
  EXPECT_EQ(addVariable(Variant::String, "x"), 3u);
  auto const before = stateOf(*project_);
  EXPECT_EQ(refusalOf([&] { project_->setRow(record, {integer(9)}); }),
            "The row holds fewer values than there are variables. (true)");
  EXPECT_EQ(stateOf(*project_), before);
  project_->setRow(record, {"not a number", 2.5, "beyond"});
  EXPECT_EQ(project_->getRow(record), (Row{"not a number", 2.5}));
}

TEST_F(Table, ActivatesByACaseStatusMadeOnDemand) {
  u64 const records[] = {addRecord(), addRecord()};
  EXPECT_TRUE(project_->recordIsActive(records[0]));
  EXPECT_EQ(refusalOf([&] { project_->activate(99, true); }), unknownEntity);
  u64 const status = project_->variable("Case Status").id();
  ASSERT_EQ(status, 4u) << "made before the record is looked up";
  project_->activate(records[0], false);
  u64 const late = addRecord();
  EXPECT_EQ(stateOf(*project_),
            "texts ||\nvariable 1 Case ID|||0:0|1|3|0|case id\nvariable 4 Case Status|||3:Active|3|2|0\n"
            "record 2 inactive 1:1 3:Inactive\nrecord 3 active 1:2 3:Active\nrecord 5 active 1:3 3:Active\n");
  for (auto const* content : {"active", "Active ", "", "Inactive"}) {
    setValue(status, late, content);
    EXPECT_FALSE(project_->recordIsActive(late)) << content;
  }
  project_->activate(records[0], true);
  EXPECT_TRUE(project_->recordIsActive(records[0]));
}

TEST_F(Table, HasOneCaseStatusOnly) {
  auto const other = createProject();
  test::BlockStore const journal{*other};
  for (int i = 0; i < 9; ++i) other->addTagGroup(std::to_string(i));
  other->startTransaction().commit();
  refusalOf([&] { other->activate(99, true); });
  other->startTransaction().commit();
  auto const refusal = "Only activating records makes a Case Status variable. (true)";
  EXPECT_EQ(refusalOf([&] { project_->setVariableType(1, VariableType::CaseStatus); }), refusal);
  refusalOf([&] { project_->activate(99, true); });
  EXPECT_EQ(refusalOf([&] { project_->setVariableType(2, VariableType::Ordinary); }), refusal);
  auto const before = stateOf(*project_);
  EXPECT_EQ(refusalOf([&] { test::replay(*project_, journal.blocks.at(1)); }),
            "Attempted to add a second Case Status variable. (true)");
  EXPECT_EQ(stateOf(*project_), before);
}

TEST_F(Table, PropertiesAreAssignedAndNothingElse) {
  Variable const handle = project_->addVariable("x", {}, Variant::FloatingPoint, 1.5).lock();
  addRecord();
  u64 const twin = addVariable(Variant::FloatingPoint);
  Transaction transaction{transaction_};
  Variable changed{handle};
  changed.setDataType(Variant::String, transaction);
  changed.setType(VariableType::CaseIdentifier, transaction);
  changed.setNature(VariableNature{12345}, transaction);
  changed.setDescription("d", transaction);
  changed.setExpression("e", transaction);
  changed.setDefaultValue("f", transaction);
  EXPECT_EQ(project_->variable("x").id(), 2u) << "of several the lowest";
  changed.setName("X", transaction);
  EXPECT_EQ(project_->variable("x").id(), twin);
  EXPECT_EQ(stateOf(*project_),
            "texts ||\nvariable 1 Case ID|||0:0|1|3|0|case id\nvariable 2 X|d|e|3:f|3|3|12345\n"
            "variable 4 x|||0:0|2|0|0\nrecord 3 active 1:1 2:4609434218613702656 0:0\n");
  EXPECT_EQ(handle.name() + handle.description() + handle.expression() + handle.defaultValue().toString(), "Xdef");
  EXPECT_TRUE(handle.isStringType() && !handle.isCaseID() && handle.nature() == VariableNature{12345});
  EXPECT_EQ(project_->getCaseIDColumn(), project_->variable("Case ID"));
}

TEST_F(Table, RefusesUnknownEntitiesBeforeAnythingChanges) {
  auto& p = *project_;
  Variable const column = p.getCaseIDColumn().lock();
  Record const row = WeakPtr<Record>{addRecord()}.lock();
  u64 const rule = p.addVariableRegex("*", column).id();
  auto const noColumn = [](u64 n) { return Variable{n, NoLockRequired{}}; };
  auto const noRow = [](u64 n) { return Record{n, NoLockRequired{}}; };
  std::function<void(u64)> const calls[] = {
      [&](u64 n) { return p.value(noColumn(n), row); },
      [&](u64 n) { return p.value(column, noRow(n)); },
      [&](u64 n) { p.setValue(noColumn(n), row, {}); },
      [&](u64 n) { p.setValue(column, noRow(n), {}); },
      [&](u64 n) { return p.getRow(n); },
      [&](u64 n) { p.setRow(n, Row(9)); },
      [&](u64 n) { return p.recordIsActive(n); },
      [&](u64 n) { p.addAuxFile(n, "f", ""); },
      [&](u64 n) { return p.variableName(n); },
      [&](u64 n) { p.setVariableType(n, {}); },
      [&](u64 n) { p.setTagGroupName(n, "n"); },
      [&](u64 n) { p.removeTag(n, "t"); },
      [&](u64 n) { return p.auxFilePath(n); },
      [&](u64 n) { p.setPathRegexExpression(n, "*"); },
      [&](u64 n) { return p.variableRegexTarget(n); },
      [&](u64 n) { p.setVariableRegexTarget(n, 1); },
      [&](u64 n) { p.setVariableRegexTarget(rule, n); },
  };
  auto const before = stateOf(p);
  for (std::size_t i = 0; i < std::size(calls); ++i)
    for (u64 const uid : {u64{0}, u64{99}, ~u64{0}}) EXPECT_EQ(refusalOf([&] { calls[i](uid); }), unknownEntity) << i;
  EXPECT_EQ(stateOf(p), before);
  EXPECT_FALSE(p.variableIsCaseID(99));
}

}  // namespace
}  // namespace casebook
