#pragma once

#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/variable.h>

#include <string>
#include <vector>

namespace casebook::cli {

/// What became of the cells of a variable.
struct ColumnChanges {
  std::string variable;
  std::size_t changed = 0;
  std::size_t emptied = 0;  ///< of them: those that hold no value any more
};

/// The cells of some variables as they are before an edit, to be compared with what the edit leaves. It removes
/// neither cases nor variables.
class CellsBefore {
 public:
  CellsBefore(Project& project, std::vector<WeakPtr<Variable>> const& variables);

  /// In the order of the variables.
  [[nodiscard]] std::vector<ColumnChanges> changes(Project& project) const;

 private:
  std::vector<WeakPtr<Variable>> variables_;
  std::vector<WeakPtr<Record>> records_;
  std::vector<Variant> cells_;  // record by record
};

}  // namespace casebook::cli
