#include "merge/merging.h"

#include "merge/filtered_aux_file_collection.h"
#include "merge/match_index.h"

#include <boost/smart_ptr/make_shared.hpp>

#include <algorithm>
#include <numeric>

namespace casebook {

namespace {

MatchIndex matchIndex(Store const& store, ImportedColumns const& columns, std::span<std::size_t const> selections) {
  std::vector<MatchIndex::Key> keys;
  for (auto const k : selections) keys.push_back({&store.variables.at(columns[k].variable).values, columns[k].values});
  return MatchIndex{std::move(keys)};
}

/// The records in the order of their rows, which is that of their UIDs.
std::vector<DataRecord const*> recordsByRow(Store const& store) {
  std::vector<DataRecord const*> records;
  records.reserve(store.records.size());
  for (auto const& record : store.records.all()) records.push_back(&record);
  return records;
}

}  // namespace

u64 countMatches(Store const& store, ImportedColumns const& columns, std::span<std::size_t const> selections) {
  auto const isNew = [&](std::size_t k) { return columns[k].isNew(); };
  if (selections.empty() || std::ranges::any_of(selections, isNew)) return 0;
  auto index = matchIndex(store, columns, selections);
  u64 matches = 0;
  for (u64 row = 0; row < columns.front().values->size(); ++row) matches += index.claim(row) != MatchIndex::none;
  return matches;
}

Merging::Merging(Store& store, Table& table, AuxFiles& auxFiles, std::function<u64()> const& addRecord,
                 ImportedColumns const& columns)
    : store_{store}, table_{table}, auxFiles_{auxFiles}, addRecord_{addRecord}, imported_{columns} {
  for (auto const& column : columns) columns_.push_back({&store_.variables.at(column.variable), column.values});
}

void Merging::append(Merge::AuxFileCollection const& auxFiles) {
  Rows rows(rowCount());
  std::iota(rows.begin(), rows.end(), u64{0});
  appendRows(rows, *auxFiles);
}

// Which rows match is settled before the first is written: a row is written only into cells that differ, and those of
// its key do not.
void Merging::match(std::vector<std::size_t> const& selections, Unmatched unmatched,
                    Merge::AuxFileCollection auxFiles) {
  Rows claims(rowCount());
  {
    auto index = matchIndex(store_, imported_, selections);
    for (u64 row = 0; row < claims.size(); ++row) claims[row] = index.claim(row);
  }
  auto const records = recordsByRow(store_);
  Rows rest;
  for (u64 row = 0; row < claims.size(); ++row) {
    if (claims[row] == MatchIndex::none) {
      rest.push_back(row);
      continue;
    }
    auto const& record = *records[claims[row]];
    addAuxFilesOfRow(record, *auxFiles, row);
    overwriteRow(record, row);
  }
  if (unmatched == Unmatched::Dropped || rest.empty()) return;
  if (!auxFiles->empty()) auxFiles = boost::make_shared<FilteredAuxFileCollection>(auxFiles, rest);
  appendRows(rest, *auxFiles);
}

void Merging::appendRows(Rows const& rows, AuxFileCollectionInterface const& auxFiles) {
  auto const records = addRecords(rows.size());
  for (auto const& [variable, values] : columns_)
    for (std::size_t k = 0; k < rows.size(); ++k) table_.setCell(*variable, *records[k], (*values)[rows[k]]);
  addAuxFiles(records, auxFiles);
}

std::vector<DataRecord const*> Merging::addRecords(u64 count) {
  table_.reserveRows(count);
  std::vector<DataRecord const*> records;
  records.reserve(count);
  while (records.size() < count) records.push_back(&store_.records.at(addRecord_()));
  return records;
}

void Merging::overwriteRow(DataRecord const& record, u64 inputRow) {
  for (auto const& [variable, values] : columns_) {
    auto const& value = (*values)[inputRow];
    if (table_.cell(*variable, record) != value) table_.setCell(*variable, record, value);
  }
}

void Merging::addAuxFiles(std::span<DataRecord const* const> records, AuxFileCollectionInterface const& auxFiles) {
  if (auxFiles.empty()) return;
  for (u64 row = 0; row < records.size(); ++row) addAuxFilesOfRow(*records[row], auxFiles, row);
}

void Merging::addAuxFilesOfRow(DataRecord const& record, AuxFileCollectionInterface const& auxFiles, u64 row) {
  auto existing = auxFiles_.ofRecord(record.id);
  for (auto const& tag : auxFiles.tags())
    for (auto const& path : auxFiles.files(row, tag)) auxFiles_.addUnique(record.id, existing, path, tag);
}

}  // namespace casebook
