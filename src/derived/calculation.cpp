#include "derived/calculation.h"

#include "platform/expression/compile.h"
#include "platform/first_error.h"
#include "platform/parallel.h"

#include <algorithm>
#include <map>
#include <ranges>
#include <string_view>
#include <tuple>
#include <utility>

namespace casebook {

namespace {

using expression::TargetedExpression;

constexpr auto noChanges = ~u64{0};  // the plan is to be looked at again

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
  remember();
}

void Calculation::calculateWhatCompiles() {
  auto compiled = compile(store_.variables);
  plan_.reset();
  adopt(std::move(compiled.equations));
  if (plan_) evaluate();
  if (!compiled.failed.empty()) plan_.reset();
  remember();
  if (!compiled.failed.empty()) changesSeen_ = noChanges;
}

void Calculation::remember() noexcept {
  calculatedAt_ = store_.touched.now();
  rowsSeen_ = table_.rowCount();
  changesSeen_ = variableChanges_.count();
}

// No plan is that of a table without calculated variables.
bool Calculation::isCurrent() {
  bool const sameTable = store_.touched.movedAt() <= calculatedAt_;
  if (sameTable && changesSeen_ == variableChanges_.count()) return true;
  if (!plan_) return std::ranges::none_of(store_.variables.all(), isCalculated);
  if (!std::ranges::equal(plan_->sources, store_.variables.all(), &Source::matches)) return false;
  for (auto const position : plan_->columns)  // some may have been put back
    plan_->variables[position] = &store_.variables.at(plan_->sources[position].variable);
  return true;
}

void Calculation::renew() {
  plan_.reset();
  changesSeen_ = noChanges;
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
  std::vector<DataVariable*> variables;
  for (auto& variable : store_.variables.all()) {
    variables.push_back(&variable);
    sources.push_back(
        {variable.id, variable.name, isCalculated(variable) ? std::optional{variable.expression} : std::nullopt});
  }
  Positions columns;
  for (auto const& [expression, target] : equations) {
    columns.push_back(target);
    columns.insert(columns.end(), expression.columns().begin(), expression.columns().end());
  }
  std::ranges::sort(columns);
  columns.erase(std::ranges::unique(columns).begin(), columns.end());
  std::vector<Variant*> cells(sources.size());
  plan_.emplace(std::move(sources), expression::EquationPlan{std::move(equations)}, std::move(columns),
                std::move(variables), std::move(cells));
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
  Positions touched;
  bool const listed = plan_->evaluated && listTouched(touched);
  if (!plan_->evaluated) touched = plan_->columns;
  if (touched != plan_->touched) {
    plan_->touched.reset();
    plan_->equations.selectReached(touched, plan_->reached);
    plan_->touched = std::move(touched);
  }
  for (auto const position : plan_->columns) plan_->cells[position] = plan_->variables[position]->values.data();
  if (listed) evaluateRows();
  else evaluateAllRows();
  plan_->evaluated = true;
}

/// Tells in which columns cells were touched, and lists the rows; false when these are so many, or so little is known
/// of them, that it is all.
bool Calculation::listTouched(Positions& columns) {
  auto& rows = plan_->rows;
  rows.clear();
  auto const changes = store_.touched.rowsSince(calculatedAt_, rowsSeen_);
  if (!changes) {
    columns = plan_->columns;
    return false;
  }
  std::size_t const rowCount = table_.rowCount();
  changes->forNew(rowCount, [&](u64 row) { rows.push_back(row); });
  bool const anyNew = !rows.empty();
  if (anyNew) columns = plan_->columns;
  bool listed = true;
  for (auto const position : plan_->columns) {
    auto const cells = plan_->variables[position]->touched.since(calculatedAt_);
    if (cells && cells->empty()) continue;
    if (!anyNew) columns.push_back(position);
    if (cells)
      for (auto const& cell : *cells) rows.push_back(cell.row);
    else listed = false;
  }
  std::ranges::sort(rows);
  rows.erase(std::ranges::unique(rows).begin(), rows.end());
  return listed && rows.size() < rowCount / 4 + expression::blockRows;
}

// Single rows lie anywhere in each column: all their cells are asked of the memory before the first is waited for.
void Calculation::evaluateRows() {
  auto const& [equations, cells, reached] = std::tie(plan_->equations, plan_->cells, plan_->reached);
  std::span<std::size_t const> rest{plan_->rows};
  while (!rest.empty()) {
    auto const rows = rest.first(std::min(expression::blockRows, rest.size()));
    for (auto const* const columns : {&reached.targets(), &reached.inputs()})
      for (auto const column : *columns)
        for (auto const row : rows) __builtin_prefetch(&cells[column][row]);
    evaluateBlock(
        plan_->work, rows, [&](auto& scratch) { equations.evaluate(cells, rows, scratch, reached); },
        [this](auto... changed) { note(changed...); });
    rest = rest.subspan(rows.size());
  }
}

// Threads write cells of rows of their own; what they changed is noted when all have ended, also where one failed.
void Calculation::evaluateAllRows() {
  constexpr std::size_t leastCellsForThreads = 200'000;  // which take about a millisecond
  constexpr std::size_t rowsAtATime = 16 * expression::blockRows;
  std::size_t const rowCount = table_.rowCount();
  std::size_t const targets = plan_->reached.targets().size();
  std::vector<std::vector<Changed>> changed((rowCount + rowsAtATime - 1) / rowsAtATime, std::vector<Changed>(targets));
  auto const task = [&](std::size_t part) {
    evaluatePart(part * rowsAtATime, std::min((part + 1) * rowsAtATime, rowCount), changed[part]);
  };
  FirstError error;
  error.guard([&] {
    if (rowCount * targets < leastCellsForThreads) runInTurn(changed.size(), task);
    else runInParallel(changed.size(), task);
  });
  for (std::size_t target = 0; target < targets; ++target)
    for (auto const& part : changed)
      for (auto const& [row, before] : part[target]) note(target, row, before);
  error.rethrow();
}

// What is touched of a column beyond these counts as all of it, and need not be listed here either.
void Calculation::evaluatePart(std::size_t first, std::size_t last, std::vector<Changed>& changed) const {
  BlockWork work;
  auto const most = TouchedColumn::mostListed(table_.rowCount()) + 1;
  for (std::size_t end = first; first < last; first = end) {
    end = std::min(first + expression::blockRows, last);
    for (auto& cells : changed) cells.reserve(std::min(cells.size() + expression::blockRows, most));
    evaluateBlock(
        work, std::views::iota(first, end),
        [&](auto& scratch) { plan_->equations.evaluate(plan_->cells, first, end, scratch, plan_->reached); },
        [&](std::size_t target, std::size_t row, Variant const& before) {
          auto& cells = changed[target];
          if (cells.size() < most) cells.push_back({static_cast<std::uint32_t>(row), before});
        });
  }
}

template <class Rows, class Evaluate, class Note>
void Calculation::evaluateBlock(BlockWork& work, Rows const& rows, Evaluate const& evaluate, Note const& note) const {
  auto& [scratch, before] = work;
  if (!scratch) scratch.emplace(plan_->equations);
  auto const& targets = plan_->reached.targets();
  before.clear();
  for (auto const target : targets)
    for (auto const row : rows) before.push_back(plan_->cells[target][row]);
  evaluate(*scratch);
  auto held = before.begin();
  for (std::size_t number = 0; number < targets.size(); ++number)
    for (auto const row : rows) {
      if (!plan_->cells[targets[number]][row].isIdentical(*held)) note(number, row, *held);
      ++held;
    }
}

void Calculation::note(std::size_t target, std::size_t row, Variant const& before) noexcept {
  store_.touched.noteWrite(*plan_->variables[plan_->reached.targets()[target]], row, before);
}

}  // namespace casebook
