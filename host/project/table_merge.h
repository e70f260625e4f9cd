#pragma once

#include "console/messages.h"
#include "project/import_outcome.h"
#include "project/import_plan.h"
#include "project/table_files.h"

#include <boost/smart_ptr/shared_ptr.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// A table on its way into a project by a merge.
class TableMerge {
 public:
  using Files = boost::shared_ptr<TableFiles const>;
  using Progress = std::function<void(std::size_t, std::size_t)>;

  /// All are borrowed but the files. The plan was made for this method.
  TableMerge(CsvTable const& table, std::string_view source, ImportPlan const& plan, MergeMethod method, Files files)
      : table_{table}, source_{source}, plan_{plan}, method_{method}, files_{std::move(files)} {}

  /// Carries the merge out, once. `progress` is told how far it is. Throws Failure where the library refuses the table
  /// for its column "Case ID", or for the lack of one.
  [[nodiscard]] ImportOutcome run(Transaction& transaction, Progress const& progress);

 private:
  [[nodiscard]] PlannedColumn const* find(PlannedColumn::Role role) const;
  void makeStatus(Project& project) const;
  void giveStatus(Project& project) const;
  void readTable(Project& project, Progress const& progress);
  void readColumn(Project& project, PlannedColumn const& column);
  [[nodiscard]] std::vector<std::size_t> rowsOfNoCase() const;
  [[nodiscard]] std::vector<WeakPtr<Variable>> overwritten(Project& project) const;
  void merge(Project& project);
  void keepNumbersApart(Project& project) const;
  [[nodiscard]] Failure refusal(std::string const& message) const;

  CsvTable const& table_;
  std::string_view source_;
  ImportPlan const& plan_;
  MergeMethod method_;
  Files files_;
  std::vector<std::uint32_t> numbersBefore_;  // of the cases, ascending
  std::vector<std::vector<Variant>> cells_;   // column by column
  std::vector<ColumnInfo> descriptions_;
  ImportOutcome outcome_;
};

}  // namespace casebook::cli
