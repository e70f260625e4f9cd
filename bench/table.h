#pragma once

#include <casebook/casebook.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// The table that every workload works on, the same in each run, and the project that holds it.
namespace casebook::bench {

/// What the cells of a column hold.
enum class Content : std::uint8_t {
  Coded,       ///< numbers, some 100 different ones
  Continuous,  ///< numbers, all different
  Calculated,  ///< numbers, all different, none missing: plain columns where calculated ones will stand
  Repeated,    ///< texts of 8 or 9 bytes, 20 different ones
  Distinct,    ///< texts of some 24 bytes, nearly all different
};

/// The columns beside the case identifiers: 49.
[[nodiscard]] std::span<Content const> studyColumns();

[[nodiscard]] VariableDataType dataTypeOf(Content content);

/// Each cell has two versions of its value, 0 and 1, that differ. One number in 50 is missing where the content may be.
/// Every text is made anew, as a host does that reads a file.
[[nodiscard]] Variant cellValue(Content content, u64 column, u64 row, u64 version);

/// A cell to write, with both versions of its value in the form that a table takes.
template <class Value>
struct Edit {
  std::uint32_t column;
  std::uint32_t row;
  std::array<Value, 2> versions;
};

enum class Order : std::uint8_t { Columns, Random };

/// Every cell beside the case identifiers: down one column after the other, or shuffled, always in the same way.
[[nodiscard]] std::vector<Edit<Variant>> everyCell(u64 rows, Order order);

/// The edits with their values in the form that `Table` takes.
template <class Table>
[[nodiscard]] std::vector<Edit<typename Table::Value>> editsFor(std::vector<Edit<Variant>> const& edits) {
  std::vector<Edit<typename Table::Value>> converted;
  converted.reserve(edits.size());
  for (auto const& [column, row, versions] : edits)
    converted.push_back({column, row, {Table::valueOf(versions[0]), Table::valueOf(versions[1])}});
  return converted;
}

/// A project of its own, which is the current one as long as the object lives, and the handles to it that a host
/// keeps. A column is named by its position beside the case identifiers.
class CasebookTable {
 public:
  using Value = Variant;

  CasebookTable();
  CasebookTable(CasebookTable const&) = delete;
  CasebookTable& operator=(CasebookTable const&) = delete;

  static Variant valueOf(Variant const& value) { return value; }

  /// Takes the blocks and finalizes them, as a host must that stores them.
  void connectJournal();
  void connectChanges();
  [[nodiscard]] u64 bytesJournalled() const noexcept { return bytesJournalled_; }

  /// Runs `work` as one transaction.
  template <class Work>
  void transaction(Work work) {
    auto open = project_->startTransaction();
    work();
    open.commit();
  }

  void addColumn(Content content);
  void addRecord() { project_->addRecord(); }
  void set(std::uint32_t column, std::uint32_t row, Variant const& value) {
    project_->setValue(variables_[column], records_[row], value);
  }
  [[nodiscard]] Variant const& value(std::uint32_t column, std::uint32_t row) const {
    return project_->value(variables_[column], records_[row]);
  }

  /// Takes handles to the records, which `set` and `value` need.
  void lockRecords();

 private:
  std::unique_ptr<Project> const project_;
  std::vector<Variable> variables_;
  std::vector<Record> records_;
  u64 bytesJournalled_ = 0;
  u64 cellChangesHeard_ = 0;
};

/// Adds rows of default values to a table without any.
template <class Table>
void addRows(Table& table, u64 rows) {
  table.transaction([&] {
    for (u64 row = 0; row < rows; ++row) table.addRecord();
  });
  table.lockRecords();
}

template <class Table>
void addStudyColumns(Table& table) {
  for (auto const content : studyColumns()) table.addColumn(content);
}

/// The study's table, with version 0 in each cell, and all its edits in the order asked for.
template <class Table>
struct Study {
  Table table;
  std::vector<Edit<typename Table::Value>> edits;

  Study(u64 rows, Order order) : edits{editsFor<Table>(everyCell(rows, order))} {
    addStudyColumns(table);
    addRows(table, rows);
    table.transaction([&] { writeAll(0); });
  }

  void writeAll(u64 version) {
    for (auto const& edit : edits) write(edit, version);
  }
  void write(Edit<typename Table::Value> const& edit, u64 version) {
    table.set(edit.column, edit.row, edit.versions[version]);
  }

  [[nodiscard]] bool holds(Edit<typename Table::Value> const& edit, u64 version) const {
    return table.value(edit.column, edit.row) == edit.versions[version];
  }
  [[nodiscard]] bool holdsAll(u64 version) const {
    return std::ranges::all_of(edits, [&](auto const& edit) { return holds(edit, version); });
  }
};

}  // namespace casebook::bench
