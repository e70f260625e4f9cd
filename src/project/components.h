#pragma once

#include "auxtags/aux_files.h"
#include "auxtags/rules.h"
#include "auxtags/tag_groups.h"
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
  Replay replay{store, recorder, table, auxFiles, tagGroups, variableRules, pathRules};
  TransactionEnd transactions{log, recorder, signals, caseIndex};

  Components() = default;
  Components(Components const&) = delete;
  Components& operator=(Components const&) = delete;
};

}  // namespace casebook
