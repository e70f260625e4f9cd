#include "merge/imported_columns.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace casebook {

namespace {

constexpr std::string_view caseIdName = "Case ID";

[[noreturn]] void refuseTable(char const* message) { throw varnel::ExceptionBase{message, true}; }
[[noreturn]] void refuseInput(char const* message) { throw varnel::ExceptionBase{message, false}; }

std::string_view nameOf(ImportedColumn const& column) { return column.info->name; }

/// The variables by name.
class VariableNames {
 public:
  explicit VariableNames(Store const& store) {
    for (auto const& variable : store.variables.all()) variables_.emplace(variable.name, &variable);
  }

  /// The UID of the variable that the column goes into, which must be of its nature and type; 0 when there is none.
  [[nodiscard]] u64 match(ColumnInfo const& info) const {
    auto const found = variables_.find(info.name);
    if (found == variables_.end()) return 0;
    auto const& variable = *found->second;
    if (variable.nature != info.nature) refuseInput("Input column nature doesn't match existing column.");
    if (variable.dataType != info.dataType) refuseInput("Input column data type doesn't match existing column.");
    return variable.id;
  }

 private:
  std::map<std::string_view, DataVariable const*> variables_;
};

void checkContents(ColumnInfo const& info, std::vector<Variant> const& values) {
  auto const fits = [&](Variant const& cell) { return cell.type() == info.dataType || cell.isNull(); };
  if (!std::ranges::all_of(values, fits)) refuseInput("Input column data type doesn't match actual contents.");
}

void checkLengths(ImportedTable const& table) {
  auto const differs = [&](auto const& values) { return values.size() != table.front().size(); };
  if (std::ranges::any_of(table, differs)) refuseTable("The columns of the input table differ in length.");
}

}  // namespace

ImportedColumns matchColumns(Store const& store, ImportedTable const& table,
                             std::vector<ColumnInfo> const& descriptions) {
  if (table.size() != descriptions.size()) refuseTable("Mismatched table and descriptions sizes");
  VariableNames const variables{store};
  std::set<std::string_view> names;
  ImportedColumns columns;
  columns.reserve(table.size());
  for (std::size_t k = 0; k < table.size(); ++k) {
    auto const& info = descriptions[k];
    if (!names.insert(info.name).second) refuseTable("Input table contains duplicate column names.");
    u64 const variable = variables.match(info);
    checkContents(info, table[k]);
    columns.push_back({&info, &table[k], variable});
  }
  checkLengths(table);
  return columns;
}

ImportedColumns matchColumnsAgain(Store const& store, ImportedColumns columns) {
  std::set<u64> paired;
  for (auto const& column : columns)
    if (!column.isNew()) paired.insert(store.variables.at(column.variable).id);
  VariableNames const variables{store};
  for (auto& column : columns) {
    if (!column.isNew()) continue;
    u64 const variable = variables.match(*column.info);
    column.variable = paired.contains(variable) ? 0 : variable;
  }
  return columns;
}

std::vector<std::size_t> independentColumns(Store const& store, ImportedColumns const& columns) {
  std::vector<std::size_t> independent;
  for (std::size_t k = 0; k < columns.size(); ++k) {
    auto const& column = columns[k];
    auto const nature = column.isNew() ? column.info->nature : store.variables.at(column.variable).nature;
    if (nature == VariableNature::Independent) independent.push_back(k);
  }
  return independent;
}

void checkCaseIdColumn(ImportedColumns const& columns, MergeMethod method) {
  bool const hasCaseId = std::ranges::find(columns, caseIdName, nameOf) != columns.end();
  if (method != MergeMethod::ByCaseId) {
    if (hasCaseId) refuseInput("Attempt to merge where input contains 'Case ID' column.");
    return;
  }
  if (!hasCaseId) refuseInput("Attempt to merge by Case ID; input lacks 'Case ID' column.");
  if (nameOf(columns.front()) != caseIdName)
    refuseInput("Attempt to merge by Case ID; input lacks 'Case ID' as first column.");
}

}  // namespace casebook
