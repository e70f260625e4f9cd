#pragma once

#include "csv/column_inference.h"
#include "csv/csv_reader.h"

#include <casebook/project.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// What a person asked for beside the table.
struct ImportWishes {
  MissingWords missing;
  std::vector<std::string> renames;       ///< OLD=NEW
  std::vector<std::string> types;         ///< NAME=number|text|integer
  std::vector<std::string> independents;  ///< names, as they are after renaming
};

/// One column of the table and the variable that it becomes.
struct PlannedColumn {
  enum class Role { Ordinary, CaseId, CaseStatus };

  std::size_t index = 0;  ///< in the table
  std::string name;
  Role role = Role::Ordinary;
  VariableDataType type = Variant::String;
  VariableNature nature = VariableNature::Unspecified;
  WeakPtr<Variable> existing;  ///< the variable of this name that the project has already
  std::size_t missing = 0;     ///< cells without a value
};

/// What an import is going to do; everything that could be refused has been.
struct ImportPlan {
  std::vector<PlannedColumn> columns;
  std::vector<std::string> hints;

  /// Throws Failure with a line for each reason, "`source`:line:column: ...".
  static ImportPlan make(CsvTable const& table, std::string_view source, ImportWishes const& wishes, Project& project);
};

}  // namespace casebook::cli
