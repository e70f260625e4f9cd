#pragma once

#include "platform/expression/equation_plan.h"
#include "store/table.h"

#include <optional>
#include <string>
#include <vector>

namespace casebook {

/// Keeps the columns of the calculated variables at what their expressions give.
class Calculation {
 public:
  /// Both are borrowed.
  Calculation(Store& store, Table& table) : store_{store}, table_{table} {}

  /// Works out every calculated variable. One whose expression is none is made static first, and with it every
  /// calculated variable of its name; its column stays as it is. Of the results nobody is told.
  void updateCalculatedValues();

  /// Works out those whose expressions are expressions, and leaves the others as they are.
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

  /// The equations of the variables as they are in `sources`, which are all.
  struct Plan {
    std::vector<Source> sources;
    expression::EquationPlan equations;
    expression::EquationPlan::Scratch scratch;
    std::vector<Variant*> columns;
    std::vector<Variant> before;  ///< what the targets held in a block
  };

  [[nodiscard]] bool isCurrent() const noexcept;
  void renew();
  void adopt(std::vector<expression::TargetedExpression> equations);
  void makeVariableStatic(std::vector<std::string> const& names);
  void evaluate();
  void evaluateBlock(std::size_t first, std::size_t count);

  Store& store_;
  Table& table_;
  std::optional<Plan> plan_;  // kept while the names, the expressions and the set of variables stay
  u64 calculatedAt_ = 0;
};

}  // namespace casebook
