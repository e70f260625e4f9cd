#include "project/lookup.h"

#include "console/messages.h"
#include "project/words.h"
#include "text/nearest.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>

#include <algorithm>

namespace casebook::cli {
namespace {

std::string nearestCases(std::vector<std::uint32_t> const& ids, std::uint32_t wanted) {
  if (ids.empty()) return "There are no cases yet.";
  auto const above = std::ranges::lower_bound(ids, wanted);
  if (above == ids.begin()) return fmt::format("The first is case {}.", ids.front());
  if (above == ids.end()) return fmt::format("The last is case {}.", ids.back());
  return fmt::format("The nearest are {} and {}.", above[-1], above[0]);
}

}  // namespace

std::vector<std::string> variableNames(Project& project) {
  std::vector<std::string> names;
  for (auto variable : project.variables()) names.push_back(project.variableName(variable.id()));
  return names;
}

std::string typeWords(Project& project, u64 variable) {
  bool const isCalculated = project.variableType(variable) == VariableType::Calculated;
  return typeWord(project.variableDataType(variable)) + (isCalculated ? ", calculated" : "");
}

WeakPtr<Variable> findVariable(Project& project, std::string const& name) {
  auto const variable = project.variable(name);
  if (variable) return variable;
  throw Failure{fmt::format("There is no variable {}. {}", inQuotes(name), suggestion(name, variableNames(project)))};
}

WeakPtr<Record> findCase(Project& project, std::string const& caseId) {
  auto const id = readWholeNumber(caseId);
  if (!id)
    throw Failure{fmt::format("{} is not a case identifier: a whole number below 4294967296.", inQuotes(caseId))};
  auto const record = project.recordById(*id);
  if (record) return record;
  throw Failure{fmt::format("There is no case {}. {}", *id, nearestCases(caseIds(project), *id))};
}

std::vector<std::uint32_t> caseIds(Project& project) {
  Variable const column = project.getCaseIDColumn().lock();
  std::vector<std::uint32_t> ids;
  for (auto record : project.records())
    ids.push_back(static_cast<std::uint32_t>(record.lock().data(column).longValue()));
  std::ranges::sort(ids);
  return ids;
}

std::vector<std::uint32_t> freeCaseIds(std::vector<std::uint32_t> const& taken, std::size_t count) {
  u64 next = taken.empty() ? 1 : u64{taken.back()} + 1;
  if (next + count > u64{UINT32_MAX} + 1) next = 1;
  auto ahead = std::ranges::lower_bound(taken, next);
  std::vector<std::uint32_t> free;
  for (; free.size() < count; ++next) {
    while (ahead != taken.end() && *ahead < next) ++ahead;
    if (ahead == taken.end() || *ahead != next) free.push_back(static_cast<std::uint32_t>(next));
  }
  return free;
}

void checkNewName(Project& project, std::string const& name) {
  checkUtf8(name);
  if (name.empty()) throw Failure{"A variable needs a name."};
  if (name == caseIdName || name == caseStatusName)
    throw Failure{fmt::format("The name {} belongs to a built-in variable.", inQuotes(name))};
  if (project.variable(name)) throw Failure{fmt::format("There is a variable {} already.", inQuotes(name))};
}

void checkNotBuiltIn(std::string const& name, std::string_view keeps) {
  if (name == caseIdName || name == caseStatusName)
    throw Failure{fmt::format("{} is built in and keeps its {}.", inQuotes(name), keeps)};
}

void checkUtf8(std::string const& text) {
  std::size_t const bad = firstInvalidUtf8(text);
  if (bad == std::string_view::npos) return;
  throw Failure{fmt::format("{} is not UTF-8 at its character {}.", inQuotes(text),
                            characters(std::string_view{text}.substr(0, bad)) + 1)};
}

}  // namespace casebook::cli
