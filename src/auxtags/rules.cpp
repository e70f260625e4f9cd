#include "auxtags/rules.h"

#include "platform/wildcard.h"
#include "store/property.h"

namespace casebook {

namespace {

constexpr auto const& expressionProperty(DataVariableRegex const&) { return properties::variableRegexExpression; }
constexpr auto const& expressionProperty(DataPathRegex const&) { return properties::pathRegexExpression; }

constexpr auto const& targetProperty(DataVariableRegex const&) { return properties::variableRegexTarget; }
constexpr auto const& targetProperty(DataPathRegex const&) { return properties::pathRegexTarget; }

}  // namespace

template <class Target>
DataRegex<Target>& Rules<Target>::insert(DataRegex<Target> rule) {
  return create(store_, sink_, std::move(rule));
}

template <class Target>
DataRegex<Target>& Rules<Target>::add(std::string const& expression, Target const& target) {
  checkWildcard(expression);
  DataRegex<Target> rule{store_.assignUid()};
  rule.expression = expression;
  rule.target = target;
  return insert(std::move(rule));
}

template <class Target>
void Rules<Target>::setExpression(u64 uid, std::string const& expression) {
  auto& rule = store_.map<DataRegex<Target>>().at(uid);
  checkWildcard(expression);
  setProperty(sink_, rule, expressionProperty(rule), expression);
}

template <class Target>
void Rules<Target>::setTarget(u64 uid, Target const& target) {
  auto& rule = store_.map<DataRegex<Target>>().at(uid);
  setProperty(sink_, rule, targetProperty(rule), target);
}

template class Rules<u64>;
template class Rules<std::string>;

}  // namespace casebook
