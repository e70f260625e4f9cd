#include "project/table_import.h"

#include "project/words.h"

#include <casebook/record.h>
#include <casebook/transaction.h>
#include <casebook/variable.h>

#include <optional>
#include <stdexcept>

namespace casebook::cli {
namespace {

using Role = PlannedColumn::Role;

class TableImport {
 public:
  TableImport(Transaction& transaction, CsvTable const& table, ImportPlan const& plan, MissingWords const& missing)
      : transaction_{transaction}, table_{table}, plan_{plan}, missing_{missing} {}

  void makeVariables() {
    for (PlannedColumn const& column : plan_.columns) makeVariable(column);
  }

  void addCase(std::size_t row) {
    Record const record = row == 0 ? firstRecord() : transaction_->addRecord().lock(transaction_);
    for (Target const& target : targets_) setCell(record, target, table_.cell(row, target.column->index).text);
    if (statusColumn_ && row > 0 && table_.cell(row, *statusColumn_).text == inactiveWord)
      transaction_->activate(record.getWeakPtr().id(), false);
  }

 private:
  struct Target {
    PlannedColumn const* column;
    Variable variable;
  };

  void makeVariable(PlannedColumn const& column) {
    switch (column.role) {
      case Role::Ordinary: targets_.push_back({&column, ordinaryVariable(column).lock(transaction_)}); break;
      case Role::CaseId: targets_.push_back({&column, transaction_->getCaseIDColumn().lock(transaction_)}); break;
      case Role::CaseStatus: makeStatus(column); break;
    }
  }

  WeakPtr<Variable> ordinaryVariable(PlannedColumn const& column) {
    if (column.existing) {
      if (column.nature != transaction_->variableNature(column.existing.id()) &&
          column.nature != VariableNature::Unspecified)
        transaction_->setVariableNature(column.existing.id(), column.nature);
      return column.existing;
    }
    return transaction_->addVariable(column.name, column.nature, column.type, emptyCell(column.type));
  }

  // "Case Status" comes into being with the first status that a record is given. Its column is to stand among the
  // others where the table has it, so the first record is made now.
  void makeStatus(PlannedColumn const& column) {
    if (table_.rows() == 0) return;
    statusColumn_ = column.index;
    transaction_->activate(firstRecord().getWeakPtr().id(), table_.cell(0, column.index).text == activeWord);
  }

  Record firstRecord() {
    if (!first_) first_ = transaction_->addRecord();
    return first_.lock(transaction_);
  }

  void setCell(Record const& record, Target const& target, std::string_view text) {
    VariableDataType const type = target.column->type;
    CellReading const cell = missing_.contains(text) ? CellReading{emptyCell(type), {}} : readCell(text, type);
    if (!cell.value) throw std::logic_error{"The plan let a cell pass that the variable cannot hold."};
    if (record.data(target.variable) != *cell.value) transaction_->setValue(target.variable, record, *cell.value);
  }

  Transaction& transaction_;
  CsvTable const& table_;
  ImportPlan const& plan_;
  MissingWords const& missing_;
  std::vector<Target> targets_;
  std::optional<std::size_t> statusColumn_;
  WeakPtr<Record> first_;
};

}  // namespace

void importTable(Transaction& transaction, CsvTable const& table, ImportPlan const& plan, MissingWords const& missing,
                 std::function<void(std::size_t, std::size_t)> const& progress) {
  TableImport import{transaction, table, plan, missing};
  import.makeVariables();
  for (std::size_t row = 0; row < table.rows(); ++row) {
    import.addCase(row);
    progress(row + 1, table.rows());
  }
}

}  // namespace casebook::cli
