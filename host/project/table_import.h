#pragma once

#include "project/import_outcome.h"
#include "project/import_plan.h"
#include "project/table_files.h"

#include <functional>

namespace casebook::cli {

/// Fills the project of the transaction, which has no cases, with the rows of a table and their files. `progress` is
/// told how many of how many rows are in.
ImportOutcome importTable(Transaction& transaction, CsvTable const& table, ImportPlan const& plan,
                          TableFiles const& files, std::function<void(std::size_t, std::size_t)> const& progress);

}  // namespace casebook::cli
