#include "derived/calculation.h"

#include "platform/expression/compile.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace casebook {

namespace {

using expression::TargetedExpression;

bool isCalculated(DataVariable const& variable) noexcept { return variable.type == VariableType::Calculated; }

/// The equations of a table, as far as their texts are expressions.
struct Compiled {
  std::vector<TargetedExpression> equations;
  std::vector<std::string> failed;  ///< names of the variables of the others, ascending by UID
};

Compiled compile(EntityMap<DataVariable> const& variables) {
  std::vector<std::string> names;
  for (auto const& variable : variables.all()) names.push_back(variable.name);
  expression::NameIndex const index{names};
  Compiled compiled;
  std::size_t column = 0;
  for (auto const& variable : variables.all()) {
    auto const target = column++;
    if (!isCalculated(variable)) continue;
    try {
      compiled.equations.push_back({Expression{expression::compile(variable.expression, index)}, target});
    } catch (Expression::Error const&) {
      compiled.failed.push_back(variable.name);
    }
  }
  return compiled;
}

}  // namespace

bool Calculation::Source::matches(DataVariable const& now) const noexcept {
  return variable == now.id && name == now.name && expression.has_value() == isCalculated(now) &&
         (!expression || *expression == now.expression);
}

void Calculation::updateCalculatedValues() {
  if (!isCurrent()) renew();
  if (plan_) evaluate();
  calculatedAt_ = store_.touched.now();
}

void Calculation::calculateWhatCompiles() {
  auto compiled = compile(store_.variables);
  plan_.reset();
  adopt(std::move(compiled.equations));
  if (plan_) evaluate();
  if (!compiled.failed.empty()) plan_.reset();
  calculatedAt_ = store_.touched.now();
}

// No plan is that of a table without calculated variables.
bool Calculation::isCurrent() const noexcept {
  if (!plan_) return std::ranges::none_of(store_.variables.all(), isCalculated);
  return std::ranges::equal(plan_->sources, store_.variables.all(), &Source::matches);
}

void Calculation::renew() {
  plan_.reset();
  auto compiled = compile(store_.variables);
  if (!compiled.failed.empty()) {
    makeVariableStatic(compiled.failed);
    compiled = compile(store_.variables);
  }
  adopt(std::move(compiled.equations));
}

void Calculation::adopt(std::vector<TargetedExpression> equations) {
  if (equations.empty()) return;
  std::vector<Source> sources;
  for (auto const& variable : store_.variables.all())
    sources.push_back(
        {variable.id, variable.name, isCalculated(variable) ? std::optional{variable.expression} : std::nullopt});
  expression::EquationPlan plan{std::move(equations)};
  expression::EquationPlan::Scratch scratch{plan};
  std::vector<Variant*> columns(sources.size());
  plan_.emplace(std::move(sources), std::move(plan), std::move(scratch), std::move(columns), std::vector<Variant>{});
}

// Name by name, which is the order that the journal tells; the second time a name comes its variables are static.
void Calculation::makeVariableStatic(std::vector<std::string> const& names) {
  std::map<std::string_view, std::vector<DataVariable*>> calculated;
  for (auto& variable : store_.variables.all())
    if (isCalculated(variable)) calculated[variable.name].push_back(&variable);
  for (auto const& name : names) {
    for (auto* const variable : calculated[name])
      if (isCalculated(*variable)) table_.makeStatic(*variable, variable->values);
  }
}

void Calculation::evaluate() {
  std::ranges::transform(store_.variables.all(), plan_->columns.begin(),
                         [](DataVariable& variable) { return variable.values.data(); });
  for (std::size_t first = 0; first < table_.rowCount(); first += expression::blockRows)
    evaluateBlock(first, std::min<std::size_t>(expression::blockRows, table_.rowCount() - first));
}

void Calculation::evaluateBlock(std::size_t first, std::size_t count) {
  auto& [sources, equations, scratch, columns, before] = *plan_;
  before.clear();
  auto const forTargets = [&](auto const& visit) {
    for (auto& variable : store_.variables.all())
      if (isCalculated(variable)) visit(variable, std::span{variable.values}.subspan(first, count));
  };
  forTargets([&](auto&, std::span<Variant const> cells) { before.insert(before.end(), cells.begin(), cells.end()); });
  equations.evaluate(columns, first, first + count, scratch);
  auto held = before.begin();
  forTargets([&](DataVariable& variable, std::span<Variant const> cells) {
    for (std::size_t i = 0; i < count; ++i, ++held)
      if (!cells[i].isIdentical(*held)) store_.touched.noteWrite(variable, first + i, *held);
  });
}

}  // namespace casebook
