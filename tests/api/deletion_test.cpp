#include "support/listener.h"
#include "support/state.h"

#include <gtest/gtest.h>

namespace casebook {
namespace {

using test::BlockStore;
using test::CurrentProject;
using test::Lines;
using test::Listener;
using test::refusalOf;
using test::stateOf;

constexpr auto twice = "Attempted to delete the same data entity twice in a single transaction (true)";
constexpr auto created = "Cannot add and delete the same data entity in a single transaction (true)";
constexpr auto caseId = "Cannot delete Case ID variable (true)";
constexpr auto nonExistent = "Attempted to delete non-existent data entity (true)";

/// What can be done with each kind of entity.
struct Kind {
  u64 (*add)(Project&);
  void (*erase)(Project&, u64);
};

constexpr Kind kinds[] = {
    {[](Project& p) { return p.addVariable("v", {}, Variant::String, "x").id(); },
     [](Project& p, u64 uid) { p.eraseVariable(uid); }},
    {[](Project& p) { return p.addRecord().id(); }, [](Project& p, u64 uid) { p.eraseRecord(uid); }},
    {[](Project& p) { return p.addAuxFile(2, "f" + std::to_string(p.auxFiles().size()), "t").id(); },
     [](Project& p, u64 uid) { p.eraseAuxFile(uid); }},
    {[](Project& p) { return p.addTagGroup("g" + std::to_string(p.tagGroups().size())).id(); },
     [](Project& p, u64 uid) { p.eraseTagGroup(uid); }},
    {[](Project& p) { return p.addPathRegex("*", "t").id(); }, [](Project& p, u64 uid) { p.erasePathRegex(uid); }},
    {[](Project& p) { return p.addVariableRegex("*", Variable{1, NoLockRequired{}}).id(); },
     [](Project& p, u64 uid) { p.eraseVariableRegex(uid); }},
};

/// A project with a record, and what its transactions gave.
class Deletion : public testing::Test {
 protected:
  Deletion() {
    transact([](Project& p) { p.addRecord(); });
  }

  template <class Edit>
  void transact(Edit&& edit) {
    test::transact(*project_, edit);
  }
  void undo() { test::undo(*project_, journal_.blocks.back()); }

  CurrentProject const project_;
  BlockStore const journal_{*project_};
};

TEST_F(Deletion, IsRefusedInTheOrderOfTheTests) {
  for (auto const& kind : kinds) {
    u64 uid = 0;
    auto const refusal = [&] { return refusalOf([&] { kind.erase(*project_, uid); }); };
    auto const start = stateOf(*project_);
    transact([&](Project& p) {
      uid = kind.add(p);
      EXPECT_EQ(refusal(), created);
    });
    auto const creation = journal_.blocks.back();
    transact([&](Project& p) {
      auto const before = stateOf(p);
      EXPECT_EQ(refusal(), "");
      EXPECT_EQ(refusal(), twice);
      EXPECT_EQ(refusalOf([&] { kind.erase(p, 99); }), nonExistent);
      EXPECT_EQ(stateOf(p), before);
    });
    EXPECT_EQ(refusal(), nonExistent);
    EXPECT_EQ(stateOf(*project_), start);
    // What a replay took out is gone at once, and what it put back is as if created.
    auto const erasure = journal_.blocks.back();
    transact([&](Project& p) {
      p.processJournalTransaction(Journal::Transaction{erasure, 0}, Journal::Direction::Backwards);
      EXPECT_EQ(refusal(), created);
      p.processJournalTransaction(Journal::Transaction{creation, 0}, Journal::Direction::Backwards);
      EXPECT_EQ(refusal(), twice);
    });
  }
  EXPECT_EQ(refusalOf([&] { project_->eraseVariable(1); }), caseId);
}

TEST_F(Deletion, IsCarriedOutAtTheEndKindByKind) {
  u64 other = 0;
  transact([&](Project& p) {
    for (auto const& kind : kinds) kind.add(p);
    other = p.addRecord().id();
    p.addAuxFile(other, "o", "");
  });
  Listener listener{*project_};
  transact([&](Project& p) {
    // Asked for in the opposite order; the record 4 has no file left, the other one still has.
    for (u64 uid = 8; uid >= 3; --uid) kinds[uid - 3].erase(p, uid);
    p.eraseRecord(other);
    EXPECT_EQ(p.tagGroupName(6), "g0");
    EXPECT_EQ(p.getRow(4), (std::vector<Variant>{{2, Variant::UnsignedInteger}, "x"}));
    EXPECT_EQ(listener.take(), Lines{});
  });
  EXPECT_EQ(listener.take(),
            (Lines{"pre -v3 -r4 -r9 -V8 -P7 -g6 -f5 -f10", "change -v3 -r4 -r9 -V8 -P7 -g6 -f5 -f10",
                   "journal 80002001 80004001 80003002 80004001 80003002 80007001 80006001 80005001"}));
  EXPECT_EQ(project_->auxFiles(2).size(), 0u);
}

TEST_F(Deletion, IsReportedAloneAndAgainWithTheRest) {
  transact([](Project& p) { p.addAuxFile(p.addRecord().id(), "f", ""); });
  Listener listener{*project_};
  transact([&](Project& p) {
    p.setFriendlyName("a");
    p.setVariableName(1, "id");
    p.activate(3, false);
    p.addTagGroup("g");
    p.eraseRecord(3);
  });
  EXPECT_EQ(listener.take(),
            (Lines{"pre -r3 -f4", "change -r3 -f4", "journal 1001 2006 2001 3003 7001 80004001 80003002",
                   "pre -r3 -f4 +v5 +g6 ~1001(>a) ~v1 values", "change -r3 -f4 +v5 +g6 ~1001(>a) ~v1 values"}));
  undo();
  EXPECT_EQ(listener.take().back(), "change -v5 -g6 +r3 +f4 ~1001(a>) ~v1 values");
}

TEST_F(Deletion, OfTheCaseStatusTakesEffectAtOnce) {
  transact([](Project& p) { p.activate(2, false); });
  transact([](Project& p) {
    p.eraseVariable(3);
    EXPECT_TRUE(p.recordIsActive(2));
    EXPECT_EQ(p.variables().size(), 2u);
    p.activate(2, false);
    EXPECT_EQ(p.variables().size(), 3u);
    EXPECT_EQ(refusalOf([&] { p.setVariableType(3, VariableType::Ordinary); }),
              "Only activating records makes a Case Status variable. (true)");
  });
}

}  // namespace
}  // namespace casebook
