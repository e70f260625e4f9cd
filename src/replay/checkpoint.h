#pragma once

#include <casebook/journal.h>

#include "store/store.h"

namespace casebook {

/// The whole state as a block that restores it:
///
///   checkpoint = block of  RecordInserted*    each record, its row the one cell of "Case ID"
///                          VariableCreated*   each other variable with its column
///                          change item*       what differs in "Case ID" and in the project's texts
///                          AuxFileCreated* TagGroupCreated* VariableRegexCreated* PathRegexCreated*
///
/// each kind in ascending UID order.
[[nodiscard]] Journal::Checkpoint makeCheckpoint(Store const& store);

}  // namespace casebook
