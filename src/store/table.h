#pragma once

#include "store/change_sink.h"
#include "store/loose_rows.h"

#include <string>
#include <vector>

namespace casebook {

/// The columns and rows: every column has one cell per record. Edits tell the sink; the steps that check nothing
/// serve replay and merge as well.
///
/// Records that come or go in runs (`insertRecord`, `removeRecord`) leave the columns as they are until `settleRows`,
/// which closes and opens all rows in one pass. In between, only those two operations, `row` and the case
/// identifiers are to be used.
class Table {
 public:
  static constexpr u64 reservedRows = 500;

  /// Puts the "Case ID" variable, of which the sink does not hear, into an empty store. Both are borrowed.
  Table(Store& store, ChangeSink& sink);

  /// Empties the store; when it throws, nothing has changed.
  void restart();

  /// "Case ID" as it is in an empty project.
  [[nodiscard]] static DataVariable newCaseId();

  [[nodiscard]] u64 rowCount() const noexcept { return store_.records.size(); }

  /// Makes a column of default values from a description that has no UID and no cells yet.
  DataVariable& addVariable(DataVariable description);

  /// Puts a variable back under its UID, with its column, which must have a cell for each record. Throws
  /// ("Attempted to add a second Case Status variable.", true) for a second one of that type.
  DataVariable& insertVariable(DataVariable variable);

  /// Throws ("Only activating records makes a Case Status variable.", true) for a variable that is of that type, was
  /// of it earlier in the transaction, or is to become one.
  void setVariableType(DataVariable& variable, VariableType type);

  /// The same below that test: refuses only a second Case Status variable, as insertVariable does.
  void replayVariableType(DataVariable& variable, VariableType type);

  /// Makes a calculated variable an ordinary one of these values, one for each record; of another variable only
  /// the cells that differ are written.
  void makeStatic(DataVariable& variable, std::vector<Variant> values);

  /// The way back; its column stays. Throws as insertVariable does for the Case Status variable.
  void makeCalculated(DataVariable& variable);

  DataRecord& addRecord();

  /// Gives the columns the cells of so many records ahead of them. The records are to come by `addRecord` while the
  /// object lives, and nothing else is to happen; when it goes, cells without a record go with it.
  class RowsAhead {
   public:
    RowsAhead(Table& table, u64 count);
    RowsAhead(RowsAhead const&) = delete;
    RowsAhead& operator=(RowsAhead const&) = delete;
    ~RowsAhead();

   private:
    Table& table_;
  };

  /// Puts a record under its UID, with a cell for each variable. Until `settleRows` its row is loose.
  DataRecord& insertRecord(u64 uid, std::vector<Variant> row);
  /// The row of a record that is made now: every default, and the next case identifier.
  [[nodiscard]] std::vector<Variant> newRow() const;
  /// Takes a record out, its files first. Its row stays open until `settleRows`.
  void removeRecord(DataRecord& record);
  /// Gives every record the row that is its rank by UID.
  void settleRows() noexcept { looseRows_.settle(store_); }

  [[nodiscard]] Variant const& cell(DataVariable const& variable, u64 record) const;

  /// Writes with the test of types: ("Attempted to set an invalid value type on a variable", true).
  void setValue(DataVariable& variable, u64 record, Variant const& value);

  /// Writes whatever the type.
  void setCell(DataVariable& variable, RecordRow record, Variant const& value);

  [[nodiscard]] std::vector<Variant> row(u64 record) const;
  void setRow(u64 record, std::vector<Variant> const& values);

  [[nodiscard]] bool isActive(u64 record) const;
  void activate(u64 record, bool active);

  /// Writes the very value into the cell of the variable of type CaseStatus, which there must be.
  void setStatus(RecordRow record, Variant const& status);

 private:
  void write(DataVariable& variable, u64 row, Variant const& value) noexcept;
  void takeStatusType(DataVariable& variable, VariableType type);
  void ensureCaseStatus();
  [[nodiscard]] Variant nextCaseId() const;
  void reserveRow();
  void fitColumns() noexcept;
  void removeFiles(std::vector<u64> const& auxFiles);
  template <class MakeChange>
  DataRecord& createRecord(u64 uid, std::uint32_t row, MakeChange const& creation);

  Store& store_;
  ChangeSink& sink_;
  LooseRows looseRows_;
};

}  // namespace casebook
