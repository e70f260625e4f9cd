#pragma once

#include <casebook/export.h>
#include <casebook/variant.h>

#include <string>
#include <utility>
#include <vector>

namespace casebook {

/// Works out equations over the rows of a table.
class CASEBOOK_EXPORT ExpressionExecutor {
 public:
  /// The name of the column that takes the results, and the text of the expression.
  using Equation = std::pair<std::string, std::string>;

  /// A column. Borrows the values.
  struct VariableArray {
    std::string name;
    std::vector<Variant>* values;
  };

  /// Evaluates all equations in all rows, each after those whose results it reads, and writes the results: a number, or
  /// null where a value is missing. Equations on a circle give null. In an expression a name means the first binding
  /// of that name; as a target the first equation of a name means its first binding, the second the second, and so on.
  ///
  /// Throws before anything is written: Expression::Error for a text that is no expression, and varnel::ExceptionBase
  ///  - ("The columns differ in length.", true),
  ///  - ("No column is bound for the results of \"<name>\".", true).
  void execute(std::vector<Equation> const& equations, std::vector<VariableArray> const& bindings) const;
};

}  // namespace casebook
