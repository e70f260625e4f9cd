#include "project/calculated_variables.h"

#include "console/messages.h"
#include "project/lookup.h"
#include "text/nearest.h"
#include "text/utf8.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace casebook::cli {
namespace {

std::string asWritten(std::string_view name) {
  constexpr std::size_t longest = 80;
  return shortened(printable(Expression::written(name.substr(0, 8 * longest))), longest);
}

std::string namesFor(Expression::Error const& error, std::vector<std::string> const& columns) {
  switch (error.unknown()) {
    case Expression::Error::Unknown::Nothing: return {};
    case Expression::Error::Unknown::Column: return suggestion(error.unknownName(), columns, asWritten);
    case Expression::Error::Unknown::Function: break;
  }
  auto const all = Expression::functions();
  std::string near = nearest(error.unknownName(), std::vector<std::string>{all.begin(), all.end()}, asWritten);
  return near.empty() ? fmt::format("There are {}.", fmt::join(all, ", ")) : near;
}

/// What is wrong, and where: the text on a line of its own with a caret under the place.
std::string words(Expression::Error const& error, std::string_view text) {
  return fmt::format("{}\n{}", printable(error.what()), withCaret(text, error.position()));
}

/// What keeps a text from being an expression; empty when it is one.
std::string fault(std::string const& text, std::vector<std::string> const& names) {
  try {
    Expression const expression{text, names};
    return {};
  } catch (Expression::Error const& error) {
    return words(error, text);
  }
}

bool isCalculated(Project& project, u64 variable) { return project.variableType(variable) == VariableType::Calculated; }

/// The variables that each calculated variable reads.
using Readings = std::map<u64, std::vector<u64>>;

Readings readings(Project& project) {
  Readings readings;
  for (auto& variable : calculatedVariables(project)) readings[variable.uid] = std::move(variable.inputs);
  return readings;
}

/// What an expression reads; nothing when it is none.
std::vector<u64> inputsOf(Project& project, std::string const& text, std::vector<std::string> const& names) {
  std::vector<u64> inputs;
  try {
    auto const variables = project.variables();
    Expression const expression{text, names};
    for (std::size_t column : expression.columns()) inputs.push_back(variables[column].id());
  } catch (Expression::Error const&) {
    inputs.clear();
  }
  return inputs;
}

std::string listed(Project& project, std::vector<u64> const& variables) {
  std::vector<std::string> names;
  for (u64 const uid : variables) names.push_back(inQuotes(project.variableName(uid)));
  return names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "));
}

/// The variable by which `variable` comes to read itself.
std::optional<u64> readerOnCircle(Readings const& readings, u64 variable) {
  std::vector<u64> waiting{variable};
  std::set<u64> met;
  while (!waiting.empty()) {
    auto const reader = readings.find(waiting.back());
    waiting.pop_back();
    if (reader == readings.end() || !met.insert(reader->first).second) continue;
    for (u64 input : reader->second) {
      if (input == variable) return reader->first;
      waiting.push_back(input);
    }
  }
  return {};
}

}  // namespace

std::vector<CalculatedVariable> calculatedVariables(Project& project) {
  std::vector<CalculatedVariable> calculated;
  auto const names = variableNames(project);
  for (auto variable : project.variables()) {
    u64 const uid = variable.id();
    if (!isCalculated(project, uid)) continue;
    auto const text = project.variableExpression(uid);
    calculated.push_back({uid, project.variableName(uid), text, inputsOf(project, text, names)});
  }
  return calculated;
}

Expression compile(std::string const& text, std::vector<std::string> const& names) {
  try {
    return Expression{text, names};
  } catch (Expression::Error const& error) {
    throw Failure{words(error, text), namesFor(error, names)};
  }
}

std::vector<MadeStatic> madeStatic(Project& project, std::vector<CalculatedVariable> const& before) {
  std::set<u64> there;
  for (auto variable : project.variables()) there.insert(variable.id());
  auto const names = variableNames(project);
  std::vector<MadeStatic> found;
  for (auto const& variable : before)
    if (there.contains(variable.uid) && !isCalculated(project, variable.uid))
      found.push_back({project.variableName(variable.uid), fault(variable.expression, names)});
  return found;
}

std::vector<std::string> changedMeanings(Project& project, std::vector<CalculatedVariable> const& before) {
  std::vector<std::string> sentences;
  for (auto const& now : calculatedVariables(project)) {
    auto const was = std::ranges::find(before, now.uid, &CalculatedVariable::uid);
    if (was == before.end() || was->expression != now.expression || was->inputs == now.inputs) continue;
    sentences.push_back(fmt::format("The names in the expression of {} mean other variables now: {}.",
                                    inQuotes(now.name), listed(project, now.inputs)));
  }
  return sentences;
}

std::string circleThrough(Project& project, u64 variable) {
  auto const reader = readerOnCircle(readings(project), variable);
  if (!reader) return {};
  std::string const name = inQuotes(project.variableName(variable));
  return *reader == variable
             ? fmt::format("{} reads itself: it has no value in any case.", name)
             : fmt::format("{} is worked out from {}, and that from {}: none of them has a value in any case.", name,
                           inQuotes(project.variableName(*reader)), name);
}

}  // namespace casebook::cli
