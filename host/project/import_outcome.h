#pragma once

#include "project/cell_changes.h"

#include <vector>

namespace casebook::cli {

/// What an import did.
struct ImportOutcome {
  std::size_t matched = 0;             ///< rows that went into cases that were there
  std::size_t added = 0;               ///< cases
  std::size_t attached = 0;            ///< files
  std::vector<std::size_t> leftOut;    ///< rows that bear the number of no case, ascending
  std::vector<ColumnChanges> changes;  ///< of variables that were there, where rows match cases
};

}  // namespace casebook::cli
