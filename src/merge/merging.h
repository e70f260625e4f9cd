#pragma once

#include "merge/merge.h"

#include <span>

namespace casebook {

/// The number of rows that would match a record each by their values in the selected columns: none while one of the
/// columns is new, or when no column is selected.
[[nodiscard]] u64 countMatches(Store const& store, ImportedColumns const& columns,
                               std::span<std::size_t const> selections);

/// Writes the rows of one table, whose columns have their variables, into the project. The files of a row follow it
/// into its record.
class Merging {
 public:
  enum class Unmatched { Dropped, Appended };

  /// All are borrowed.
  Merging(Store& store, Table& table, AuxFiles& auxFiles, std::function<u64()> const& addRecord,
          ImportedColumns const& columns);

  /// Every row becomes a new record.
  void append(Merge::AuxFileCollection const& auxFiles);

  /// Each row overwrites the cells that differ in the record that it claims, the first such record that no earlier row
  /// has claimed. Those that find none are dropped, or appended afterwards.
  void match(std::vector<std::size_t> const& selections, Unmatched unmatched, Merge::AuxFileCollection auxFiles);

 private:
  struct Column {
    DataVariable* variable;
    std::vector<Variant> const* values;
  };
  struct Match {
    u64 inputRow;
    DataRecord const* record;
  };
  using Rows = std::vector<u64>;

  static constexpr std::size_t rowsAtATime = 128;

  [[nodiscard]] u64 rowCount() const noexcept { return columns_.front().values->size(); }
  void appendRows(Rows const& rows, AuxFileCollectionInterface const& auxFiles);
  [[nodiscard]] std::vector<DataRecord const*> addRecords(u64 count);
  void overwrite(std::span<Match const> matches, AuxFileCollectionInterface const& auxFiles);
  /// By match, the numbers of the columns whose cells differ, ascending.
  void findDifferences(std::span<Match const> matches, std::span<std::vector<std::size_t>> differing) const;
  void overwriteCell(Column const& column, Match const& match);
  void addAuxFiles(std::span<DataRecord const* const> records, AuxFileCollectionInterface const& auxFiles);
  void addAuxFilesOfRow(DataRecord const& record, AuxFileCollectionInterface const& auxFiles, u64 row);

  Store& store_;
  Table& table_;
  AuxFiles& auxFiles_;
  std::function<u64()> const& addRecord_;
  ImportedColumns const& imported_;
  std::vector<Column> columns_;
};

}  // namespace casebook
