#pragma once

#include <casebook/expression.h>
#include <casebook/project.h>

#include <string>
#include <vector>

namespace casebook::cli {

/// A calculated variable as it was when it was looked at.
struct CalculatedVariable {
  u64 uid = 0;
  std::string name;
  std::string expression;
  std::vector<u64> inputs;  ///< the variables that the expression reads, ascending
};

/// In the order of their making.
[[nodiscard]] std::vector<CalculatedVariable> calculatedVariables(Project& project);

/// Compiles what a person wrote for a table of these columns. Throws Failure with the place under a caret, and for an
/// unknown column or function with the nearest names as they are written in an expression.
[[nodiscard]] Expression compile(std::string const& text, std::vector<std::string> const& names);

/// A variable that is calculated no more.
struct MadeStatic {
  std::string name;
  std::string fault;  ///< what keeps its expression from being one now, and where; empty when nothing does
};

/// Those of the variables `before` that are there, and calculated no more.
[[nodiscard]] std::vector<MadeStatic> madeStatic(Project& project, std::vector<CalculatedVariable> const& before);

/// Sentences on those of the variables `before` whose expressions stayed, and mean other variables now.
[[nodiscard]] std::vector<std::string> changedMeanings(Project& project, std::vector<CalculatedVariable> const& before);

/// A sentence when a calculated variable is worked out from itself, by whatever way; else empty.
[[nodiscard]] std::string circleThrough(Project& project, u64 variable);

}  // namespace casebook::cli
