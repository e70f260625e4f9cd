#include "project/merge_keys.h"

#include "console/messages.h"
#include "project/table_problems.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ranges.h>

#include <algorithm>

namespace casebook::cli {
namespace {

Failure noKey(std::string_view source, Project& project) {
  std::vector<std::string> names;
  for (auto variable : project.variables())
    if (project.variableNature(variable.id()) == VariableNature::Independent)
      names.push_back(inQuotes(project.variableName(variable.id())));
  std::string const hint =
      names.empty() ? "casebook set-nature FILE NAME independent makes one of a variable."
                    : fmt::format("Independent in the project: {}; --rename \"OLD=NEW\" gives a column such a name.",
                                  fmt::join(names, ", "));
  return Failure{fmt::format("{}: There is no column to match by: none is an independent variable.", source), hint};
}

}  // namespace

MergeKeys::MergeKeys(std::vector<PlannedColumn> const& columns) {
  for (PlannedColumn const& column : columns)
    if (column.nature == VariableNature::Independent) keys_.push_back(&column);
}

std::vector<std::string> MergeKeys::names() const {
  std::vector<std::string> names(keys_.size());
  std::ranges::transform(keys_, names.begin(), [](auto const* key) { return key->name; });
  return names;
}

void MergeKeys::check(CsvTable const& table, std::string_view source, Project& project) const {
  if (keys_.empty()) throw noKey(source, project);
  if (project.empty()) return;
  TableProblems problems{table, source};
  for (auto const* key : keys_)
    if (!key->existing)
      problems.add(table.header()[key->index], [&] {
        return fmt::format("{} is new to the project: no case can match by it.", inQuotes(key->name));
      });
  bool const othersMatch = std::ranges::any_of(keys_, [](auto const* key) { return bool{key->existing}; });
  problems.throwIfAny(othersMatch ? "Without it rows match by the other keys; casebook set-nature makes it independent "
                                    "when it is there."
                                  : "--mode append adds every row as a new case.");
}

std::vector<std::string> MergeKeys::hints(CsvTable const& table, ImportWishes const& wishes) const {
  std::vector<std::string> hints;
  for (auto const* key : keys_)
    if (!wishes.keys.empty() && std::ranges::find(wishes.keys, key->name) == wishes.keys.end())
      hints.push_back(fmt::format("Rows match by {} too: it is an independent variable.", inQuotes(key->name)));
  auto const isMissing = [&](std::string_view text) { return text.empty() || wishes.missing.contains(text); };
  std::vector<std::size_t> keyless;
  for (std::size_t row = 0; row < table.rows(); ++row)
    if (std::ranges::all_of(keys_, [&](auto const* key) { return isMissing(table.cell(row, key->index).text); }))
      keyless.push_back(row);
  if (!keyless.empty())
    hints.push_back(fmt::format("{} without a key, the first on line {}: such rows match the cases that have none.",
                                counted(keyless.size(), "row"), table.place(table.cell(keyless.front(), 0)).line));
  return hints;
}

}  // namespace casebook::cli
