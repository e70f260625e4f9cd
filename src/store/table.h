#pragma once

#include "store/change_sink.h"

#include <string>
#include <vector>

namespace casebook {

/// The columns and rows: every column has one cell per record at all times. Edits tell the sink; the steps that
/// check nothing serve replay and merge as well.
class Table {
 public:
  static constexpr u64 reservedRows = 500;

  /// Puts the "Case ID" variable, of which the sink does not hear, into an empty store. Both are borrowed.
  Table(Store& store, ChangeSink& sink);

  /// Empties the store; when it throws, nothing has changed.
  void restart();

  [[nodiscard]] u64 rowCount() const noexcept { return store_.records.size(); }

  /// Makes a column of default values from a description that has no UID and no cells yet.
  DataVariable& addVariable(DataVariable description);

  /// Puts a variable back under its UID, with its column, which must have a cell for each record. Throws
  /// ("Attempted to add a second Case Status variable.", true) for a second one of that type.
  DataVariable& insertVariable(DataVariable variable);

  /// Throws ("Only activating records makes a Case Status variable.", true) for a variable of that type or one that
  /// is to become one.
  void setVariableType(DataVariable& variable, VariableType type);

  DataRecord& addRecord();

  /// Makes a record under its UID, as addRecord would at this moment, in the row that is the rank of its UID.
  DataRecord& insertRecord(u64 uid);

  [[nodiscard]] Variant const& cell(DataVariable const& variable, DataRecord const& record) const;

  /// Writes with the test of types: ("Attempted to set an invalid value type on a variable", true).
  void setValue(DataVariable& variable, u64 record, Variant const& value);

  /// Writes whatever the type.
  void setCell(DataVariable& variable, DataRecord const& record, Variant const& value);

  [[nodiscard]] std::vector<Variant> row(DataRecord const& record) const;
  void setRow(DataRecord const& record, std::vector<Variant> const& values);

  [[nodiscard]] bool isActive(u64 record) const;
  void activate(u64 record, bool active);

  /// Writes the very text into the status cell; there must be a status variable.
  void setStatus(DataRecord const& record, Variant const& status);

 private:
  DataVariable& caseStatus();
  [[nodiscard]] u64 nextCaseId() const;
  void reserveRow();
  DataRecord& createRecord(u64 uid, u64 row);

  Store& store_;
  ChangeSink& sink_;
};

}  // namespace casebook
