#pragma once

#include "platform/expression/program.h"
#include "platform/expression/vocabulary.h"

#include <optional>
#include <string_view>
#include <unordered_map>

namespace casebook::expression {

/// Writes a program as an expression is read: values are put on a stack, operators take theirs from its top and put
/// their result there. What only constants go into is worked out at once. Throws Expression::Error where a text stands
/// for a number.
class ProgramBuilder {
 public:
  /// `position` is where the value stands in the text.
  void putNumber(double value, std::size_t position);
  void putMissing(std::size_t position);
  void putText(std::string text, std::size_t position);
  void putColumn(std::size_t column, std::size_t position);

  void apply(PrefixOperator const& op);
  void apply(BinaryOperator const& op);
  /// Takes the three values of `a ? b : c`.
  void choose();

  /// Right after the last value of each argument, and at the end of the call.
  void endArgument(Function const& function, unsigned count);
  void endCall(Function const& function, unsigned count);

  /// The program that gives the only value on the stack.
  [[nodiscard]] Program finish(std::string_view text);

 private:
  struct Value {
    Operand operand;
    std::size_t position;
    bool isNumber = false;  ///< of a column: no longer its cells, but the numbers in them

    [[nodiscard]] bool isText() const noexcept { return operand.kind == Operand::Kind::Text; }
    [[nodiscard]] bool isCells() const noexcept { return operand.kind == Operand::Kind::Column && !isNumber; }
  };

  [[nodiscard]] Value& top(std::size_t below = 0) { return values_[values_.size() - 1 - below]; }
  void put(Operand::Kind kind, std::size_t index, std::size_t position);
  void needNumber(Value& value);

  /// Takes `count` numbers and puts what `kernel` makes of them.
  void applyToNumbers(Kernel kernel, std::size_t count);
  void emit(Kernel kernel, std::size_t count);
  [[nodiscard]] std::optional<double> fold(Kernel kernel, std::size_t count) const;
  [[nodiscard]] std::uint32_t takeTemporary();

  [[nodiscard]] bool compareTexts(BinaryOperator const& op);

  Program program_;
  std::vector<Value> values_;
  std::vector<std::uint32_t> freeTemporaries_;
  std::unordered_map<std::size_t, std::size_t> inputOf_;
};

}  // namespace casebook::expression
