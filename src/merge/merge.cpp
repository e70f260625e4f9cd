#include "merge/merge.h"

#include "merge/match_index.h"
#include "merge/merging.h"

#include <boost/smart_ptr/make_shared.hpp>

#include <algorithm>
#include <utility>

namespace casebook {

MergeState::~MergeState() = default;

namespace {

/// What a prepared merge needs to be carried out.
struct MergeStateI : MergeState {
  std::weak_ptr<void const> life;  ///< of the store that the UIDs below are of
  ImportedTable table;
  std::vector<ColumnInfo> descriptions;
  ImportedColumns columns;              ///< they point into these two
  std::vector<std::size_t> selections;  ///< the columns of independent variables
};

}  // namespace

MergeInfo::MergeInfo() : state{boost::make_shared<MergeStateI>()} {}

MergeInfo Merge::prepare(ImportedTable const& table, std::vector<ColumnInfo> const& descriptions) const {
  MergeInfo info;
  auto& state = static_cast<MergeStateI&>(*info.state);
  state.life = store_.life;
  state.table = table;
  state.descriptions = descriptions;
  state.columns = matchColumns(store_, state.table, state.descriptions);
  state.selections = independentColumns(store_, state.columns);
  info.matchCount = countMatches(store_, state.columns, state.selections);
  return info;
}

void Merge::merge(MergeInfo const& info, AuxFileCollection const& auxFiles) {
  auto const* const state = dynamic_cast<MergeStateI const*>(info.state.get());
  if (!state || state->columns.empty()) return;
  auto const isPaired = [](ImportedColumn const& column) { return !column.isNew(); };
  if (state->life.lock() != store_.life && std::ranges::any_of(state->columns, isPaired)) refuseUnknownEntity();
  mergeColumns(matchColumnsAgain(store_, state->columns), info.method, state->selections, auxFiles);
}

void Merge::merge(ImportedTable const& table, std::vector<ColumnInfo> const& descriptions, MergeMethod method,
                  AuxFileCollection const& auxFiles) {
  auto columns = matchColumns(store_, table, descriptions);
  if (!columns.empty()) mergeColumns(std::move(columns), method, std::nullopt, auxFiles);
}

void Merge::mergeColumns(ImportedColumns columns, MergeMethod method, std::optional<Selections> independent,
                         AuxFileCollection const& auxFiles) {
  checkCaseIdColumn(columns, method);
  createImportedColumns(columns);
  Merging merging{store_, table_, auxFiles_, makers_, columns};
  switch (method) {
    case MergeMethod::Append: return merging.append(auxFiles);
    case MergeMethod::ByCaseId: return merging.match({0}, Merging::Unmatched::Dropped, auxFiles);
    case MergeMethod::ByIndependentVariables: {
      auto selections = independent ? std::move(*independent) : independentColumns(store_, columns);
      if (store_.records.empty() || selections.empty()) return merging.append(auxFiles);
      return merging.match(selections, Merging::Unmatched::Appended, auxFiles);
    }
  }
  throw varnel::ExceptionBase{"Invalid MergeMethod parameter to merge()", true};
}

void Merge::createImportedColumns(ImportedColumns& columns) {
  for (auto& column : columns) {
    if (!column.isNew()) continue;
    bool const isText = column.info->dataType == Variant::String;
    column.variable = makers_.addVariable(*column.info, isText ? Variant{""} : Variant{});
  }
}

}  // namespace casebook
