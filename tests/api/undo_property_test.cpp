// Random histories of transactions, each of 5 to 30 edits of every kind. More of them:
//
//   RC_PARAMS="max_success=5000" casebook_tests --gtest_filter='UndoProperty.*'

#include "support/random_edits.h"
#include "support/state.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>

namespace casebook {
namespace {

using test::BlockStore;
using test::Content;
using test::CurrentProject;
using test::RandomEdits;
using test::restored;

using Words = std::vector<u64>;
using Direction = Journal::Direction;

// A word of a history is an edit, and in its highest bits what becomes of the levels of the transaction.
constexpr u64 endOfTransaction = ~u64{0};
constexpr int levelBits = 60;

/// One vector of words at a time: RapidCheck's own generators are slow in such numbers.
rc::Gen<Words> histories() {
  auto const shrinks = [](Words const& words) {
    return rc::seq::concat(rc::shrink::removeChunks(words), rc::shrink::eachElement(words, [](u64 word) {
                             return rc::shrink::towards(word, word == endOfTransaction ? word : 0);
                           }));
  };
  return [=](rc::Random random, int size) {
    Words words;
    for (int transactions = 1 + size / 2; transactions > 0; --transactions) {
      for (u64 edits = 5 + random.next() % 26; edits > 0; --edits) words.push_back(random.next() >> 1);
      words.push_back(endOfTransaction);
    }
    return rc::shrinkable::shrinkRecur(std::move(words), shrinks);
  };
}

using Uids = std::set<u64>;

Uids uidsOf(Project& project) {
  Uids uids;
  auto const insert = [&](auto const& list) {
    for (auto const entity : list) uids.insert(entity.id());
  };
  insert(project.variables()), insert(project.records()), insert(project.auxFiles());
  insert(project.tagGroups()), insert(project.variableRegexs()), insert(project.pathRegexs());
  return uids;
}

Uids uidsOf(TransactionRecordGroup const& group) {
  Uids uids;
  for (auto const* list :
       {&group.variables, &group.records, &group.auxFiles, &group.tagGroups, &group.variableRegexs, &group.pathRegexs})
    uids.insert(list->begin(), list->end());
  return uids;
}

Uids without(Uids const& uids, Uids const& taken) {
  Uids rest;
  std::ranges::set_difference(uids, taken, std::inserter(rest, rest.end()));
  return rest;
}

/// Whether a transaction that led from entities to others reported them.
void checkReport(TransactionRecord const& report, Uids const& before, Uids const& after) {
  auto const removed = uidsOf(report.removed);
  auto const added = uidsOf(report.added);
  RC_ASSERT(without(without(before, after), removed).empty());
  RC_ASSERT(without(without(after, before), added).empty());
  RC_ASSERT(without(removed, after) == removed);
  RC_ASSERT(without(added, after).empty());
  RC_ASSERT(without(uidsOf(report.modified), without(after, added)).empty());
}

/// Everything that a project without open transactions holds. Only a checkpoint tells the explicit tags of files.
std::string wholeState(Project& project) {
  auto state = test::stateOf(project);
  auto const checkpoint = project.checkpoint();
  for (auto const& command : Journal::Transaction{checkpoint.block, 0}.commands())
    if (command.code == Journal::AuxFileCreated) state += std::get<std::string>(fields(command)[2].value) + '|';
  return state;
}

/// A project, and a host that stores what it is given and can step back and forth.
class History {
 public:
  /// The words up to the end of the transaction. One in eight gives up at the first edit that is refused.
  void run(std::span<u64 const> words) {
    bool const strict = !words.empty() && (words.front() >> (levelBits - 3)) % 8 == 7;
    bool aborted = false;
    log_ += "--\n";
    Step step;
    step.block = transact([&](Project&) { aborted = !edit(words, strict) && strict; });
    auto state = wholeState(*project_);
    if (!aborted) {
      steps_.push_back(std::move(step));
      states_.push_back(std::move(state));
      return;
    }
    replay(step.block, Direction::Backwards);
    expectState(steps_.size());
  }

  /// Undoes everything and redoes everything, in all ways from every depth.
  void walk() {
    for (std::size_t depth = steps_.size(); depth > 0; --depth) {
      auto& [block, undone] = steps_[depth - 1];
      undone = step(depth - 1, block, Direction::Backwards);
      auto const redone = step(depth, block, Direction::Forwards);
      undone = step(depth - 1, redone, Direction::Backwards);
      step(depth, undone, Direction::Backwards);
      undone = step(depth - 1, undone, Direction::Forwards);
    }
    for (std::size_t depth = 1; depth <= steps_.size(); ++depth) {
      auto const& [block, undone] = steps_[depth - 1];
      if (depth % 2 == 0) step(depth, block, Direction::Forwards);
      else step(depth, undone, Direction::Backwards);
    }
  }

  /// Restored from all blocks, and from a checkpoint, the project is the same and goes on alike.
  void restore(std::span<u64 const> words) {
    auto const checkpoint = project_->checkpoint();
    auto const reopened = restored({checkpoint.block}, checkpoint.nextUid);
    auto const replayed = restored(journal_.blocks, checkpoint.nextUid);
    auto const again = reopened->checkpoint();
    RC_ASSERT(again.block == checkpoint.block);
    RC_ASSERT(again.nextUid == checkpoint.nextUid);
    RC_ASSERT(replayed->checkpoint().nextUid == checkpoint.nextUid);
    RC_ASSERT(wholeState(*replayed) == states_.back());
    RC_ASSERT(wholeState(*reopened) == states_.back());
    for (auto* const project : {&*project_, replayed.get(), reopened.get()}) {
      test::transact(*project, [&](Project& p) {
        RandomEdits edits{p};
        for (u64 const word : words) edits.make(word);
      });
    }
    auto const state = wholeState(*project_);
    RC_ASSERT(wholeState(*replayed) == state);
    RC_ASSERT(wholeState(*reopened) == state);
  }

  [[nodiscard]] std::string const& log() const { return log_; }

 private:
  struct Step {
    Content block;
    Content undone;
  };

  /// Gives the block of a transaction, empty when it wrote no command.
  template <class Edits>
  Content transact(Edits&& edits) {
    report_ = {};
    auto const before = uidsOf(*project_);
    auto const blocks = journal_.blocks.size();
    test::transact(*project_, edits);
    checkReport(report_, before, uidsOf(*project_));
    RC_ASSERT(journal_.blocks.size() <= blocks + 1);
    auto const block = journal_.blocks.size() == blocks ? Content{} : journal_.blocks.back();
    return block;
  }

  /// False when an edit was refused, at which a strict host stops.
  bool edit(std::span<u64 const> words, bool strict) {
    std::vector<Transaction> levels;
    RandomEdits edits{*project_};
    for (u64 const word : words) {
      u64 const level = word >> levelBits;
      if (level == 1) levels.push_back(project_->startTransaction());
      if (level == 2 && !levels.empty()) levels.pop_back();
      u64 const choices = word % (u64{1} << levelBits);
      bool const made = edits.make(choices);
      log_ += test::kindOf(choices).name + std::string{made ? "\n" : " refused\n"};
      if (!made && strict) return false;
    }
    return true;
  }

  Content replay(Content const& block, Direction direction) {
    return transact([&](Project& p) { p.processJournalTransaction(Journal::Transaction{block, 0}, direction); });
  }

  Content step(std::size_t depth, Content const& block, Direction direction) {
    auto replayed = replay(block, direction);
    expectState(depth);
    return replayed;
  }

  void expectState(std::size_t depth) {
    log_ += "back to state " + std::to_string(depth) + '\n';
    RC_ASSERT(wholeState(*project_) == states_[depth]);
  }

  CurrentProject project_;
  BlockStore journal_{*project_};
  TransactionRecord report_;
  ScopedConnection reports_ = project_->connectProjectChange([this](auto const& report) { report_ = report; });
  std::vector<std::string> states_{wholeState(*project_)};  ///< before the first step, and after each
  std::vector<Step> steps_;
  std::string log_;
};

RC_GTEST_PROP(UndoProperty, NothingIsEverLost, ()) {
  Words const words = *histories();
  History history;
  std::span<u64 const> last;
  try {
    for (auto begin = words.begin(); begin != words.end();) {
      auto const end = std::find(begin, words.end(), endOfTransaction);
      last = {begin, end};
      history.run(last);
      begin = end == words.end() ? end : end + 1;
    }
    history.walk();
    history.restore(last);
  } catch (...) {
    RC_LOG(history.log());
    throw;
  }
}

}  // namespace
}  // namespace casebook
