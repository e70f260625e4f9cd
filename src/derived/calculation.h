#pragma once

#include "platform/expression/equation_plan.h"
#include "store/table.h"
#include "transactions/variable_changes.h"

#include <optional>
#include <string>
#include <vector>

namespace casebook {

/// Keeps the columns of the calculated variables at what their expressions give.
class Calculation {
 public:
  /// All are borrowed.
  Calculation(Store& store, Table& table, VariableChanges const& variableChanges)
      : store_{store}, table_{table}, variableChanges_{variableChanges} {}

  /// Works out every calculated variable, in the rows of which a cell was touched since that counts. One whose
  /// expression is none is made static first, and with it every calculated variable of its name; its column stays as
  /// it is. The results are touched cells; otherwise nobody is told of them.
  void updateCalculatedValues();

  /// Works out those whose expressions are expressions, in all rows, and leaves the others as they are.
  void calculateWhatCompiles();

  /// When the columns were last worked out; what was touched later has yet to be seen.
  [[nodiscard]] u64 calculatedAt() const noexcept { return calculatedAt_; }

 private:
  /// What the equations depend on, of one variable.
  struct Source {
    u64 variable;
    std::string name;
    std::optional<std::string> expression;  ///< of a calculated variable

    [[nodiscard]] bool matches(DataVariable const& now) const noexcept;
  };

  using Positions = std::vector<std::size_t>;  ///< of columns among all, ascending

  /// What one thread keeps while it works out a block.
  struct BlockWork {
    std::optional<expression::EquationPlan::Scratch> scratch;
    std::vector<Variant> before;  ///< what the targets held
  };
  /// What some rows of one target held before they were worked out, as far as they hold something else now.
  using Changed = std::vector<TouchedColumn::Cell>;

  /// The equations of the variables as they are in `sources`, which are all.
  struct Plan {
    std::vector<Source> sources;
    expression::EquationPlan equations;
    Positions columns;                                 ///< that the equations read or write
    std::vector<DataVariable*> variables;              ///< these, by position
    std::vector<Variant*> cells;                       ///< the first of each, by position
    std::optional<Positions> touched = {};             ///< columns of which cells were touched
    expression::EquationPlan::Selection reached = {};  ///< the equations to work out for these
    std::vector<std::size_t> rows = {};                ///< to work them out in
    BlockWork work = {};
    bool evaluated = false;  ///< all in all rows, once
  };

  [[nodiscard]] bool isCurrent();
  void renew();
  void adopt(std::vector<expression::TargetedExpression> equations);
  void makeVariableStatic(std::vector<std::string> const& names);
  void remember() noexcept;

  void evaluate();
  [[nodiscard]] bool listTouched(Positions& columns);
  void evaluateRows();
  void evaluateAllRows();
  void evaluatePart(std::size_t first, std::size_t last, std::vector<Changed>& changed) const;
  /// Calls `note(number, row, before)` for each cell that changed of a target by its number; it must not throw.
  template <class Rows, class Evaluate, class Note>
  void evaluateBlock(BlockWork& work, Rows const& rows, Evaluate const& evaluate, Note const& note) const;
  void note(std::size_t target, std::size_t row, Variant const& before) noexcept;

  Store& store_;
  Table& table_;
  VariableChanges const& variableChanges_;
  std::optional<Plan> plan_;  // kept while the names, the expressions and the set of variables stay
  u64 calculatedAt_ = 0;
  u64 rowsSeen_ = 0;
  u64 changesSeen_ = 0;
};

}  // namespace casebook
