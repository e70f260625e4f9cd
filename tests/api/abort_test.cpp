// A host that gives up ends the transaction and undoes the block that it got, which takes back what had been done.

#include "support/allocations.h"
#include "support/random_edits.h"
#include "support/state.h"

#include <gtest/gtest.h>

#include <set>

namespace casebook {
namespace {

using test::Content;
using test::CurrentProject;
using test::runsOut;
using test::stateOf;
using test::transact;

/// What fails: an edit, which then did nothing; one of several steps, which may have taken some; the end.
enum class Failing { Edit, Steps, End };

/// A host with a project that holds something of each kind. It stores blocks also when memory runs out.
class Abort : public testing::Test {
 protected:
  Abort() {
    transact(*project_, [](Project& p) {
      p.addRecord();                                           // 2
      p.addVariable("v", {}, Variant::String, "x");            // 3
      p.addRecord();                                           // 4
      p.addAuxFile(4, "f.png", "t");                           // 5
      p.addTag(p.addTagGroup("g").id(), "t");                  // 6
      p.addPathRegex("*", "t");                                // 7
      p.addVariableRegex("*", Variable{3, NoLockRequired{}});  // 8
    });
  }

  /// Each allocation in turn fails. What then stands in the table is what the block tells, and the host undoes it.
  template <class Edits, class Last>
  void failInTurn(Failing failing, Edits&& edits, Last&& last) {
    auto const start = stateOf(*project_);
    auto const checkpoint = project_->checkpoint();
    bool ranOut = true;
    for (long count = 0; ranOut; ++count) {
      block_.clear();
      blocks_ = 0;
      auto transaction = project_->startTransaction();
      edits(*project_);
      auto const before = stateOf(*project_);
      if (failing == Failing::End) last(*project_);
      else ranOut = runsOut(count, [&] { last(*project_); });
      if (failing == Failing::Edit && ranOut) {
        EXPECT_EQ(stateOf(*project_), before) << count;
      }
      if (failing == Failing::End) ranOut = runsOut(count, [&] { transaction.commit(); });
      else transaction.commit();
      ASSERT_LE(blocks_, 1);
      if (blocks_ == 1) {
        auto const copy = test::restored({checkpoint.block, block_}, checkpoint.nextUid);
        ASSERT_EQ(stateOf(*copy), stateOf(*project_)) << count;
        test::undo(*project_, block_);
      }
      ASSERT_EQ(stateOf(*project_), start) << count;
    }
  }

  CurrentProject const project_;
  Content block_ = [] {
    Content block;
    block.reserve(1 << 16);
    return block;
  }();
  int blocks_ = 0;
  ScopedConnection journal_ = project_->connectProjectJournal([this](auto& writer) {
    auto const bytes = writer.finalize();
    block_.assign(bytes.begin(), bytes.end());
    ++blocks_;
  });
};

void eraseAll(Project& p) {
  p.eraseVariable(3), p.eraseRecord(4), p.eraseTagGroup(6), p.erasePathRegex(7), p.eraseVariableRegex(8);
}

TEST_F(Abort, AfterAnEditRanOutOfMemoryLeavesNothing) {
  std::set<std::string> const ofSteps{"setRow", "activate", "setCalculated", "removeTags", "merge"};
  for (u64 kind = 0; kind < std::size(test::randomEdits); ++kind)
    for (u64 const word : {0u, 75u, 99'991u}) {
      SCOPED_TRACE(test::randomEdits[kind].name);
      failInTurn(
          ofSteps.contains(test::randomEdits[kind].name) ? Failing::Steps : Failing::Edit,
          [](Project& p) { p.eraseRecord(4); },
          [&](Project& p) { test::RandomEdits{p}.make(word * std::size(test::randomEdits) + kind); });
    }
}

TEST_F(Abort, AfterTheEndRanOutOfMemoryLeavesNothing) {
  failInTurn(Failing::End, [](Project& p) { p.addRecord(), p.activate(2, false); }, eraseAll);
  failInTurn(
      Failing::End, [](Project& p) { p.addTag(6, "t"), p.addTag(6, "lost"); }, [](Project& p) { p.eraseRecord(4); });
}

TEST_F(Abort, AfterAReplayRanOutOfMemoryLeavesNothing) {
  transact(*project_, [](Project& p) {
    p.addRecord(), p.activate(2, false), p.setVariableType(3, VariableType::Calculated);
    p.setTagGroupName(6, "h"), p.removeTag(6, "t"), p.setRootPath("/");
    eraseAll(p);
  });
  auto const block = block_;
  auto const replay = [&](Journal::Direction direction) {
    return [&, direction](Project& p) { p.processJournalTransaction(Journal::Transaction{block, 0}, direction); };
  };
  failInTurn(Failing::Steps, [](Project&) {}, replay(Journal::Direction::Backwards));
  test::undo(*project_, block);
  failInTurn(Failing::Steps, [](Project&) {}, replay(Journal::Direction::Forwards));
}

}  // namespace
}  // namespace casebook
