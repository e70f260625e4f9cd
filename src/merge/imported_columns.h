#pragma once

#include <casebook/merge.h>

#include "store/store.h"

#include <vector>

namespace casebook {

/// The cells of a table, column by column, each in the order of the rows.
using ImportedTable = std::vector<std::vector<Variant>>;

/// One column of an imported table and the variable of its name. Points into the table and its descriptions.
struct ImportedColumn {
  ColumnInfo const* info;
  std::vector<Variant> const* values;
  u64 variable;  ///< 0 while there is none

  [[nodiscard]] bool isNew() const noexcept { return variable == 0; }
};

using ImportedColumns = std::vector<ImportedColumn>;

/// Pairs each column with the variable of its name, of two such variables with that of lower UID. Throws what
/// Project::merge_prep says of a table that does not fit its descriptions or the variables.
[[nodiscard]] ImportedColumns matchColumns(Store const& store, ImportedTable const& table,
                                           std::vector<ColumnInfo> const& descriptions);

/// Columns that were paired earlier, as the variables are now: one that was paired must still have its variable, else
/// throws ("Attempted to look up unknown data entity", true); one that was new may have found one since that no other
/// has, which must agree with it as in matchColumns.
[[nodiscard]] ImportedColumns matchColumnsAgain(Store const& store, ImportedColumns columns);

/// The numbers of the columns of independent variables, ascending.
[[nodiscard]] std::vector<std::size_t> independentColumns(Store const& store, ImportedColumns const& columns);

/// Whether "Case ID" has a place among the columns that the method allows; throws as Project::merge says.
void checkCaseIdColumn(ImportedColumns const& columns, MergeMethod method);

}  // namespace casebook
