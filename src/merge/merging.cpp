#include "merge/merging.h"

#include "merge/filtered_aux_file_collection.h"
#include "merge/match_index.h"

#include <boost/smart_ptr/make_shared.hpp>

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <utility>

namespace casebook {

namespace {

MatchIndex matchIndex(Store const& store, ImportedColumns const& columns, std::span<std::size_t const> selections) {
  std::vector<MatchIndex::Key> keys;
  for (auto const k : selections) keys.push_back({&store.variables.at(columns[k].variable).values, columns[k].values});
  return MatchIndex{std::move(keys)};
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

Merging::Merging(Store& store, Table& table, AuxFiles& auxFiles, Merge::Makers const& makers,
                 ImportedColumns const& columns)
    : store_{store}, table_{table}, auxFiles_{auxFiles}, makers_{makers}, imported_{columns} {
  lookUpColumns();
}

void Merging::lookUpColumns() {
  columns_.clear();
  for (auto const& column : imported_) columns_.push_back({&store_.variables.at(column.variable), column.values});
}

void Merging::append(Merge::AuxFileCollection auxFiles) {
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
  std::vector<Match> matches;
  Rows rest;
  for (u64 row = 0; row < claims.size(); ++row) {
    if (claims[row] == MatchIndex::none) rest.push_back(row);
    else matches.push_back({row, store_.recordOfRow[claims[row]]});
  }
  overwrite(matches, *auxFiles);
  if (unmatched == Unmatched::Dropped || rest.empty()) return;
  if (!auxFiles->empty()) auxFiles = boost::make_shared<FilteredAuxFileCollection>(auxFiles, rest);
  appendRows(rest, *auxFiles);
}

void Merging::appendRows(Rows const& rows, AuxFileCollectionInterface const& auxFiles) {
  auto const uids = addRecords(rows.size());
  auto const records = lookUp(uids);
  lookUpColumns();
  for (auto const& [variable, values] : columns_)
    for (std::size_t k = 0; k < rows.size(); ++k) table_.setCell(*variable, records[k], (*values)[rows[k]]);
  addAuxFiles(uids, auxFiles);
}

Merging::Rows Merging::addRecords(u64 count) {
  std::optional<Table::RowsAhead> ahead;
  if (makers_.areTheTables()) ahead.emplace(table_, count);
  Rows records;
  records.reserve(count);
  while (records.size() < count) records.push_back(makers_.addRecord());
  return records;
}

std::vector<RecordRow> Merging::lookUp(Rows const& records) const {
  std::vector<RecordRow> found;
  found.reserve(records.size());
  for (u64 const uid : records) found.push_back(store_.rowOf(uid));
  return found;
}

// Cells lie together by column, but are to be written by row: which of them differ is found for some rows at a time,
// whose cells stay in the cache until they are written, and are asked of the memory a column ahead.
void Merging::overwrite(std::span<Match const> matches, AuxFileCollectionInterface const& auxFiles) {
  std::vector<Difference> differences(rowsAtATime);
  while (!matches.empty()) {
    auto const block = matches.first(std::min(rowsAtATime, matches.size()));
    findDifferences(block, differences);
    u64 asFound = store_.touched.now();
    for (std::size_t k = 0; k < block.size(); ++k) {
      u64 const inputRow = block[k].inputRow;
      addAuxFilesOfRow(block[k].record, auxFiles, inputRow);
      if (store_.touched.now() != asFound) {  // the collection has edited the table
        lookUpColumns();
        findDifferences(block.subspan(k), std::span{differences}.subspan(k));
      }
      auto const& [record, columns] = differences[k];
      for (auto const column : columns)
        table_.setCell(*columns_[column].variable, record, (*columns_[column].values)[inputRow]);
      asFound = store_.touched.now();
    }
    matches = matches.subspan(block.size());
  }
}

void Merging::findDifferences(std::span<Match const> matches, std::span<Difference> differences) const {
  std::array<u64, rowsAtATime> rows;
  for (std::size_t k = 0; k < matches.size(); ++k) {
    differences[k].record = store_.rowOf(matches[k].record);
    differences[k].columns.clear();
    rows[k] = differences[k].record.row;
  }
  for (std::size_t column = 0; column < columns_.size(); ++column) {
    auto const& [variable, values] = columns_[column];
    auto const& next = columns_[std::min(column + 1, columns_.size() - 1)];
    for (std::size_t k = 0; k < matches.size(); ++k) {
      __builtin_prefetch(&next.variable->values[rows[k]]);
      if (variable->values[rows[k]] != (*values)[matches[k].inputRow]) differences[k].columns.push_back(column);
    }
  }
}

void Merging::addAuxFiles(Rows const& records, AuxFileCollectionInterface const& auxFiles) {
  if (auxFiles.empty()) return;
  for (u64 row = 0; row < records.size(); ++row) addAuxFilesOfRow(records[row], auxFiles, row);
}

// The record's files are looked up when the collection, which may edit them, has answered.
void Merging::addAuxFilesOfRow(u64 record, AuxFileCollectionInterface const& auxFiles, u64 row) {
  std::vector<std::pair<std::string, std::vector<std::string>>> answers;
  for (auto const& tag : auxFiles.tags()) answers.emplace_back(tag, auxFiles.files(row, tag));
  if (answers.empty()) return (void)store_.records.at(record);
  auto existing = auxFiles_.ofRecord(record);
  for (auto const& [tag, paths] : answers)
    for (auto const& path : paths) auxFiles_.addUnique(record, existing, path, tag);
}

}  // namespace casebook
