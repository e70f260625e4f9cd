#include "project/transaction_end.h"

#include <utility>

namespace casebook {

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
  if (!running_) ended_ = true;  // else the end that runs goes on to what this one left
  endWaiting();
}

bool TransactionEnd::waiting() const noexcept {
  return depth_ == 0 && (ended_ || !log_.empty() || deletion_.waiting() || recorder_.block().hasCommands());
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
    deletion_.performDelayedErasures();
    calculation_.updateCalculatedValues();
    tagRemoval_.updateTagGroups();
    // A host's removeTag may write cells.
    if (calculation_.calculatedAt() != store_.touched.now()) calculation_.updateCalculatedValues();
  });
  auto const done = setAside();
  completed = completed && error.guard([&] { emitTransactionSignals(done, error); });
  if (completed) return;
  expireDerived();
  error.guard([&] { handOut(); });
}

ChangeLog TransactionEnd::setAside() noexcept {
  store_.formerStatusVariables.clear();
  asideBlock_.swap(recorder_.block());
  return std::exchange(log_, {});
}

void TransactionEnd::emitTransactionSignals(ChangeLog const& done, FirstError& error) {
  auto record = done.changes();
  bool const anyChange = reportsAnything(record);
  bool const removals = done.hasRemovals();
  if (removals) {
    expireDerived();
    error.guard([this] { followRemovals(); });
    auto removed = done.removals();
    signals_.emitChange(removed);
    record.removed = std::move(removed.removed);
  }
  simplifyTransactionRecord(record);
  handOut();
  if (!anyChange) return;
  if (!removals) expireDerived();
  // From here on nothing that fails takes away what was kept before. What could not be kept is worked out when it is
  // asked for.
  error.guard([this] { refreshStatistics(); });
  error.guard([&] { signals_.emitChange(record); });
}

void TransactionEnd::refreshStatistics() {
  statistics_.recompute();
  settle();
}

// Nothing but removals leads to no `recompute`; questions are spared the making of indices all the same. What cannot
// follow is of no use any more, and must not keep the record of what was touched from beginning anew.
void TransactionEnd::followRemovals() {
  if (!statistics_.follow()) statistics_.clear();
  settle();
}

// What slots touched after the calculation has to reach the next one.
void TransactionEnd::settle() {
  if (calculation_.calculatedAt() != store_.touched.now()) return;
  caseIndex_.follow();
  store_.touched.settle(store_.variables);
}

// Once, whatever the slots throw.
void TransactionEnd::handOut() {
  FirstError error;
  if (asideBlock_.hasCommands()) error.guard([this] { signals_.emitJournal(asideBlock_); });
  asideBlock_.restart();
  if (!recorder_.block().hasCommands()) asideBlock_.swap(recorder_.block());  // which has the room
  error.rethrow();
}

void TransactionEnd::expireDerived() noexcept {
  caseIndex_.expire();
  statistics_.expire();
}

}  // namespace casebook
