#include "project/table_import.h"

#include "project/words.h"

#include <casebook/record.h>
#include <casebook/transaction.h>
#include <casebook/variable.h>

#include <optional>
#include <set>

namespace casebook::cli {
namespace {

using Role = PlannedColumn::Role;

class TableImport {
 public:
  TableImport(Transaction& transaction, CsvTable const& table, ImportPlan const& plan, TableFiles const& files)
      : transaction_{transaction}, table_{table}, plan_{plan}, files_{files}, tags_{files.tags()} {}

  void makeVariables() {
    for (PlannedColumn const& column : plan_.columns) makeVariable(column);
  }

  void addCase(std::size_t row) {
    Record const record = row == 0 ? firstRecord() : transaction_->addRecord().lock(transaction_);
    for (Target const& target : targets_) setCell(record, target, table_.cell(row, target.column->index).text);
    if (statusColumn_ && row > 0 && table_.cell(row, *statusColumn_).text == inactiveWord)
      transaction_->activate(record.getWeakPtr().id(), false);
    for (std::string const& tag : tags_)
      for (std::string const& path : files_.files(row, tag))
        transaction_->addAuxFile(record.getWeakPtr().id(), path, tag);
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
      case Role::Files: break;
    }
  }

  WeakPtr<Variable> ordinaryVariable(PlannedColumn const& column) {
    if (column.existing) {
      if (column.nature != transaction_->variableNature(column.existing.id()))
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
    Variant const value = plan_.value(text, target.column->type);
    if (record.data(target.variable) != value) transaction_->setValue(target.variable, record, value);
  }

  Transaction& transaction_;
  CsvTable const& table_;
  ImportPlan const& plan_;
  TableFiles const& files_;
  std::set<std::string> tags_;
  std::vector<Target> targets_;
  std::optional<std::size_t> statusColumn_;
  WeakPtr<Record> first_;
};

}  // namespace

ImportOutcome importTable(Transaction& transaction, CsvTable const& table, ImportPlan const& plan,
                          TableFiles const& files, std::function<void(std::size_t, std::size_t)> const& progress) {
  std::size_t const filesBefore = transaction->auxFiles().size();
  TableImport import{transaction, table, plan, files};
  import.makeVariables();
  for (std::size_t row = 0; row < table.rows(); ++row) {
    import.addCase(row);
    progress(row + 1, table.rows());
  }
  ImportOutcome outcome;
  outcome.added = table.rows();
  outcome.attached = transaction->auxFiles().size() - filesBefore;
  return outcome;
}

}  // namespace casebook::cli
