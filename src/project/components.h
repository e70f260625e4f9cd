#pragma once

#include "auxtags/aux_files.h"
#include "auxtags/rules.h"
#include "auxtags/tag_groups.h"
#include "derived/calculation.h"
#include "derived/variable_statistics.h"
#include "project/transaction_end.h"
#include "replay/replay.h"
#include "store/case_index.h"
#include "store/table.h"
#include "transactions/recorder.h"

namespace casebook {

/// All the state of a project. The order of declaration is the order of construction and of the floors.
struct Components {
  Store store;
  ChangeLog log;
  Signals signals;
  Recorder recorder{log, signals};
  Table table{store, recorder};
  CaseIndex caseIndex{store};
  AuxFiles auxFiles{store, recorder};
  TagGroups tagGroups{store, recorder};
  VariableRules variableRules{store, recorder};
  PathRules pathRules{store, recorder};
  Calculation calculation{store, table};
  VariableStatistics statistics{store};
  Deletion deletion{store, recorder, log, table};
  Replay replay{store, recorder, table, auxFiles, tagGroups, variableRules, pathRules, deletion};
  TransactionEnd transactions{store, log, recorder, signals, caseIndex, calculation, statistics, deletion};

  /// Back to the state of a new project; the depth of transactions and the slots stay.
  void restart() {
    table.restart();
    deletion.clear();
    log.clear();
    recorder.block().restart();
    caseIndex.clear();
    statistics.clear();
  }

  Components() = default;
  Components(Components const&) = delete;
  Components& operator=(Components const&) = delete;
};

}  // namespace casebook
