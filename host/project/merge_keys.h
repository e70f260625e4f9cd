#pragma once

#include "project/import_plan.h"

#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// The columns by whose values the rows of a table are to match cases: those of independent variables.
class MergeKeys {
 public:
  /// The columns are borrowed.
  explicit MergeKeys(std::vector<PlannedColumn> const& columns);

  [[nodiscard]] std::vector<std::string> names() const;

  /// Throws Failure when there is no key, or when there are cases, and one of the keys is new to them: each row would
  /// then become a new case.
  void check(CsvTable const& table, std::string_view source, Project& project) const;

  /// What is to be known of keys that nobody named, and of rows without a key.
  [[nodiscard]] std::vector<std::string> hints(CsvTable const& table, ImportWishes const& wishes) const;

 private:
  std::vector<PlannedColumn const*> keys_;
};

}  // namespace casebook::cli
