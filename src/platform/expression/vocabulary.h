#pragma once

#include "platform/expression/kernels.h"

#include <span>
#include <string_view>

/// The words of the language. Parser, compiler and evaluator follow from these rows: a function more is a row
/// more, an operator also its symbol in tokens.cpp; and a line in docs/expressions.md, whose examples are tests.
namespace casebook::expression {

/// How a function takes its arguments, which are numbers.
enum class Form : std::uint8_t {
  Whole,    ///< all at once, as many as the kernel has operands
  Folded,   ///< any number: what came before and the next one, in turn
  Average,  ///< folded, then divided by their number
  Test,     ///< one, of which a column's cells are looked at by `cellKernel` instead
};

struct Function {
  std::string_view name;
  unsigned arguments;  ///< for the forms that take any number: at least these
  Form form;
  Kernel kernel;
  Kernel cellKernel = nullptr;

  [[nodiscard]] bool takesMore() const noexcept { return form == Form::Folded || form == Form::Average; }
};

/// Operators of higher precedence are done first.
enum class Precedence : std::uint8_t { Or, And, Not, Comparison, Sum, Product, Power };

/// What a comparison does to texts.
struct TextComparison {
  bool (*compare)(std::string_view, std::string_view);
  Kernel columns;         ///< two columns
  Kernel columnWithText;  ///< a column with a text behind it
  Kernel textWithColumn;  ///< the same with the text in front, operands exchanged
};

struct BinaryOperator {
  std::string_view symbol;
  Precedence precedence;
  Kernel kernel;
  TextComparison const* texts = nullptr;

  [[nodiscard]] bool fromRightToLeft() const noexcept { return precedence == Precedence::Power; }
};

struct PrefixOperator {
  std::string_view symbol;
  Precedence precedence;
  Kernel kernel;  ///< none: the value itself
};

struct NamedConstant {
  std::string_view name;
  double value;
};

[[nodiscard]] std::span<Function const> functions() noexcept;

/// Each finds its row, or null. Capitals do not matter.
[[nodiscard]] Function const* findFunction(std::string_view name) noexcept;
[[nodiscard]] BinaryOperator const* findBinaryOperator(std::string_view symbol) noexcept;
[[nodiscard]] PrefixOperator const* findPrefixOperator(std::string_view symbol) noexcept;
[[nodiscard]] NamedConstant const* findConstant(std::string_view name) noexcept;

[[nodiscard]] bool isMissingValue(std::string_view name) noexcept;

[[nodiscard]] Kernel division() noexcept;

}  // namespace casebook::expression
