#pragma once

#include "project/import_plan.h"

#include <functional>

namespace casebook::cli {

/// Fills the project of the transaction, which has no cases, with the rows of a table. `progress` is told how many of
/// how many rows are in.
void importTable(Transaction& transaction, CsvTable const& table, ImportPlan const& plan, MissingWords const& missing,
                 std::function<void(std::size_t, std::size_t)> const& progress);

}  // namespace casebook::cli
