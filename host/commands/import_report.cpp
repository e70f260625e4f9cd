#include "commands/import_report.h"

#include "console/messages.h"
#include "console/table_view.h"
#include "project/table_problems.h"
#include "project/words.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ostream.h>

#include <algorithm>

namespace casebook::cli {
namespace {

using Role = PlannedColumn::Role;

std::string typeOf(PlannedColumn const& column, bool isMerged) {
  if (column.role == Role::Files) return "files";
  return typeWord(column.type) + (isMerged && !column.existing ? ", new" : "");
}

std::string countCell(std::size_t count) { return count == 0 ? "" : std::to_string(count); }

}  // namespace

ImportReport::ImportReport(CsvTable const& table, std::string source, ImportPlan const& plan,
                           ImportOutcome const& outcome)
    : table_{table}, source_{std::move(source)}, plan_{plan}, outcome_{outcome} {
  for (ColumnChanges const& column : outcome.changes) changes_.emplace(column.variable, column);
}

void ImportReport::print(Console& console, bool isDryRun) const {
  std::string const rows = counted(table_.rows(), plan_.method ? "row" : "case");
  fmt::print(console.out, "{} {} from {}.\n", isDryRun ? "Dry run, nothing is stored:" : "Imported", rows, source_);
  printCounts(console);
  fmt::print(console.out, "\n");
  printColumns(console);
}

void ImportReport::warnOfLeftOut(Console& console) const {
  TableProblems problems{table_, source_};
  auto const caseId = std::ranges::find(plan_.columns, Role::CaseId, &PlannedColumn::role);
  for (std::size_t row : outcome_.leftOut) {
    CsvCell const& cell = table_.cell(row, caseId->index);
    problems.add(cell, [&] { return fmt::format("There is no case {}; the row is left out.", cell.text); });
  }
  for (std::string const& sentence : problems.sentences()) printWarning(console, sentence);
}

void ImportReport::printCounts(Console& console) const {
  auto const tell = [&](std::string_view heading, std::string const& words) {
    fmt::print(console.out, "{:<16}{}\n", heading, words);
  };
  bool const byCaseId = plan_.method == MergeMethod::ByCaseId;
  if (matches()) tell("Rows matched", fmt::format("{}, by {}", outcome_.matched, keyWords()));
  if (byCaseId) tell("Rows left out", std::to_string(outcome_.leftOut.size()));
  if (plan_.method && !byCaseId) tell("Cases added", std::to_string(outcome_.added));
  if (matches()) tell("Cells changed", changeWords());
  if (hasFiles()) tell("Files attached", std::to_string(outcome_.attached));
}

std::string ImportReport::keyWords() const {
  if (plan_.method == MergeMethod::ByCaseId) return inQuotes(caseIdName);
  std::string words;
  for (std::string const& key : plan_.keys) words += (words.empty() ? "" : ", ") + inQuotes(key);
  return words;
}

std::string ImportReport::changeWords() const {
  std::size_t changed = 0;
  std::size_t emptied = 0;
  for (ColumnChanges const& column : outcome_.changes) {
    changed += column.changed;
    emptied += column.emptied;
  }
  return emptied == 0 ? std::to_string(changed) : fmt::format("{}, {} of them emptied", changed, emptied);
}

void ImportReport::printColumns(Console& console) const {
  TableView view;
  view.addColumn(hasFiles() ? "Column" : "Variable");
  view.addColumn("Type");
  view.addColumn("Missing", TableView::Align::Right);
  if (matches()) {
    view.addColumn("Changed", TableView::Align::Right);
    view.addColumn("Emptied", TableView::Align::Right);
  }
  for (PlannedColumn const& column : plan_.columns) view.addRow(row(column));
  view.print(console);
}

std::vector<std::string> ImportReport::row(PlannedColumn const& column) const {
  std::vector<std::string> cells{column.name, typeOf(column, plan_.method.has_value()), countCell(column.missing)};
  if (!matches()) return cells;
  auto const found = changes_.find(column.name);
  ColumnChanges const changes = found == changes_.end() ? ColumnChanges{} : found->second;
  cells.push_back(countCell(changes.changed));
  cells.push_back(countCell(changes.emptied));
  return cells;
}

bool ImportReport::matches() const { return plan_.method && plan_.method != MergeMethod::Append; }

bool ImportReport::hasFiles() const {
  return std::ranges::find(plan_.columns, Role::Files, &PlannedColumn::role) != plan_.columns.end();
}

}  // namespace casebook::cli
