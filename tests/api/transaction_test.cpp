#include "support/listener.h"
#include "support/state.h"

#include <gtest/gtest.h>

#include <optional>
#include <tuple>

namespace casebook {
namespace {

using test::connect;
using test::Content;
using test::CurrentProject;
using test::Lines;
using test::Listener;
using test::refusalOf;
using test::SignalKind;

constexpr auto committed = "The transaction was committed already. (true)";

/// A project with a listener to all of its signals.
class Transactions : public testing::Test {
 protected:
  CurrentProject const project_;
  Listener listener_{*project_};

  template <class Edit>
  Lines heardOf(Edit&& edit) {
    test::transact(*project_, edit);
    return listener_.take();
  }
};

Lines const nameSet{"journal 1001", "pre ~1001(>a)", "change ~1001(>a)"};
Lines const descriptionSet{"journal 1002", "pre ~1002(>b)", "change ~1002(>b)"};

Lines operator+(Lines first, Lines const& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST_F(Transactions, TheEndOfTheOutermostEndsThem) {
  std::optional outer{project_->startTransaction()};
  std::optional copy{outer};
  project_->startTransaction(7);
  {
    auto inner = project_->startTransaction();
    EXPECT_EQ(project_->transactionDepth(), 4u);
    inner->setFriendlyName("a");
    inner.commit();
    inner.commit();
  }
  project_->endTransaction(7);
  outer.reset();
  EXPECT_EQ(project_->transactionDepth(), 1u);
  EXPECT_EQ(listener_.take(), Lines{});
  copy.reset();
  EXPECT_EQ(listener_.take(), nameSet);
  project_->endTransaction(0);
  EXPECT_EQ(project_->transactionDepth(), ~u64{0}) << "ending none wraps, and nothing ends any more";
  EXPECT_EQ(heardOf([](Project& p) { p.setFriendlyName("a"); }), Lines{});
}

TEST_F(Transactions, ACommittedOneHoldsNothing) {
  auto transaction = project_->startTransaction();
  auto other = project_->startTransaction();
  transaction.commit();
  EXPECT_EQ(refusalOf([&] { return Transaction{transaction}; }), committed);
  EXPECT_EQ(refusalOf([&] { other = transaction; }), committed);
  EXPECT_EQ(refusalOf([&] { transaction->setFriendlyName("a"); }), committed);
  EXPECT_EQ(project_->transactionDepth(), 1u);
  transaction = other;
  EXPECT_EQ(project_->transactionDepth(), 2u);
}

TEST_F(Transactions, AssignmentReleasesAndThenTakesALevel) {
  auto const second = createProject();
  auto transaction = project_->startTransaction();
  auto const other = second->startTransaction();
  project_->setFriendlyName("a");
  auto const& same = transaction;
  transaction = same;
  EXPECT_EQ(listener_.take(), nameSet);
  EXPECT_EQ(project_->transactionDepth(), 1u);
  transaction = other;
  EXPECT_EQ(project_->transactionDepth(), 0u);
  EXPECT_EQ(second->transactionDepth(), 2u);
}

void setThree(Project& p) { p.setVariableName(2, "z"), p.setVariableDataType(2, {}), p.setVariableNature(1, {}); }
void editTags(Project& p) { p.removeTag(7, "u"), p.addTag(7, "u"), p.addTag(7, "u"), p.setTagGroupName(8, "i"); }

TEST_F(Transactions, ReportWhatChangedOnceAndInOrder) {
  std::tuple<void (*)(Project&), std::string, std::string> const rows[] = {
      {[](Project& p) { p.setFriendlyName("a"), p.setFriendlyName("b"); }, " 1001 1001", " ~1001(>b)"},
      {[](Project& p) { p.setRootPath("r"), p.setDescription("d"); }, " 1003 1002", " ~1002(>d) ~1003(>r)"},
      {[](Project& p) { p.setVariableName(p.addVariable("x", {}, {}, {}).id(), "y"); }, " 2001 2006", " +v2"},
      {setThree, " 2006 2002 2004", " ~v1 ~v2 ~v2"},
      {[](Project& p) { p.addRecord(), p.addAuxFile(3, "f.png", ""); }, " 3001 4001", " +r3 +f4"},
      {[](Project& p) { p.setRow(3, p.getRow(3)); }, " 2009 2009", " values"},
      {[](Project& p) { p.activate(3, false), p.activate(3, true); }, " 2001 3003 3003", " +v5 ~r3 values"},
      {[](Project& p) { p.addPathRegex("*", "t"); }, " 6001", " +P6"},
      {[](Project& p) { p.setPathRegexTarget(6, "u"); }, " 6003", " ~P6"},
      {[](Project& p) { p.addTag(p.addTagGroup("g").id(), "u"), p.addTagGroup("h"); }, " 7001 7003 7001", " +g7 +g8"},
      {editTags, " 80007003 7003 7003 7002", " ~g7 ~g7 ~g8"},
      {[](Project& p) { p.addVariableRegex("*", WeakPtr<Variable>{1}.lock()); }, " 5001", " +V9"},
      {[](Project& p) { p.setVariableRegexTarget(9, 2); }, " 5003", " ~V9"},
  };
  for (auto const& [edit, commands, changes] : rows)
    EXPECT_EQ(heardOf(edit), (Lines{"journal" + commands, "pre" + changes, "change" + changes}));
  EXPECT_EQ(heardOf([](Project&) {}), Lines{});
}

TEST_F(Transactions, AreJournalledOnlyWhileASlotIsConnected) {
  auto const other = createProject();
  other->connectProjectJournal([](auto&) { ADD_FAILURE(); }).disconnect();
  other->setRootPath("unseen");
  Listener listener{*other};
  other->addRecord();
  other->startTransaction().commit();
  EXPECT_EQ(listener.take().at(0), "journal 3001");
}

/// What slots do at each of the signals. `emit` sets the name in a transaction, or resets the project.
class Slots : public Transactions, public testing::WithParamInterface<SignalKind> {
 protected:
  void emit() {
    if (GetParam() == SignalKind::Reset) return project_->resetProject();
    test::transact(*project_, [](Project& p) { p.setFriendlyName("a"); });
  }
  /// What is heard of `emit` when the slots of the signal under test fail.
  [[nodiscard]] Lines heardWhenFailing() const {
    if (GetParam() == SignalKind::Reset) return {"reset"};
    auto const lines = GetParam() == SignalKind::Journal ? 1 : GetParam() == SignalKind::Pre ? 2 : 3;
    return {nameSet.begin(), nameSet.begin() + lines};
  }
  [[nodiscard]] Lines heardOfEmit() const { return GetParam() == SignalKind::Reset ? Lines{"reset"} : nameSet; }

  void editWithin() {
    auto transaction = project_->startTransaction();
    project_->setDescription("b");
    auto const before = listener_.heard();
    transaction.commit();
    EXPECT_EQ(listener_.heard(), before) << "ended within the emission";
    EXPECT_TRUE(project_->isEmitting());
  }

  Connection throwOnce(char const* what, std::function<void()> const& edit) {
    return connect(*project_, GetParam(), [what, edit, thrown = false]() mutable {
      if (std::exchange(thrown, true)) return;
      edit();
      throw std::runtime_error{what};
    });
  }
};

TEST_P(Slots, MayEditAndTheirEditsLeaveAfterwardsByThemselves) {
  auto const replayed = createProject();
  test::BlockStore const journal{*project_};
  int calls = 0;
  ScopedConnection const slot = connect(*project_, GetParam(), [&] {
    if (++calls == 1) editWithin();
    if (calls == 2) project_->setDescription(""), project_->setDescription("b");
  });
  emit();
  auto expected = heardOfEmit() + descriptionSet;
  if (GetParam() != SignalKind::Reset)
    expected = expected + Lines{"journal 1002 1002", "pre ~1002(b>b)", "change ~1002(b>b)"};
  EXPECT_EQ(listener_.take(), expected);
  EXPECT_FALSE(project_->isEmitting());
  for (auto const& block : journal.blocks) test::replay(*replayed, block);
  EXPECT_EQ(test::stateOf(*replayed), test::stateOf(*project_));
}

TEST_P(Slots, MayConnectAndDropThemselvesAndOthers) {
  int own = 0;
  int dropped = 0;
  int added = 0;
  std::vector<ScopedConnection> connections;
  connections.emplace_back(connect(*project_, GetParam(), [&] {
    ++own;
    connections.clear();
    connections.emplace_back(connect(*project_, GetParam(), [&] { ++added; }));
  }));
  connections.emplace_back(connect(*project_, GetParam(), [&] { ++dropped; }));
  emit();
  int const before = added;
  emit();
  EXPECT_EQ(own, 1);
  EXPECT_EQ(dropped, 0);
  EXPECT_EQ(added, before + 1);
}

TEST_P(Slots, MayThrowAndTheFirstExceptionPassesWhenAllIsDone) {
  ScopedConnection const first = throwOnce("first", [this] { editWithin(); });
  ScopedConnection const second = throwOnce("second", [] {});
  Listener late{*project_};
  try {
    emit();
    ADD_FAILURE() << "nothing was thrown";
  } catch (std::runtime_error const& error) {
    EXPECT_STREQ(error.what(), "first");
  }
  EXPECT_EQ(project_->transactionDepth(), 0u);
  EXPECT_EQ(listener_.take(), heardWhenFailing() + descriptionSet);
  EXPECT_EQ(late.take(), heardWhenFailing() + descriptionSet);
  Lines const clean{"journal 1003", "pre ~1003(>c)", "change ~1003(>c)"};
  EXPECT_EQ(heardOf([](Project& p) { p.setRootPath("c"); }), clean);
}

TEST_P(Slots, MayNotReplaceTheProject) {
  heardOf([](Project& p) { p.addRecord(); });
  Content const block{12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  ScopedConnection const slot = connect(*project_, GetParam(), [&] {
    auto const before = test::stateOf(*project_);
    EXPECT_EQ(refusalOf([&] { project_->resetProject(); }), test::whileSignalling);
    EXPECT_EQ(refusalOf([&] { project_->clearEntireProjectWithoutSignal(); }), test::whileSignalling);
    EXPECT_EQ(refusalOf([&] { test::replay(*project_, block); }), test::whileSignalling);
    EXPECT_EQ(test::stateOf(*project_), before);
  });
  emit();
  EXPECT_EQ(listener_.take(), heardOfEmit());
}

INSTANTIATE_TEST_SUITE_P(AtEach, Slots,
                         testing::Values(SignalKind::Pre, SignalKind::Change, SignalKind::Journal, SignalKind::Reset));

}  // namespace
}  // namespace casebook
