#include "support/listener.h"
#include "support/state.h"

#include <gtest/gtest.h>

#include <functional>

namespace casebook {
namespace {

using test::BlockStore;
using test::CurrentProject;
using test::Lines;
using test::Listener;
using test::refusalOf;
using test::stateOf;

constexpr auto notNew = "Only a new project can be restored. (true)";

TEST(Restore, TakesNothingButANewProject) {
  struct Row {
    std::function<void(Project&)> edit;
    std::string refusal;
  };
  Row const rows[] = {
      {[](Project&) {}, ""},
      {[](Project& p) { p.resetProject(); }, ""},
      {[](Project& p) { p.addRecord(), p.resetProject(); }, ""},
      {[](Project& p) { p.addRecord(); }, notNew},
      {[](Project& p) { p.addTagGroup("g"); }, notNew},
      {[](Project& p) { p.setRootPath("/"); }, notNew},
      {[](Project& p) { p.setVariableName(1, "id"); }, notNew},
      {[](Project& p) { p.setVariableDefaultValue(1, 1.0); }, notNew},
      {[](Project& p) { p.setVariableType(1, VariableType::Ordinary); }, notNew},
      {[](Project& p) { p.setFriendlyName("a"), p.setFriendlyName(""); }, ""},
  };
  for (auto const& [edit, refusal] : rows) {
    CurrentProject const project;
    auto transaction = project->startTransaction();
    edit(*project);
    EXPECT_EQ(refusalOf([&] { project->restore({}, 9); }), notNew);
    EXPECT_EQ(refusalOf([&] { (void)project->checkpoint(); }),
              "A checkpoint needs all transactions to be closed. (true)");
    transaction.commit();
    auto const before = stateOf(*project);
    EXPECT_EQ(refusalOf([&] { project->restore({}, 9); }), refusal);
    EXPECT_EQ(stateOf(*project), before);
    EXPECT_TRUE(!refusal.empty() || project->addRecord().id() == 9u);
  }
  CurrentProject const project;
  std::string refusal;
  ScopedConnection const slot =
      project->connectProjectReset([&] { refusal = refusalOf([&] { project->restore({}, 2); }); });
  project->resetProject();
  EXPECT_EQ(refusal, notNew);
}

TEST(Restore, IsHeardByNobodyAndLeavesNothingToEnd) {
  CurrentProject const original;
  BlockStore const journal{*original};
  auto const transact = [&](auto&& edit) {
    auto transaction = original->startTransaction();
    edit();
    transaction.commit();
  };
  transact([&] {
    original->addRecord();
    original->activate(original->addRecord().id(), false);
  });
  transact([&] {
    original->eraseRecord(2);
    original->eraseVariable(4);
  });
  std::vector<Journal::Transaction> blocks;
  for (auto const& block : journal.blocks) blocks.emplace_back(block, 0);

  CurrentProject const project;
  EXPECT_FALSE(project->recordById(2));
  Listener listener{*project};
  project->restore(blocks, 0);
  project->startTransaction().commit();
  EXPECT_EQ(listener.take(), Lines{});
  EXPECT_EQ(stateOf(*project), stateOf(*original));
  EXPECT_EQ(project->recordById(2).id(), 3u);
  // What was erased in a block may go on as in a transaction of its own.
  auto transaction = project->startTransaction();
  EXPECT_EQ(refusalOf([&] { project->eraseRecord(2); }), "Attempted to delete non-existent data entity (true)");
  project->activate(3, true);
  EXPECT_EQ(refusalOf([&] { project->eraseVariable(5); }),
            "Cannot add and delete the same data entity in a single transaction (true)");
  transaction.commit();
  EXPECT_EQ(listener.take(), (Lines{"journal 2001 3003", "pre +v5 ~r3 values", "change +v5 ~r3 values"}));
}

}  // namespace
}  // namespace casebook
