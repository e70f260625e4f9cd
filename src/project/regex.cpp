#include <casebook/project.h>
#include <casebook/regex.h>

namespace casebook {

namespace {

/// The project's operations for rules of one kind.
template <class Target>
struct RuleCalls;

template <>
struct RuleCalls<std::string> {
  static constexpr auto expression = &Project::pathRegexExpression;
  static constexpr auto setExpression = &Project::setPathRegexExpression;
  static constexpr auto setTarget = &Project::setPathRegexTarget;
  static constexpr auto erase = &Project::erasePathRegex;

  static std::string target(u64 uid) { return Project::project().pathRegexTarget(uid); }
  static std::string const& stored(std::string const& tag) { return tag; }
};

template <>
struct RuleCalls<Variable> {
  static constexpr auto expression = &Project::variableRegexExpression;
  static constexpr auto setExpression = &Project::setVariableRegexExpression;
  static constexpr auto setTarget = &Project::setVariableRegexTarget;
  static constexpr auto erase = &Project::eraseVariableRegex;

  static Variable target(u64 uid) { return Project::project().variableRegexTarget(uid).lock(); }
  static u64 stored(Variable const& variable) { return variable.getWeakPtr().id(); }
};

}  // namespace

template <class Target>
std::string Regex<Target>::expression() const {
  return (Project::project().*RuleCalls<Target>::expression)(this->uid());
}

template <class Target>
void Regex<Target>::setExpression(std::string const& expression, Transaction& transaction) {
  (transaction.project().*RuleCalls<Target>::setExpression)(this->uid(), expression);
}

template <class Target>
Target Regex<Target>::target() const {
  return RuleCalls<Target>::target(this->uid());
}

template <class Target>
void Regex<Target>::setTarget(Target const& target, Transaction& transaction) {
  (transaction.project().*RuleCalls<Target>::setTarget)(this->uid(), RuleCalls<Target>::stored(target));
}

template <class Target>
void Regex<Target>::erase(Transaction& transaction) {
  (transaction.project().*RuleCalls<Target>::erase)(this->uid());
}

template class Regex<std::string>;
template class Regex<Variable>;

}  // namespace casebook
