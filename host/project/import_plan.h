#pragma once

#include "csv/column_inference.h"
#include "csv/csv_reader.h"

#include <casebook/merge.h>
#include <casebook/project.h>
#include <casebook/variable.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// What a person asked for beside the table.
struct ImportWishes {
  MissingWords missing;
  std::vector<std::string> renames;       ///< OLD=NEW
  std::vector<std::string> types;         ///< NAME=number|text|integer
  std::vector<std::string> independents;  ///< names, as all that follow as they are after renaming
  std::optional<MergeMethod> method;      ///< none fills a project that has no cases
  std::vector<std::string> keys;          ///< as `independents`; rows are to match by them
  std::vector<std::string> files;         ///< columns of paths of files
  bool ignoreCaseId = false;              ///< leaves the column "Case ID" out
};

/// One column of the table and the variable that it becomes. The paths of a column of files become none; the column's
/// name is their tag.
struct PlannedColumn {
  enum class Role { Ordinary, CaseId, CaseStatus, Files };

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
  std::vector<std::string> keys;  ///< the columns that rows match by, where they match by values
  std::optional<MergeMethod> method;
  MissingWords missing;

  /// Throws Failure with a line for each reason, "`source`:line:column: ...".
  static ImportPlan make(CsvTable const& table, std::string_view source, ImportWishes const& wishes, Project& project);

  /// What a cell of this text gives a column of this type, which was found to hold it.
  [[nodiscard]] Variant value(std::string_view text, VariableDataType type) const;
};

}  // namespace casebook::cli
