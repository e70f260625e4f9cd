#include "project/table_files.h"

#include "project/attachment.h"
#include "project/table_problems.h"
#include "project/tags.h"
#include "text/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace casebook::cli {

TableFiles::TableFiles(Project& project, CsvTable const& table, ImportPlan const& plan) : table_{table} {
  bool const hasFiles =
      std::ranges::find(plan.columns, PlannedColumn::Role::Files, &PlannedColumn::role) != plan.columns.end();
  if (!hasFiles) return;
  for (auto const file : project.auxFiles())
    known_.emplace(placeOf(project, file).string(), project.auxFileRawPath(file.id()));
  for (PlannedColumn const& planned : plan.columns) {
    if (planned.role != PlannedColumn::Role::Files) continue;
    checkTag(planned.name);
    Column& column = columns_.emplace_back(Column{planned.name, planned.index, {}});
    for (std::size_t row = 0; row < table.rows(); ++row) {
      std::string_view const path = table.cell(row, planned.index).text;
      column.places.push_back(plan.missing.contains(path) ? Place{} : place(project, std::string{path}));
    }
  }
}

TableFiles::Place TableFiles::place(Project& project, std::string const& path) const {
  if (path.empty()) return {};
  FilePlace const place{project, path};
  std::error_code error;
  auto const known = known_.find(place.path().string());
  return {known == known_.end() ? place.stored() : known->second, std::filesystem::exists(place.path(), error)};
}

std::set<std::string> TableFiles::tags() const {
  std::set<std::string> tags;
  for (Column const& column : columns_) tags.insert(column.tag);
  return tags;
}

std::vector<std::string> TableFiles::files(u64 row, std::string const& tag) const {
  auto const column = std::ranges::find(columns_, tag, &Column::tag);
  if (column == columns_.end() || column->places[row].stored.empty()) return {};
  return {column->places[row].stored};
}

std::vector<std::string> TableFiles::absent(std::vector<std::size_t> const& leftOut, std::string_view source) const {
  TableProblems problems{table_, source};
  for (std::size_t row = 0; row < table_.rows(); ++row) {
    if (std::ranges::binary_search(leftOut, row)) continue;
    for (Column const& column : columns_) {
      CsvCell const& cell = table_.cell(row, column.index);
      if (!column.places[row].isThere)
        problems.add(cell, [&] { return fmt::format("{}: There is no such file.", inQuotes(cell.text)); });
    }
  }
  return problems.sentences();
}

}  // namespace casebook::cli
