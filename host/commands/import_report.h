#pragma once

#include "console/console.h"
#include "project/import_outcome.h"
#include "project/import_plan.h"

#include <map>
#include <string>
#include <vector>

namespace casebook::cli {

/// What an import did, or would do, as it is told to a person. All are borrowed but the table's name.
class ImportReport {
 public:
  ImportReport(CsvTable const& table, std::string source, ImportPlan const& plan, ImportOutcome const& outcome);

  void print(Console& console, bool isDryRun) const;
  void warnOfLeftOut(Console& console) const;

 private:
  void printCounts(Console& console) const;
  void printColumns(Console& console) const;
  [[nodiscard]] std::string keyWords() const;
  [[nodiscard]] std::string changeWords() const;
  [[nodiscard]] std::vector<std::string> row(PlannedColumn const& column) const;
  [[nodiscard]] bool matches() const;
  [[nodiscard]] bool hasFiles() const;

  CsvTable const& table_;
  std::string source_;
  ImportPlan const& plan_;
  ImportOutcome const& outcome_;
  std::map<std::string, ColumnChanges> changes_;
};

}  // namespace casebook::cli
