#include "project/transaction_end.h"

#include <utility>

namespace casebook {

struct TransactionEnd::SetAside {
  ChangeLog log;
  OpenBlock block;
};

namespace {

class Running {
 public:
  explicit Running(bool& running) : running_{running} { running_ = true; }
  Running(Running const&) = delete;
  Running& operator=(Running const&) = delete;
  ~Running() { running_ = false; }

 private:
  bool& running_;
};

}  // namespace

void TransactionEnd::closeLevel() {
  if (depth_-- != 1) return;
  ended_ = true;
  endWaiting();
}

bool TransactionEnd::waiting() const noexcept {
  return depth_ == 0 && (ended_ || !log_.empty() || recorder_.block().hasCommands());
}

void TransactionEnd::endWaiting() {
  if (running_ || signals_.emitting()) return;
  FirstError error;
  {
    Running const running{running_};
    while (waiting()) endOnce(error);
  }
  error.rethrow();
}

void TransactionEnd::emitReset() {
  FirstError error;
  error.guard([this] { signals_.emitReset(); });
  error.guard([this] { endWaiting(); });
  error.rethrow();
}

void TransactionEnd::endOnce(FirstError& error) {
  ended_ = false;
  bool completed = error.guard([this] {
    performDelayedErasures();
    updateCalculatedValues();
    updateTagGroups();
  });
  auto done = setAside();
  completed = completed && error.guard([&] { emitTransactionSignals(done); });
  if (completed) return;
  clearDerived();
  error.guard([&] { handOut(done); });
}

TransactionEnd::SetAside TransactionEnd::setAside() {
  return {std::exchange(log_, {}), std::exchange(recorder_.block(), {})};
}

void TransactionEnd::emitTransactionSignals(SetAside& done) {
  auto record = done.log.changes();
  bool const anyChange = reportsAnything(record);
  bool const removals = done.log.hasRemovals();
  if (removals) {
    clearDerived();
    auto removed = done.log.removals();
    signals_.emitChange(removed);
    record.removed = std::move(removed.removed);
  }
  simplifyTransactionRecord(record);
  handOut(done);
  if (!anyChange) return;
  if (!removals) clearDerived();
  recomputeStatistics();
  signals_.emitChange(record);
}

// Once: the block is out of hand before any slot sees it.
void TransactionEnd::handOut(SetAside& done) {
  if (!done.block.hasCommands()) return;
  auto block = std::exchange(done.block, {});
  signals_.emitJournal(block);
}

void TransactionEnd::clearDerived() noexcept { caseIndex_.clear(); }

// Steps of later versions, each in its place.

void TransactionEnd::performDelayedErasures() {}

void TransactionEnd::updateCalculatedValues() {}

void TransactionEnd::updateTagGroups() {}

void TransactionEnd::recomputeStatistics() {}

}  // namespace casebook
