#include "project/cell_changes.h"

#include "project/words.h"

namespace casebook::cli {
namespace {

/// Calls `visit` with each cell, record by record, and the number of its variable.
template <class Visit>
void eachCell(Project& project, std::vector<WeakPtr<Record>> const& records,
              std::vector<WeakPtr<Variable>> const& variables, Visit const& visit) {
  std::vector<Variable> locked;
  locked.reserve(variables.size());
  for (auto variable : variables) locked.push_back(variable.lock());
  for (auto weak : records) {
    Record const record = weak.lock();
    for (std::size_t i = 0; i < locked.size(); ++i) visit(i, project.value(locked[i], record));
  }
}

}  // namespace

CellsBefore::CellsBefore(Project& project, std::vector<WeakPtr<Variable>> const& variables)
    : variables_{variables}, records_{project.records()} {
  cells_.reserve(records_.size() * variables_.size());
  eachCell(project, records_, variables_, [this](std::size_t, Variant const& cell) { cells_.push_back(cell); });
}

std::vector<ColumnChanges> CellsBefore::changes(Project& project) const {
  std::vector<ColumnChanges> changes;
  changes.reserve(variables_.size());
  for (auto variable : variables_) changes.push_back({project.variableName(variable.id()), 0, 0});
  auto before = cells_.begin();
  eachCell(project, records_, variables_, [&](std::size_t i, Variant const& cell) {
    bool const isChanged = *before != cell;
    changes[i].changed += isChanged;
    changes[i].emptied += isChanged && isMissing(cell) && !isMissing(*before);
    ++before;
  });
  return changes;
}

}  // namespace casebook::cli
