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
  Merging(Store& store, Table& table, AuxFiles& auxFiles, Merge::Makers const& makers, ImportedColumns const& columns);

  /// Every row becomes a new record. The collection is shared as long as this runs, here and in `match`: asking it may
  /// run code of the host, which may let go of its own.
  void append(Merge::AuxFileCollection auxFiles);

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
    u64 record;
  };
  /// The record of a match, and the numbers of the columns whose cells differ, ascending. Both hold until a collection
  /// edits the project while it is asked.
  struct Difference {
    RecordRow record;
    std::vector<std::size_t> columns;
  };
  using Rows = std::vector<u64>;

  static constexpr std::size_t rowsAtATime = 128;

  [[nodiscard]] u64 rowCount() const noexcept { return columns_.front().values->size(); }
  void appendRows(Rows const& rows, AuxFileCollectionInterface const& auxFiles);
  [[nodiscard]] Rows addRecords(u64 count);
  [[nodiscard]] std::vector<RecordRow> lookUp(Rows const& records) const;
  void lookUpColumns();

  void overwrite(std::span<Match const> matches, AuxFileCollectionInterface const& auxFiles);
  void findDifferences(std::span<Match const> matches, std::span<Difference> differences) const;
  void addAuxFiles(Rows const& records, AuxFileCollectionInterface const& auxFiles);
  void addAuxFilesOfRow(u64 record, AuxFileCollectionInterface const& auxFiles, u64 row);

  Store& store_;
  Table& table_;
  AuxFiles& auxFiles_;
  Merge::Makers const& makers_;
  ImportedColumns const& imported_;
  std::vector<Column> columns_;
};

}  // namespace casebook
