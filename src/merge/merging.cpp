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
  std::vector<Match> matches;
  Rows rest;
  for (u64 row = 0; row < claims.size(); ++row) {
    if (claims[row] == MatchIndex::none) rest.push_back(row);
    else matches.push_back({row, records[claims[row]]});
  }
  overwrite(matches, *auxFiles);
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
  Table::RowsAhead const ahead{table_, count};
  std::vector<DataRecord const*> records;
  records.reserve(count);
  while (records.size() < count) records.push_back(&store_.records.at(addRecord_()));
  return records;
}

// Cells lie together by column, but are to be written by row: which of them differ is found for some rows at a time,
// whose cells stay in the cache until they are written.
void Merging::overwrite(std::span<Match const> matches, AuxFileCollectionInterface const& auxFiles) {
  std::vector<std::vector<std::size_t>> differing(rowsAtATime);
  while (!matches.empty()) {
    auto const block = matches.first(std::min(rowsAtATime, matches.size()));
    findDifferences(block, differing);
    u64 const found = store_.touched.now();
    u64 written = 0;
    for (std::size_t k = 0; k < block.size(); ++k) {
      auto const& [inputRow, record] = block[k];
      addAuxFilesOfRow(*record, auxFiles, inputRow);
      // A collection that edits the table while it is asked makes what was found worth nothing.
      if (store_.touched.now() != found + written) findDifferences(block.subspan(k), std::span{differing}.subspan(k));
      for (auto const column : differing[k]) overwriteCell(columns_[column], block[k]);
      written = store_.touched.now() - found;
    }
    matches = matches.subspan(block.size());
  }
}

void Merging::findDifferences(std::span<Match const> matches, std::span<std::vector<std::size_t>> differing) const {
  for (auto& columns : differing.first(matches.size())) columns.clear();
  for (std::size_t column = 0; column < columns_.size(); ++column) {
    auto const& [variable, values] = columns_[column];
    for (std::size_t k = 0; k < matches.size(); ++k)
      if (variable->values[matches[k].record->row] != (*values)[matches[k].inputRow]) differing[k].push_back(column);
  }
}

void Merging::overwriteCell(Column const& column, Match const& match) {
  table_.setCell(*column.variable, *match.record, (*column.values)[match.inputRow]);
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
