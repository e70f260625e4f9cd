// The table: lists, variables, records and cells.

#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/variable.h>

#include "project/components.h"
#include "project/lists.h"
#include "store/property.h"

namespace casebook {

namespace {

u64 uidOf(Variable const& variable) { return variable.getWeakPtr().id(); }
u64 uidOf(Record const& record) { return record.getWeakPtr().id(); }

}  // namespace

std::vector<WeakPtr<Variable>> Project::variables() const { return listOf<Variable>(components_->store.variables); }
std::vector<WeakPtr<Record>> Project::records() const { return listOf<Record>(components_->store.recordOfRow); }

WeakPtr<Variable> Project::getCaseIDColumn() { return WeakPtr<Variable>{components_->store.caseId->id}; }
WeakPtr<Record> Project::recordById(u64 caseId) { return WeakPtr<Record>{components_->caseIndex.find(caseId)}; }

WeakPtr<Variable> Project::variable(std::string const& name) {
  return firstNamed<Variable>(components_->store.variables, name);
}

WeakPtr<Variable> Project::addVariable(std::string const& name, VariableNature nature, VariableDataType dataType,
                                       Variant const& defaultValue) {
  DataVariable description;
  description.name = name;
  description.nature = nature;
  description.dataType = dataType;
  description.defaultValue = defaultValue;
  return WeakPtr<Variable>{components_->table.addVariable(std::move(description)).id};
}

WeakPtr<Variable> Project::addCalcVariable(std::string const& name, VariableNature nature,
                                           std::string const& expression) {
  DataVariable description;
  description.name = name;
  description.expression = expression;
  description.nature = nature;
  description.dataType = Variant::FloatingPoint;
  description.type = VariableType::Calculated;
  description.defaultValue = Variant{0.0};
  return WeakPtr<Variable>{components_->table.addVariable(std::move(description)).id};
}

WeakPtr<Record> Project::addRecord() { return WeakPtr<Record>{components_->table.addRecord().id}; }

Variant const& Project::value(Variable const& variable, Record const& record) const {
  auto const& store = components_->store;
  return components_->table.cell(store.variables.at(uidOf(variable)), uidOf(record));
}
void Project::setValue(Variable const& variable, Record const& record, Variant const& value) {
  components_->table.setValue(components_->store.variables.at(uidOf(variable)), uidOf(record), value);
}

std::vector<Variant> Project::getRow(u64 record) { return components_->table.row(record); }
void Project::setRow(u64 record, std::vector<Variant> const& row) { components_->table.setRow(record, row); }

bool Project::recordIsActive(u64 record) const { return components_->table.isActive(record); }
void Project::activate(u64 record, bool active) { components_->table.activate(record, active); }

VariableDataType Project::variableDataType(u64 variable) const {
  return components_->store.variables.at(variable).dataType;
}
VariableType Project::variableType(u64 variable) const { return components_->store.variables.at(variable).type; }
VariableNature Project::variableNature(u64 variable) const { return components_->store.variables.at(variable).nature; }
std::string Project::variableDescription(u64 variable) const {
  return components_->store.variables.at(variable).description;
}
std::string Project::variableName(u64 variable) const { return components_->store.variables.at(variable).name; }
std::string Project::variableExpression(u64 variable) const {
  return components_->store.variables.at(variable).expression;
}
Variant Project::variableDefaultValue(u64 variable) const {
  return components_->store.variables.at(variable).defaultValue;
}
bool Project::variableIsCaseID(u64 variable) const { return variable == components_->store.caseId->id; }

void Project::setVariableDataType(u64 variable, VariableDataType dataType) {
  setProperty(components_->recorder, components_->store.variables.at(variable), properties::variableDataType, dataType);
}
void Project::setVariableType(u64 variable, VariableType type) {
  components_->table.setVariableType(components_->store.variables.at(variable), type);
}
void Project::setVariableNature(u64 variable, VariableNature nature) {
  setProperty(components_->recorder, components_->store.variables.at(variable), properties::variableNature, nature);
}
void Project::setVariableDescription(u64 variable, std::string const& description) {
  setProperty(components_->recorder, components_->store.variables.at(variable), properties::variableDescription,
              description);
}
void Project::setVariableName(u64 variable, std::string const& name) {
  setProperty(components_->recorder, components_->store.variables.at(variable), properties::variableName, name);
}
void Project::setVariableExpression(u64 variable, std::string const& expression) {
  setProperty(components_->recorder, components_->store.variables.at(variable), properties::variableExpression,
              expression);
}
void Project::setVariableDefaultValue(u64 variable, Variant const& value) {
  setProperty(components_->recorder, components_->store.variables.at(variable), properties::variableDefaultValue,
              value);
}

std::vector<Variant> Project::variableUniqueValues(u64 variable) {
  return components_->statistics.uniqueValues(variable);
}
u64 Project::variableValueCount(u64 variable, Variant const& value) const {
  return components_->statistics.valueCount(variable, value);
}
std::set<u64> Project::variableCaseIDs(u64 variable, Variant const& value) {
  return components_->statistics.caseIDs(variable, value);
}
u64 Project::variableNumNullValues(u64 variable) const {
  return variableValueCount(variable, Variant::nan()) + variableValueCount(variable, Variant{});
}
std::pair<double, double> Project::variableRange(u64 variable) {
  return components_->statistics.range(components_->store.variables.at(variable));
}

void Project::eraseRecord(u64 record) { components_->deletion.request<DataRecord>(record); }
void Project::eraseVariable(u64 variable) { components_->deletion.request<DataVariable>(variable); }

}  // namespace casebook
