#include <casebook/project.h>
#include <casebook/variable.h>

namespace casebook {

Variable::~Variable() = default;

std::string Variable::name() const { return Project::project().variableName(uid()); }
std::string Variable::description() const { return Project::project().variableDescription(uid()); }
std::string Variable::expression() const { return Project::project().variableExpression(uid()); }
Variable::Nature Variable::nature() const { return Project::project().variableNature(uid()); }
Variable::DataType Variable::dataType() const { return Project::project().variableDataType(uid()); }
Variable::VariableType Variable::type() const { return Project::project().variableType(uid()); }
Variant Variable::defaultValue() const { return Project::project().variableDefaultValue(uid()); }
bool Variable::isCaseID() const { return Project::project().variableIsCaseID(uid()); }
bool Variable::isStringType() const { return dataType() == Variant::String; }

void Variable::setName(std::string const& name, Transaction& transaction) { transaction->setVariableName(uid(), name); }
void Variable::setDescription(std::string const& description, Transaction& transaction) {
  transaction->setVariableDescription(uid(), description);
}
void Variable::setExpression(std::string const& expression, Transaction& transaction) {
  transaction->setVariableExpression(uid(), expression);
}
void Variable::setNature(Nature nature, Transaction& transaction) { transaction->setVariableNature(uid(), nature); }
void Variable::setDataType(DataType dataType, Transaction& transaction) {
  transaction->setVariableDataType(uid(), dataType);
}
void Variable::setType(VariableType type, Transaction& transaction) { transaction->setVariableType(uid(), type); }
void Variable::setDefaultValue(Variant const& value, Transaction& transaction) {
  transaction->setVariableDefaultValue(uid(), value);
}

std::vector<Variant> Variable::uniqueValues() const { return currentProject().variableUniqueValues(uid()); }
u64 Variable::valueCount(Variant const& value) const { return Project::project().variableValueCount(uid(), value); }
std::set<u64> Variable::caseIDs(Variant const& value) const { return currentProject().variableCaseIDs(uid(), value); }
u64 Variable::numNullValues() const { return Project::project().variableNumNullValues(uid()); }
std::pair<double, double> Variable::range() const { return currentProject().variableRange(uid()); }

void Variable::erase(Transaction& transaction) { transaction->eraseVariable(uid()); }

}  // namespace casebook
