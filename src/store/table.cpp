#include "store/table.h"

#include "platform/growth.h"
#include "store/property.h"

#include <algorithm>
#include <iterator>

namespace casebook {

namespace {

Variant caseIdentifier(u64 id) { return {static_cast<std::uint32_t>(id), Variant::UnsignedInteger}; }

bool accepts(DataVariable const& variable, Variant const& value) {
  if (value.type() == variable.dataType) return true;
  bool const isNumber = variable.dataType == Variant::UnsignedInteger || variable.dataType == Variant::FloatingPoint;
  return value.isNull() && isNumber;
}

auto cellAt(std::vector<Variant>& column, u64 row) { return column.begin() + static_cast<std::ptrdiff_t>(row); }

}  // namespace

Table::Table(Store& store, ChangeSink& sink) : store_{store}, sink_{sink} { restart(); }

void Table::restart() {
  Store fresh;
  DataVariable variable{fresh.assignUid()};
  variable.name = "Case ID";
  variable.values.reserve(reservedRows);
  variable.dataType = Variant::UnsignedInteger;
  variable.type = VariableType::CaseIdentifier;
  fresh.caseId = &fresh.variables.insert(std::move(variable));
  store_ = std::move(fresh);
}

DataVariable& Table::addVariable(DataVariable description) {
  description.values.reserve(std::max(reservedRows, rowCount()));
  description.values.assign(rowCount(), description.defaultValue);
  description.id = store_.assignUid();
  return create(store_, sink_, std::move(description));
}

DataVariable& Table::insertVariable(DataVariable variable) {
  bool const isStatus = variable.type == VariableType::CaseStatus;
  if (isStatus && store_.caseStatus)
    throw varnel::ExceptionBase{"Attempted to add a second Case Status variable.", true};
  auto& inserted = create(store_, sink_, std::move(variable));
  if (isStatus) store_.caseStatus = &inserted;
  store_.raiseUid(inserted.id);
  return inserted;
}

void Table::setVariableType(DataVariable& variable, VariableType type) {
  if (variable.type == VariableType::CaseStatus || type == VariableType::CaseStatus)
    throw varnel::ExceptionBase{"Only activating records makes a Case Status variable.", true};
  setProperty(sink_, variable, properties::variableType, type);
}

u64 Table::nextCaseId() const {
  return store_.records.empty() ? 1 : store_.caseId->values[store_.records.last().row].longValue() + 1;
}

// Afterwards a cell fits into every column without anything that can throw.
void Table::reserveRow() {
  for (auto& variable : store_.variables.all()) reserveOneMore(variable.values);
}

DataRecord& Table::createRecord(u64 uid, u64 row) {
  DataRecord record{uid};
  record.row = row;
  return create(store_, sink_, std::move(record));
}

DataRecord& Table::addRecord() {
  reserveRow();
  u64 const caseId = nextCaseId();
  auto& record = createRecord(store_.assignUid(), rowCount());
  for (auto& variable : store_.variables.all()) variable.values.push_back(variable.defaultValue);
  store_.caseId->values.back() = caseIdentifier(caseId);
  return record;
}

DataRecord& Table::insertRecord(u64 uid) {
  reserveRow();
  u64 const caseId = nextCaseId();
  auto const later = store_.records.after(uid);
  u64 const row = rowCount() - static_cast<u64>(std::ranges::distance(later));
  auto& record = createRecord(uid, row);
  for (auto& next : store_.records.after(uid)) ++next.row;
  for (auto& variable : store_.variables.all())
    variable.values.insert(cellAt(variable.values, row), variable.defaultValue);
  store_.caseId->values[row] = caseIdentifier(caseId);
  store_.raiseUid(uid);
  return record;
}

Variant const& Table::cell(DataVariable const& variable, DataRecord const& record) const {
  return variable.values[record.row];
}

void Table::setValue(DataVariable& variable, u64 record, Variant const& value) {
  if (!accepts(variable, value))
    throw varnel::ExceptionBase{"Attempted to set an invalid value type on a variable", true};
  setCell(variable, store_.records.at(record), value);
}

void Table::setCell(DataVariable& variable, DataRecord const& record, Variant const& value) {
  auto& cell = variable.values[record.row];
  sink_.take(CellChange{variable, record, cell, value});
  cell = value;
}

std::vector<Variant> Table::row(DataRecord const& record) const {
  std::vector<Variant> cells;
  cells.reserve(store_.variables.size());
  for (auto const& variable : store_.variables.all()) cells.push_back(variable.values[record.row]);
  return cells;
}

void Table::setRow(DataRecord const& record, std::vector<Variant> const& values) {
  if (values.size() < store_.variables.size())
    throw varnel::ExceptionBase{"The row holds fewer values than there are variables.", true};
  auto value = values.begin();
  for (auto& variable : store_.variables.all()) setCell(variable, record, *value++);
}

bool Table::isActive(u64 record) const {
  auto const& known = store_.records.at(record);
  return !store_.caseStatus || store_.caseStatus->values[known.row].stringValue() == "Active";
}

DataVariable& Table::caseStatus() {
  if (store_.caseStatus) return *store_.caseStatus;
  DataVariable description;
  description.name = "Case Status";
  description.defaultValue = Variant{"Active"};
  description.dataType = Variant::String;
  description.type = VariableType::CaseStatus;
  store_.caseStatus = &addVariable(std::move(description));
  return *store_.caseStatus;
}

void Table::activate(u64 record, bool active) {
  caseStatus();
  setStatus(store_.records.at(record), Variant{active ? "Active" : "Inactive"});
}

void Table::setStatus(DataRecord const& record, Variant const& status) {
  auto& cell = store_.caseStatus->values[record.row];
  sink_.take(StatusChange{*store_.caseStatus, record, cell, status});
  cell = status;
}

}  // namespace casebook
