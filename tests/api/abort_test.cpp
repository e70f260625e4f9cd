// A host that gives up ends the transaction and undoes the block that it got, which takes back what had been done.

#include "support/allocations.h"
#include "support/random_edits.h"
#include "support/state.h"

#include <gtest/gtest.h>

namespace casebook {
namespace {

using test::Content;
using test::CurrentProject;
using test::refusalOf;
using test::stateOf;

/// A host with a project that holds something of each kind. It stores blocks also when memory runs out.
class Abort : public testing::Test {
 protected:
  Abort() {
    transact([](Project& p) {
      p.addRecord();                                           // 2
      p.addVariable("v", {}, Variant::String, "x");            // 3
      p.addRecord();                                           // 4
      p.addAuxFile(4, "f", "t");                               // 5
      p.addTag(p.addTagGroup("g").id(), "t");                  // 6
      p.addPathRegex("*", "t");                                // 7
      p.addVariableRegex("*", Variable{3, NoLockRequired{}});  // 8
    });
  }

  template <class Edits>
  void transact(Edits&& edits) {
    auto transaction = project_->startTransaction();
    edits(*project_);
    transaction.commit();
  }

  /// The edits, or the end of their transaction, fail with each allocation in turn, and are aborted.
  template <class Edits, class Last>
  void failInTurn(Edits&& edits, Last&& last, bool atTheEnd) {
    auto const start = stateOf(*project_);
    bool ranOut = true;
    for (long count = 0; ranOut; ++count) {
      block_.clear();
      blocks_ = 0;
      auto transaction = project_->startTransaction();
      edits(*project_);
      if (atTheEnd) {
        last(*project_);
        ranOut = test::runsOut(count, [&] { transaction.commit(); });
      } else {
        ranOut = test::runsOut(count, [&] { last(*project_); });
        transaction.commit();
      }
      ASSERT_LE(blocks_, 1);
      if (blocks_ == 1) undo(Content{block_});
      ASSERT_EQ(stateOf(*project_), start) << count;
    }
  }

  void undo(Content const& block) {
    transact([&](Project& p) {
      p.processJournalTransaction(Journal::Transaction{block, 0}, Journal::Direction::Backwards);
    });
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
  p.eraseVariable(3);
  p.eraseRecord(4);
  p.eraseTagGroup(6);
  p.erasePathRegex(7);
  p.eraseVariableRegex(8);
}

TEST_F(Abort, AfterAnEditRanOutOfMemoryLeavesNothing) {
  for (auto const& edit : test::randomEdits) {
    SCOPED_TRACE(edit.name);
    for (u64 const word : {0u, 75u, 99'991u})
      failInTurn([](Project& p) { p.eraseRecord(4); },
                 [&](Project& p) {
                   std::set<u64> touched;
                   test::Choice choice{p, touched, word};
                   refusalOf([&] { edit.make(p, choice); });
                 },
                 false);
  }
}

TEST_F(Abort, AfterTheEndRanOutOfMemoryLeavesNothing) {
  failInTurn(
      [](Project& p) {
        p.addRecord();
        p.activate(2, false);
      },
      eraseAll, true);
}

TEST_F(Abort, AfterAReplayRanOutOfMemoryLeavesNothing) {
  transact([](Project& p) {
    p.addRecord();
    p.activate(2, false);
    p.setVariableType(3, VariableType::Calculated);
    p.setTagGroupName(6, "h");
    p.removeTag(6, "t");
    p.setRootPath("/");
    eraseAll(p);
  });
  auto const block = block_;
  auto const replay = [&](Journal::Direction direction) {
    return [&, direction](Project& p) { p.processJournalTransaction(Journal::Transaction{block, 0}, direction); };
  };
  failInTurn([](Project&) {}, replay(Journal::Direction::Backwards), false);
  undo(block);
  failInTurn([](Project&) {}, replay(Journal::Direction::Forwards), false);
}

}  // namespace
}  // namespace casebook
