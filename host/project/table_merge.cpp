#include "project/table_merge.h"

#include "project/cell_changes.h"
#include "project/lookup.h"
#include "project/table_problems.h"
#include "project/words.h"

#include <casebook/exception_base.h>
#include <casebook/record.h>
#include <casebook/transaction.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <span>

namespace casebook::cli {

using Role = PlannedColumn::Role;

ImportOutcome TableMerge::run(Transaction& transaction, Progress const& progress) {
  Project& project = transaction.project();
  numbersBefore_ = caseIds(project);
  std::size_t const files = project.auxFiles().size();
  makeStatus(project);
  readTable(project, progress);
  CellsBefore const before{project, overwritten(project)};
  merge(project);
  outcome_.changes = before.changes(project);
  giveStatus(project);
  keepNumbersApart(project);
  outcome_.added = project.records().size() - numbersBefore_.size();
  outcome_.attached = project.auxFiles().size() - files;
  return std::move(outcome_);
}

PlannedColumn const* TableMerge::find(Role role) const {
  auto const column = std::ranges::find(plan_.columns, role, &PlannedColumn::role);
  return column == plan_.columns.end() ? nullptr : &*column;
}

// "Case Status" comes into being with the first status that a case is given: before the merge where there are cases,
// else after it. Rows have become cases in their order then.
void TableMerge::makeStatus(Project& project) const {
  bool const isNew = find(Role::CaseStatus) != nullptr && !project.variable(std::string{caseStatusName});
  if (isNew && !project.empty()) project.activate(project.records().front().id(), true);
}

void TableMerge::giveStatus(Project& project) const {
  auto const* const status = find(Role::CaseStatus);
  if (status == nullptr || project.variable(status->name)) return;
  auto const records = project.records();
  for (std::size_t row = 0; row < records.size(); ++row) {
    bool const isActive = table_.cell(row, status->index).text == activeWord;
    if (row == 0 || !isActive) project.activate(records[row].id(), isActive);
  }
}

// How far the merge itself is, nobody tells: it is the second half.
void TableMerge::readTable(Project& project, Progress const& progress) {
  // The library wants the cases' numbers in front.
  if (auto const* const caseId = find(Role::CaseId)) readColumn(project, *caseId);
  for (PlannedColumn const& column : plan_.columns) {
    bool const isStatus = column.role == Role::CaseStatus && project.variable(column.name);
    if (column.role == Role::Ordinary || isStatus) readColumn(project, column);
    progress(column.index + 1, 2 * table_.columns());
  }
}

void TableMerge::readColumn(Project& project, PlannedColumn const& column) {
  auto const variable = project.variable(column.name);
  descriptions_.push_back({column.name, variable ? project.variableNature(variable.id()) : column.nature, column.type});
  auto& cells = cells_.emplace_back(table_.rows());
  if (column.role == Role::CaseId && method_ != MergeMethod::ByCaseId) return;  // refused, whatever it holds
  for (std::size_t row = 0; row < cells.size(); ++row) {
    std::string_view const text = table_.cell(row, column.index).text;
    // A status is never missing, whatever word stands for that.
    cells[row] = column.role == Role::CaseStatus ? Variant{std::string{text}} : plan_.value(text, column.type);
  }
}

std::vector<std::size_t> TableMerge::rowsOfNoCase() const {
  auto const& wanted = cells_.front();
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; row < wanted.size(); ++row)
    if (!std::ranges::binary_search(numbersBefore_, wanted[row].longValue())) rows.push_back(row);
  return rows;
}

std::vector<WeakPtr<Variable>> TableMerge::overwritten(Project& project) const {
  std::vector<WeakPtr<Variable>> variables;
  if (method_ == MergeMethod::Append) return variables;
  for (ColumnInfo const& column : descriptions_)
    if (auto const variable = project.variable(column.name); variable && column.name != caseIdName)
      variables.push_back(variable);
  return variables;
}

void TableMerge::merge(Project& project) {
  MergeInfo prepared = project.merge_prep(cells_, descriptions_);
  prepared.method = method_;
  try {
    project.merge(prepared, files_);
  } catch (varnel::ExceptionBase const& e) {
    if (!std::string_view{e.what()}.starts_with("Attempt to merge")) throw;
    throw refusal(e.what());
  }
  if (method_ == MergeMethod::ByCaseId) {
    outcome_.leftOut = rowsOfNoCase();
    outcome_.matched = table_.rows() - outcome_.leftOut.size();
  } else if (method_ == MergeMethod::ByIndependentVariables) {
    outcome_.matched = static_cast<std::size_t>(prepared.matchCount);
  }
}

// The library counts on from the last case, whose number need not be the largest.
void TableMerge::keepNumbersApart(Project& project) const {
  Variable const numbers = project.getCaseIDColumn().lock();
  auto const records = project.records();
  std::span const added = std::span{records}.subspan(numbersBefore_.size());
  auto const clashes = [&](WeakPtr<Record> record) {
    u64 const number = record.lock().data(numbers).longValue();
    return number > UINT32_MAX || std::ranges::binary_search(numbersBefore_, number);
  };
  if (std::ranges::none_of(added, clashes)) return;
  auto const free = freeCaseIds(numbersBefore_, added.size());
  for (std::size_t i = 0; i < added.size(); ++i)
    project.setValue(numbers, added[i].lock(), Variant{free[i], Variant::UnsignedInteger});
}

Failure TableMerge::refusal(std::string const& message) const {
  auto const* const caseId = find(Role::CaseId);
  if (caseId == nullptr)
    return Failure{fmt::format("{}: {}", source_, message),
                   "--rename \"NAME=Case ID\" tells which column holds the cases' numbers."};
  return Failure{at(source_, table_.place(table_.header()[caseId->index]), message),
                 "--ignore-case-id leaves the column out; --mode by-id matches rows by it."};
}

}  // namespace casebook::cli
