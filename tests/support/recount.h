#pragma once

#include "support/current_project.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace casebook::test {

using Cases = std::map<Variant, std::set<u64>>;

inline std::vector<std::string> exactly(std::vector<Variant> const& values) {
  std::vector<std::string> texts;
  for (auto const& value : values) texts.push_back(casebook::exactly(value));
  return texts;
}

inline std::vector<Variant> cellsOf(Project& project, u64 variable) {
  std::vector<Variant> cells;
  Variable const column{variable, NoLockRequired{}};
  for (auto const record : project.records()) cells.push_back(project.value(column, {record.id(), NoLockRequired{}}));
  return cells;
}

/// The cases of each value as the table stands; of equal values the first row's is the key.
inline Cases recount(Project& project, u64 variable) {
  Cases cases;
  auto const ids = cellsOf(project, project.getCaseIDColumn().id());
  auto const cells = cellsOf(project, variable);
  for (std::size_t row = 0; row < cells.size(); ++row) cases[cells[row]].insert(ids[row].longValue());
  return cases;
}

inline std::vector<Variant> uniqueIn(Cases const& cases) {
  std::vector<Variant> values;
  for (auto const& [value, held] : cases)
    if (value != Variant{} && value != Variant::nan()) values.push_back(value);
  return values;
}

}  // namespace casebook::test
