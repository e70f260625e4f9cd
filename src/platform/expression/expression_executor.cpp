#include <casebook/expression_executor.h>

#include "platform/expression/compile.h"
#include "platform/expression/equation_plan.h"

#include <casebook/exception_base.h>

#include <unordered_map>

namespace casebook {

namespace {

using Binding = ExpressionExecutor::VariableArray;

std::vector<std::string> namesOf(std::vector<Binding> const& bindings) {
  std::vector<std::string> names;
  for (auto const& binding : bindings) names.push_back(binding.name);
  return names;
}

std::size_t commonLength(std::vector<Binding> const& bindings) {
  std::size_t const rows = bindings.empty() ? 0 : bindings.front().values->size();
  for (auto const& binding : bindings)
    if (binding.values->size() != rows) throw varnel::ExceptionBase{"The columns differ in length.", true};
  return rows;
}

/// Gives the bindings of each name in turn.
class Targets {
 public:
  explicit Targets(std::vector<Binding> const& bindings) {
    for (std::size_t i = bindings.size(); i-- > 0;) left_[bindings[i].name].push_back(i);
  }

  std::size_t next(std::string const& name) {
    auto const found = left_.find(name);
    if (found == left_.end() || found->second.empty())
      throw varnel::ExceptionBase{"No column is bound for the results of \"" + name + "\".", true};
    auto const target = found->second.back();
    found->second.pop_back();
    return target;
  }

 private:
  std::unordered_map<std::string, std::vector<std::size_t>> left_;  // descending
};

}  // namespace

void ExpressionExecutor::execute(std::vector<Equation> const& equations, std::vector<Binding> const& bindings) const {
  auto const rows = commonLength(bindings);
  auto const names = namesOf(bindings);
  expression::NameIndex const index{names};
  Targets targets{bindings};
  std::vector<expression::TargetedExpression> targeted;
  for (auto const& [name, text] : equations)
    targeted.push_back({Expression{expression::compile(text, index)}, targets.next(name)});

  std::vector<Variant*> columns;
  for (auto const& binding : bindings) columns.push_back(binding.values->data());
  expression::EquationPlan const plan{std::move(targeted)};
  expression::EquationPlan::Scratch scratch{plan};
  plan.evaluate(columns, 0, rows, scratch);
}

}  // namespace casebook
