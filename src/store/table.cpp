#include "store/table.h"

#include "platform/growth.h"
#include "store/erase.h"
#include "store/property.h"

#include <algorithm>

namespace casebook {

namespace {

Variant caseIdentifier(u64 id) { return {static_cast<std::uint32_t>(id), Variant::UnsignedInteger}; }

bool accepts(DataVariable const& variable, Variant const& value) {
  if (value.type() == variable.dataType) return true;
  bool const isNumber = variable.dataType == Variant::UnsignedInteger || variable.dataType == Variant::FloatingPoint;
  return value.isNull() && isNumber;
}

[[noreturn]] void refuseSecondStatusVariable() {
  throw varnel::ExceptionBase{"Attempted to add a second Case Status variable.", true};
}

}  // namespace

Table::Table(Store& store, ChangeSink& sink) : store_{store}, sink_{sink} { restart(); }

DataVariable Table::newCaseId() {
  DataVariable variable;
  variable.name = "Case ID";
  variable.values.reserve(reservedRows);
  variable.dataType = Variant::UnsignedInteger;
  variable.type = VariableType::CaseIdentifier;
  return variable;
}

void Table::restart() {
  Store fresh;
  auto caseId = newCaseId();
  caseId.id = fresh.assignUid();
  fresh.caseId = &fresh.variables.insert(std::move(caseId));
  fresh.touched = store_.touched.successor();
  store_ = std::move(fresh);
  looseRows_.clear();
}

DataVariable& Table::addVariable(DataVariable description) {
  description.values.reserve(std::max(reservedRows, rowCount()));
  description.values.assign(rowCount(), description.defaultValue);
  description.id = store_.assignUid();
  return insertVariable(std::move(description));
}

DataVariable& Table::insertVariable(DataVariable variable) {
  bool const isStatus = variable.type == VariableType::CaseStatus;
  if (isStatus && store_.statusVariable) refuseSecondStatusVariable();
  auto& inserted = create(store_, sink_, std::move(variable));
  store_.touched.noteColumn(inserted);
  if (isStatus) store_.statusVariable = &inserted;
  return inserted;
}

void Table::setVariableType(DataVariable& variable, VariableType type) {
  if (variable.type == VariableType::CaseStatus || type == VariableType::CaseStatus ||
      store_.wasStatusVariable(variable.id))
    throw varnel::ExceptionBase{"Only activating records makes a Case Status variable.", true};
  replayVariableType(variable, type);
}

void Table::replayVariableType(DataVariable& variable, VariableType type) {
  bool const becomesStatus = type == VariableType::CaseStatus;
  if (becomesStatus && store_.statusVariable && store_.statusVariable != &variable) refuseSecondStatusVariable();
  auto const former = variable.type;
  if (former == VariableType::CaseStatus) store_.formerStatusVariables.push_back(variable.id);
  PropertyChange change{EntityKind::Variable, variable.id, Journal::VariableTypeSet, itemValue(former),
                        itemValue(type)};
  change.startsItem = becomesStatus || former == VariableType::CaseStatus;
  sink_.take(change);
  takeStatusType(variable, type);
  if (type == VariableType::Calculated && former != type) sink_.take(MadeCalculated{variable});
}

void Table::takeStatusType(DataVariable& variable, VariableType type) {
  if (variable.type == VariableType::CaseStatus) store_.statusVariable = nullptr;
  if (type == VariableType::CaseStatus) store_.statusVariable = &variable;
  variable.type = type;
}

void Table::makeStatic(DataVariable& variable, std::vector<Variant> values) {
  if (variable.type != VariableType::Calculated) {
    for (std::uint32_t row = 0; row < rowCount(); ++row)
      if (!variable.values[row].isIdentical(values[row]))
        setCell(variable, {store_.recordOfRow[row], row}, values[row]);
    return;
  }
  sink_.take(MadeStatic{variable, values});
  store_.touched.noteColumn(variable);
  variable.values.swap(values);
  variable.type = VariableType::Ordinary;
}

void Table::makeCalculated(DataVariable& variable) {
  if (variable.type == VariableType::Calculated) return;
  if (variable.type == VariableType::CaseStatus) refuseSecondStatusVariable();
  if (variable.type != VariableType::Ordinary) replayVariableType(variable, VariableType::Ordinary);
  sink_.take(MadeCalculated{variable});
  variable.type = VariableType::Calculated;
}

// The case identifiers come first in every row: nothing has a lower UID than "Case ID".
Variant Table::nextCaseId() const {
  if (store_.records.empty()) return caseIdentifier(1);
  u64 const last = store_.records.last().id;
  auto const* const loose = looseRows_.find(last);
  return caseIdentifier((loose ? loose->front() : cell(*store_.caseId, last)).longValue() + 1);
}

// Afterwards a cell fits into every column without anything that can throw.
void Table::reserveRow() {
  reserveOneMore(store_.recordOfRow);
  if (store_.caseId->values.size() > rowCount()) return;  // the row is there ahead of its record
  for (auto& variable : store_.variables.all()) reserveOneMore(variable.values);
}

Table::RowsAhead::RowsAhead(Table& table, u64 count) : table_{table} {
  try {
    for (auto& variable : table.store_.variables.all()) {
      reserveFor(variable.values, table.rowCount() + count);
      variable.values.resize(table.rowCount() + count, variable.defaultValue);
    }
  } catch (...) {
    table.fitColumns();
    throw;
  }
}

Table::RowsAhead::~RowsAhead() { table_.fitColumns(); }

void Table::fitColumns() noexcept {
  for (auto& variable : store_.variables.all())
    variable.values.erase(variable.values.begin() + static_cast<std::ptrdiff_t>(rowCount()), variable.values.end());
}

template <class MakeChange>
DataRecord& Table::createRecord(u64 uid, std::uint32_t row, MakeChange const& creation) {
  store_.rowOfRecord.insert(uid, row);
  try {
    return create(store_, sink_, DataRecord{uid}, creation);
  } catch (...) {
    store_.rowOfRecord.erase(uid);
    throw;
  }
}

DataRecord& Table::addRecord() {
  reserveRow();
  auto const caseId = nextCaseId();
  auto const row = static_cast<std::uint32_t>(rowCount());
  auto& record =
      createRecord(store_.assignUid(), row, [](DataRecord const& created) { return Creation<DataRecord>{created}; });
  store_.recordOfRow.push_back(record.id);
  if (store_.caseId->values.size() < rowCount())
    for (auto& variable : store_.variables.all()) variable.values.push_back(variable.defaultValue);
  store_.caseId->values[row] = caseId;
  store_.touched.noteAppended();
  return record;
}

std::vector<Variant> Table::newRow() const {
  std::vector<Variant> row;
  row.reserve(store_.variables.size());
  for (auto const& variable : store_.variables.all()) row.push_back(variable.defaultValue);
  row.front() = nextCaseId();
  return row;
}

DataRecord& Table::insertRecord(u64 uid, std::vector<Variant> row) {
  looseRows_.reserveForAdd(store_);
  auto const& cells = looseRows_.add(uid, std::move(row));
  try {
    return createRecord(uid, Store::noRow,
                        [&cells](DataRecord const& record) { return RecordInsertion{record, cells}; });
  } catch (...) {
    looseRows_.remove({uid, Store::noRow});
    throw;
  }
}

void Table::removeFiles(std::vector<u64> const& auxFiles) {
  for (u64 const uid : auxFiles)
    if (auto const* const file = store_.auxFiles.find(uid)) erase(store_, sink_, *file);
}

void Table::removeRecord(DataRecord& record) {
  looseRows_.reserveForRemove();
  auto const auxFiles = record.auxFiles;
  removeFiles(auxFiles);
  sink_.take(RecordErasure{record, auxFiles, *this});
  u64 const uid = record.id;
  looseRows_.remove({uid, store_.rowOfRecord.find(uid)});
  store_.rowOfRecord.erase(uid);
  store_.records.erase(uid);
}

Variant const& Table::cell(DataVariable const& variable, u64 record) const {
  return variable.values[store_.rowOf(record).row];
}

void Table::setValue(DataVariable& variable, u64 record, Variant const& value) {
  if (!accepts(variable, value))
    throw varnel::ExceptionBase{"Attempted to set an invalid value type on a variable", true};
  setCell(variable, store_.rowOf(record), value);
}

void Table::setCell(DataVariable& variable, RecordRow record, Variant const& value) {
  auto const& shared = variable.texts.shared(value);
  sink_.take(CellChange{variable, record.uid, variable.values[record.row], shared});
  write(variable, record.row, shared);
}

void Table::write(DataVariable& variable, u64 row, Variant const& value) noexcept {
  auto& cell = variable.values[row];
  if (cell.isIdentical(value)) return;
  store_.touched.noteWrite(variable, row, cell);
  cell = value;
}

std::vector<Variant> Table::row(u64 record) const {
  if (auto const* const loose = looseRows_.find(record)) return *loose;
  auto const row = store_.rowOf(record).row;
  std::vector<Variant> cells;
  cells.reserve(store_.variables.size());
  for (auto const& variable : store_.variables.all()) cells.push_back(variable.values[row]);
  return cells;
}

void Table::setRow(u64 record, std::vector<Variant> const& values) {
  auto const row = store_.rowOf(record);
  if (values.size() < store_.variables.size())
    throw varnel::ExceptionBase{"The row holds fewer values than there are variables.", true};
  auto value = values.begin();
  for (auto& variable : store_.variables.all()) setCell(variable, row, *value++);
}

bool Table::isActive(u64 record) const {
  auto const row = store_.rowOf(record).row;
  auto const* const status = store_.caseStatus();
  return !status || status->values[row].stringValue() == "Active";
}

// A status variable that awaits its erasure makes room for a new one.
void Table::ensureCaseStatus() {
  if (store_.caseStatus()) return;
  if (store_.statusVariable) replayVariableType(*store_.statusVariable, VariableType::Ordinary);
  DataVariable description;
  description.name = "Case Status";
  description.defaultValue = Variant{"Active"};
  description.dataType = Variant::String;
  description.type = VariableType::CaseStatus;
  addVariable(std::move(description));
}

void Table::activate(u64 record, bool active) {
  ensureCaseStatus();
  setStatus(store_.rowOf(record), Variant{active ? "Active" : "Inactive"});
}

void Table::setStatus(RecordRow record, Variant const& status) {
  auto& variable = *store_.statusVariable;
  auto const& shared = variable.texts.shared(status);
  sink_.take(StatusChange{variable, record.uid, variable.values[record.row], shared});
  write(variable, record.row, shared);
}

}  // namespace casebook
