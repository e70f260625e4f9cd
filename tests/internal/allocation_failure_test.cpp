#include "support/allocations.h"
#include "support/edits.h"
#include "support/state.h"

#include <gtest/gtest.h>

namespace casebook {
namespace {

using test::BlockStore;
using test::CurrentProject;
using test::runsOut;
using test::stateOf;

/// A project in which there is something to edit for every kind of edit.
void prepare(Project& project) {
  project.addRecord();
  project.addVariable("x", {}, Variant::String, {});
  u64 const group = project.addTagGroup("g").id();
  project.addTag(group, "some tag that is not short");
  project.addPathRegex("*", "t");
  project.addVariableRegex("*", Variable{1, NoLockRequired{}});
  project.addAuxFile(2, "f", "");
}

/// Lets each allocation in turn fail for an edit. What stands in the table afterwards is what the journal tells.
void failInTurn(std::uint32_t kind) {
  auto const edit = test::editKinds[kind];
  bool const hasSteps = edit == &test::setRow || edit == &test::activate;
  bool more = true;
  for (long n = 0; more; ++n) {
    CurrentProject const project;
    BlockStore const journal{*project};
    prepare(*project);
    auto const before = stateOf(*project);
    more = runsOut(n, [&] { edit(*project, {kind, 23, 17, 39}); });
    auto const after = stateOf(*project);
    EXPECT_TRUE(hasSteps || more == (after == before)) << n << '\n' << after;
    project->startTransaction().commit();
    auto const copy = createProject();
    for (auto const& block : journal.blocks) test::replay(*copy, block);
    EXPECT_EQ(stateOf(*copy), after) << n;
  }
}

TEST(AllocationFailure, LeavesNothingOfAnEditOrSomethingThatIsJournalled) {
  for (std::uint32_t kind = 0; kind < std::size(test::editKinds); ++kind) {
    SCOPED_TRACE(kind);
    failInTurn(kind);
  }
}

// Each allocation of the end of a transaction fails in turn: the block is handed out all the same, then or at the next.
TEST(AllocationFailure, AtTheEndOfATransactionLosesNoBlock) {
  bool more = true;
  for (long n = 0; more; ++n) {
    CurrentProject const project;
    test::Content journal;
    journal.reserve(9999);
    auto const connection = project->connectProjectJournal([&](auto& block) {
      for (auto const byte : block.finalize()) journal.push_back(byte);
    });
    auto transaction = project->startTransaction();
    prepare(*project);
    more = runsOut(n, [&] { transaction.commit(); });
    project->setFriendlyName("next");
    project->startTransaction().commit();
    auto const copy = createProject();
    for (u64 at = 0; at < journal.size(); at += Journal::Transaction{journal, at}.length())
      copy->processJournalTransaction({journal, at}, Journal::Direction::Forwards);
    EXPECT_EQ(stateOf(*copy), stateOf(*project)) << n;
  }
}

}  // namespace
}  // namespace casebook
