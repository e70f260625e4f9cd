#include "platform/expression/equation_plan.h"

#include "platform/expression/dependency_order.h"
#include "platform/expression/program.h"

#include <algorithm>
#include <unordered_map>

namespace casebook::expression {

namespace {

constexpr auto none = static_cast<std::size_t>(-1);

/// By equation, the equations whose targets it reads.
std::vector<std::vector<std::size_t>> needsOf(std::vector<TargetedExpression> const& equations) {
  std::unordered_map<std::size_t, std::size_t> equationOf;
  for (std::size_t i = 0; i < equations.size(); ++i) equationOf.emplace(equations[i].target, i);

  std::vector<std::vector<std::size_t>> needs(equations.size());
  for (std::size_t i = 0; i < equations.size(); ++i)
    for (auto const column : equations[i].expression.columns())
      if (auto const found = equationOf.find(column); found != equationOf.end()) needs[i].push_back(found->second);
  return needs;
}

}  // namespace

// A column is loaded right before the first equation that reads it as numbers: by then its cells are what they will be
// in this block.
EquationPlan::EquationPlan(std::vector<TargetedExpression> equations)
    : equations_{std::move(equations)}, registersOf_(equations_.size()) {
  auto const [order, onCircle] = orderByNeed(needsOf(equations_));
  for (auto const equation : order)
    if (onCircle[equation]) steps_.push_back({Step::Kind::Clear, equation});
  RegisterOf registerOf;
  for (auto const equation : order)
    if (!onCircle[equation]) addSteps(equation, registerOf);
}

void EquationPlan::addSteps(std::size_t equation, RegisterOf& registerOf) {
  auto const& program = equations_[equation].expression.program();
  for (auto const& [column, numbers] : program.inputs) {
    if (!numbers) {
      registersOf_[equation].push_back(none);
      continue;
    }
    auto const [found, isNew] = registerOf.try_emplace(column, inputs_.size());
    registersOf_[equation].push_back(found->second);
    if (!isNew) continue;
    steps_.push_back({Step::Kind::Load, inputs_.size()});
    inputs_.push_back(column);
  }
  steps_.push_back({Step::Kind::Evaluate, equation});
  temporaries_ = std::max<std::size_t>(temporaries_, program.temporaries);
  mostInputs_ = std::max(mostInputs_, program.inputs.size());
}

// Equations come after those whose targets they read; those on a circle, which read nothing, before all. A load that
// was meant for an equation that is left out stands early, but not before what gives its column.
void EquationPlan::selectReached(std::span<std::size_t const> positions, Selection& selection) const {
  auto& [steps, targets, inputs, reached] = selection;
  reached.assign(positions.begin(), positions.end());
  targets.clear();
  inputs.clear();
  steps.clear();
  auto const isReached = [&](std::size_t column) { return std::ranges::binary_search(reached, column); };
  auto const select = [&](std::size_t column) {
    targets.push_back(column);
    if (auto const place = std::ranges::lower_bound(reached, column); place == reached.end() || *place != column)
      reached.insert(place, column);
  };
  std::vector<bool> isRead(inputs_.size());
  for (auto const& step : steps_) {
    auto const& [kind, index] = step;
    steps.push_back(step);
    if (kind == Step::Kind::Load) continue;
    auto const& [expression, target] = equations_[index];
    if (!isReached(target) && std::ranges::none_of(expression.columns(), isReached)) {
      steps.pop_back();
      continue;
    }
    select(target);
    if (kind == Step::Kind::Clear) continue;
    for (auto const input : registersOf_[index])
      if (input != none) isRead[input] = true;
  }
  std::erase_if(steps, [&](Step const& step) { return step.kind == Step::Kind::Load && !isRead[step.index]; });
  for (auto const& [kind, index] : steps)
    if (kind == Step::Kind::Load) inputs.push_back(inputs_[index]);
}

void EquationPlan::evaluate(Columns columns, std::size_t first, std::size_t last, Scratch& scratch,
                            Selection const& selection) const noexcept {
  evaluate(columns, first, last, scratch, selection.steps_);
}

void EquationPlan::evaluate(Columns columns, std::span<std::size_t const> rows, Scratch& scratch,
                            Selection const& selection) const noexcept {
  evaluate(columns, rows, scratch, selection.steps_);
}

void EquationPlan::evaluate(Columns columns, std::size_t first, std::size_t last, Scratch& scratch,
                            Steps steps) const noexcept {
  for (; first < last; first += blockRows)
    evaluateBlock(steps, columns, Block{first, std::min(blockRows, last - first)}, scratch);
}

void EquationPlan::evaluate(Columns columns, std::span<std::size_t const> rows, Scratch& scratch,
                            Steps steps) const noexcept {
  for (; !rows.empty(); rows = rows.subspan(std::min(blockRows, rows.size())))
    evaluateBlock(steps, columns, Block{rows.first(std::min(blockRows, rows.size()))}, scratch);
}

void EquationPlan::evaluateBlock(Steps steps, Columns columns, Block const& block, Scratch& scratch) const noexcept {
  for (auto const& [kind, index] : steps) switch (kind) {
      case Step::Kind::Load: load(columns[inputs_[index]], block, scratch.registers_[index]); break;
      case Step::Kind::Evaluate: evaluateEquation(index, columns, block, scratch); break;
      case Step::Kind::Clear: storeNull(block, columns[equations_[index].target]); break;
    }
}

void EquationPlan::evaluateEquation(std::size_t equation, Columns columns, Block const& block,
                                    Scratch& scratch) const noexcept {
  auto const& [expression, target] = equations_[equation];
  auto const& program = expression.program();
  for (std::size_t i = 0; i < program.inputs.size(); ++i) {
    Source source{.cells = Cells{columns[program.inputs[i].column], block}};
    if (auto const index = registersOf_[equation][i]; index != none) {
      source.values = scratch.registers_[index].values.data();
      source.missing = scratch.registers_[index].missing.data();
    }
    scratch.sources_[i] = source;
  }
  auto* const temporaries = scratch.registers_.data() + inputs_.size();
  store(run(program, scratch.sources_.data(), temporaries, block.count()), block, columns[target]);
}

}  // namespace casebook::expression
