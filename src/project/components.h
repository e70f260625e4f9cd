#pragma once

#include "auxtags/aux_files.h"
#include "auxtags/file_tags.h"
#include "auxtags/rules.h"
#include "auxtags/tag_groups.h"
#include "auxtags/tag_removal.h"
#include "derived/calculation.h"
#include "derived/variable_statistics.h"
#include "merge/merge.h"
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
  StaleTags staleTags;
  VariableChanges variableChanges;
  Recorder recorder{log, signals, staleTags, variableChanges};
  Table table{store, recorder};
  CaseIndex caseIndex{store};
  AuxFiles auxFiles{store, recorder};
  TagGroups tagGroups{store, recorder};
  VariableRules variableRules{store, recorder};
  PathRules pathRules{store, recorder};
  Calculation calculation{store, table, variableChanges};
  VariableStatistics statistics{store};
  FileTags fileTags{store, staleTags};
  Deletion deletion{store, recorder, log, table};
  TagRemoval tagRemoval;
  Replay replay{store, recorder, table, auxFiles, tagGroups, variableRules, pathRules, deletion};
  Merge merge;
  TransactionEnd transactions{store, log, recorder, signals, caseIndex, calculation, statistics, deletion, tagRemoval};

  /// Back to the state of a new project; the depth of transactions and the slots stay.
  void restart() {
    table.restart();
    deletion.clear();
    log = {};
    recorder.block().restart();
    caseIndex.clear();
    statistics.clear();
    fileTags.clear();
  }

  /// What is given are operations of the face, which a host may have overridden.
  Components(TagRemoval::RemoveTag removeTag, Merge::Makers makers)
      : tagRemoval{store, fileTags, staleTags, deletion, log, std::move(removeTag)},
        merge{store, table, auxFiles, std::move(makers)} {}
  Components(Components const&) = delete;
  Components& operator=(Components const&) = delete;
};

}  // namespace casebook
