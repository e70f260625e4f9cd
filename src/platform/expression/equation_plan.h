#pragma once

#include "platform/expression/register.h"

#include <casebook/expression.h>

#include <span>
#include <unordered_map>
#include <vector>

namespace casebook::expression {

/// An equation whose target is a column by its position, not by its name.
struct TargetedExpression {
  Expression expression;
  std::size_t target;
};

/// The first cell of each column, by position; those that the plan neither reads nor writes may be null.
using Columns = std::span<Variant* const>;

/// How several equations of one table are worked out, which depends on nothing but the equations.
///
/// 1. Expressions are compiled for the same names, those of the columns in their order; no two targets are equal.
/// 2. An equation is worked out after those whose targets it reads, and reads what they wrote.
/// 3. An equation on a circle gives null in every row; those that read its target read null.
/// 4. Rows are independent of each other. A plan never changes: several threads may evaluate it at once over rows of
///    which none is another's, each with a scratch of its own.
class EquationPlan {
 public:
  explicit EquationPlan(std::vector<TargetedExpression> equations);

  /// The memory that an evaluation needs: 8 KiB for each column and each number in between. It can be used again.
  class Scratch {
   public:
    explicit Scratch(EquationPlan const& plan)
        : registers_(plan.inputs_.size() + plan.temporaries_), sources_(plan.mostInputs_) {}

   private:
    friend class EquationPlan;
    std::vector<Register> registers_;
    std::vector<Source> sources_;
  };

  /// Some of the equations, in the order of the plan that gave it; empty until then.
  class Selection;

  /// The equations of which a cell may change when others change in these columns: those that read them or write them,
  /// and those that read what these write. `positions` ascend.
  void selectReached(std::span<std::size_t const> positions, Selection& selection) const;

  /// Works out the rows from `first` to before `last`, or those of an ascending list, and writes the results into the
  /// target columns. Allocates nothing.
  void evaluate(Columns columns, std::size_t first, std::size_t last, Scratch& scratch) const noexcept {
    evaluate(columns, first, last, scratch, steps_);
  }
  void evaluate(Columns columns, std::span<std::size_t const> rows, Scratch& scratch) const noexcept {
    evaluate(columns, rows, scratch, steps_);
  }
  /// The same for some of the equations.
  void evaluate(Columns columns, std::size_t first, std::size_t last, Scratch& scratch,
                Selection const& selection) const noexcept;
  void evaluate(Columns columns, std::span<std::size_t const> rows, Scratch& scratch,
                Selection const& selection) const noexcept;

 private:
  struct Step {
    enum class Kind : std::uint8_t { Load, Evaluate, Clear };

    Kind kind;
    std::size_t index;  ///< into inputs_ or equations_
  };
  using Steps = std::span<Step const>;

  /// The register of each column that was loaded so far.
  using RegisterOf = std::unordered_map<std::size_t, std::size_t>;

  void addSteps(std::size_t equation, RegisterOf& registerOf);
  void evaluate(Columns columns, std::size_t first, std::size_t last, Scratch& scratch, Steps steps) const noexcept;
  void evaluate(Columns columns, std::span<std::size_t const> rows, Scratch& scratch, Steps steps) const noexcept;
  void evaluateBlock(Steps steps, Columns columns, Block const& block, Scratch& scratch) const noexcept;
  void evaluateEquation(std::size_t equation, Columns columns, Block const& block, Scratch& scratch) const noexcept;

  std::vector<TargetedExpression> equations_;
  std::vector<std::size_t> inputs_;                    // columns read as numbers, in the order of their registers
  std::vector<std::vector<std::size_t>> registersOf_;  // by equation, one for each of its program's inputs
  std::vector<Step> steps_;
  std::size_t temporaries_ = 0;  // which follow the inputs among the registers
  std::size_t mostInputs_ = 0;
};

class EquationPlan::Selection {
 public:
  /// The columns that are written.
  [[nodiscard]] std::vector<std::size_t> const& targets() const noexcept { return targets_; }
  /// The columns that are read as numbers.
  [[nodiscard]] std::vector<std::size_t> const& inputs() const noexcept { return inputs_; }

 private:
  friend class EquationPlan;
  std::vector<Step> steps_;
  std::vector<std::size_t> targets_;
  std::vector<std::size_t> inputs_;
  std::vector<std::size_t> reached_;  // columns, ascending
};

}  // namespace casebook::expression
