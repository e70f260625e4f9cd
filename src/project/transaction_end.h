#pragma once

#include "auxtags/tag_removal.h"
#include "derived/calculation.h"
#include "derived/variable_statistics.h"
#include "store/case_index.h"
#include "transactions/deletion.h"
#include "transactions/recorder.h"

namespace casebook {

/// The depth of open transactions, and what happens when the outermost ends:
///
///   1. performDelayedErasures    2. updateCalculatedValues    3. TagRemoval::updateTagGroups
///   4. the log and the open block are set aside; what slots do from here on is a transaction of its own
///   5. emitTransactionSignals with what was set aside
///
/// Derived values are refreshed from what was touched: calculated columns in step 2, whose results are touched cells as
/// well, then statistics before the last signal; what of them follows few changes does so before that of removals, too.
/// An end that fails forgets nothing.
///
/// The depth is 0 throughout. A transaction that a slot opens, and changes that it makes outside one, end after step
/// 5, in the same way, as often as there is something to end. An exception skips to the end of step 5, where the
/// block is handed out if it was not; only one in the statistics does not keep the record from the slots. The first
/// exception passes when nothing waits any more.
class TransactionEnd {
 public:
  /// All are borrowed.
  TransactionEnd(Store& store, ChangeLog& log, Recorder& recorder, Signals& signals, CaseIndex& caseIndex,
                 Calculation& calculation, VariableStatistics& statistics, Deletion& deletion, TagRemoval& tagRemoval)
      : store_{store},
        log_{log},
        recorder_{recorder},
        signals_{signals},
        caseIndex_{caseIndex},
        calculation_{calculation},
        statistics_{statistics},
        deletion_{deletion},
        tagRemoval_{tagRemoval} {}

  void openLevel() noexcept { ++depth_; }
  /// At depth 0 it wraps, and nothing ends.
  void closeLevel();
  [[nodiscard]] u64 depth() const noexcept { return depth_; }
  /// For a project that takes another's place.
  void continueAt(u64 depth) noexcept { depth_ = depth; }

  /// Emits the reset signal, then ends what its slots left waiting.
  void emitReset();

  /// Brings the statistics up to date, and forgets what was touched when everything derived has seen it.
  void refreshStatistics();

 private:
  void endWaiting();
  void endOnce(FirstError& error);
  [[nodiscard]] bool waiting() const noexcept;
  [[nodiscard]] ChangeLog setAside() noexcept;
  /// Throws what fails before the statistics are rebuilt; what fails then is kept in `error`.
  void emitTransactionSignals(ChangeLog const& done, FirstError& error);
  void handOut();

  void followRemovals();
  void settle();
  void expireDerived() noexcept;

  Store& store_;
  ChangeLog& log_;
  Recorder& recorder_;
  Signals& signals_;
  CaseIndex& caseIndex_;
  Calculation& calculation_;
  VariableStatistics& statistics_;
  Deletion& deletion_;
  TagRemoval& tagRemoval_;
  OpenBlock asideBlock_;  // of the transaction that is ending, until it is handed out
  u64 depth_ = 0;
  bool ended_ = false;    // a level fell to 0 and its end has not begun
  bool running_ = false;  // an end is under way
};

}  // namespace casebook
