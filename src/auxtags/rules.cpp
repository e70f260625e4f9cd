#include "auxtags/rules.h"

#include "auxtags/wildcard.h"
#include "store/property.h"

namespace casebook {

namespace {

constexpr auto const& targetProperty(DataVariableRegex const&) { return properties::variableRegexTarget; }
constexpr auto const& targetProperty(DataPathRegex const&) { return properties::pathRegexTarget; }

constexpr std::uint32_t expressionCode(DataVariableRegex const&) { return Journal::VariableRegexExpressionSet; }
constexpr std::uint32_t expressionCode(DataPathRegex const&) { return Journal::PathRegexExpressionSet; }

}  // namespace

template <class Target>
DataRegex<Target>& Rules<Target>::insert(DataRegex<Target> rule) {
  rule.compiled = compileWildcard(rule.expression);
  return create(store_, sink_, std::move(rule));
}

template <class Target>
DataRegex<Target>& Rules<Target>::add(std::string const& expression, Target const& target) {
  DataRegex<Target> rule;
  rule.expression = expression;
  rule.compiled = compileWildcard(expression);
  rule.target = target;
  rule.id = store_.assignUid();
  return create(store_, sink_, std::move(rule));
}

template <class Target>
void Rules<Target>::setExpression(u64 uid, std::string const& expression) {
  auto& rule = store_.map<DataRegex<Target>>().at(uid);
  auto compiled = compileWildcard(expression);
  setProperty(sink_, rule, Property{expressionCode(rule), &DataRegex<Target>::expression}, expression);
  rule.compiled.swap(compiled);
}

template <class Target>
void Rules<Target>::setTarget(u64 uid, Target const& target) {
  auto& rule = store_.map<DataRegex<Target>>().at(uid);
  setProperty(sink_, rule, targetProperty(rule), target);
}

template class Rules<u64>;
template class Rules<std::string>;

}  // namespace casebook
