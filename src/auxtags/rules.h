#pragma once

#include "store/change_sink.h"

#include <string>

namespace casebook {

/// The rules: `Target` is the UID of a variable, or a tag. Patterns are checked when they are set, as `checkWildcard`
/// says, and not where they come from a stored block: matching takes any.
template <class Target>
class Rules {
 public:
  /// Both are borrowed.
  Rules(Store& store, ChangeSink& sink) : store_{store}, sink_{sink} {}

  DataRegex<Target>& add(std::string const& expression, Target const& target);
  /// Puts a rule back under its UID, unchecked.
  DataRegex<Target>& insert(DataRegex<Target> rule);

  void setExpression(u64 rule, std::string const& expression);
  void setTarget(u64 rule, Target const& target);

 private:
  Store& store_;
  ChangeSink& sink_;
};

using VariableRules = Rules<u64>;
using PathRules = Rules<std::string>;

}  // namespace casebook
