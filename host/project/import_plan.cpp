#include "project/import_plan.h"

#include "console/messages.h"
#include "project/lookup.h"
#include "project/merge_keys.h"
#include "project/table_problems.h"
#include "project/words.h"
#include "text/nearest.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace casebook::cli {
namespace {

using Role = PlannedColumn::Role;

/// Splits "left=right" where `left` is one of the names, which may hold "=" themselves.
std::pair<std::string, std::string> splitWish(std::string const& wish, std::vector<std::string> const& names,
                                              std::string_view option) {
  for (std::size_t equals = wish.find('='); equals != std::string_view::npos; equals = wish.find('=', equals + 1)) {
    std::string left = wish.substr(0, equals);
    if (std::ranges::find(names, left) != names.end()) return {std::move(left), wish.substr(equals + 1)};
  }
  if (wish.find('=') == std::string_view::npos)
    throw Failure{fmt::format("{} {}: This has no \"=\".", option, inQuotes(wish)), {}, ExitCode::Usage};
  std::string const wanted = wish.substr(0, wish.find('='));
  throw Failure{fmt::format("{} {}: The table has no column {}. {}", option, inQuotes(wish), inQuotes(wanted),
                            suggestion(wanted, names))};
}

class Planner {
 public:
  Planner(CsvTable const& table, std::string_view source, ImportWishes const& wishes, Project& project)
      : table_{table}, source_{source}, wishes_{wishes}, project_{project} {}

  ImportPlan make() {
    plan_.method = wishes_.method;
    plan_.missing = wishes_.missing;
    for (CsvCell const& cell : table_.header()) names_.emplace_back(cell.text);
    rename();
    checkNames();
    findFiles();
    readTypes();
    for (std::size_t i = 0; i < names_.size(); ++i)
      if (names_[i] != caseIdName || !wishes_.ignoreCaseId) plan_.columns.push_back(planColumn(i));
    markIndependents("--independent", wishes_.independents);
    markIndependents("--key", wishes_.keys);
    checkMerge();
    return std::move(plan_);
  }

 private:
  void rename() {
    std::vector<std::string> const given = names_;
    std::set<std::string> renamed;
    for (std::string const& wish : wishes_.renames) {
      auto const [from, to] = splitWish(wish, given, "--rename");
      if (!renamed.insert(from).second)
        throw Failure{fmt::format("--rename {}: Another --rename renames {} already.", inQuotes(wish), inQuotes(from)),
                      {},
                      ExitCode::Usage};
      checkUtf8(to);
      for (std::size_t i = 0; i < names_.size(); ++i)
        if (given[i] == from) names_[i] = to;
    }
  }

  void checkNames() {
    TableProblems problems{table_, source_};
    std::map<std::string_view, std::size_t> first;
    for (std::size_t i = 0; i < names_.size(); ++i) {
      CsvCell const& cell = table_.header()[i];
      auto const known = first.emplace(names_[i], i);
      if (names_[i].empty()) {
        problems.add(cell, [&] { return fmt::format("Column {} has no name.", i + 1); });
      } else if (!known.second) {
        problems.add(cell, [&] {
          return fmt::format("Column {} is named {}, as column {} is.", i + 1, inQuotes(names_[i]),
                             known.first->second + 1);
        });
      }
    }
    bool const oneIsNameless = std::ranges::count(names_, "") == 1 && first.size() == names_.size();
    problems.throwIfAny(oneIsNameless ? R"(--rename "=NAME" names the column that has no name.)"
                                      : "Every column needs a name of its own in the header; --rename gives all "
                                        "columns of one name the same new one.");
  }

  void findFiles() {
    for (std::string const& name : wishes_.files) {
      if (std::ranges::find(names_, name) == names_.end()) throw noColumn("--files", name);
      if (name == caseIdName || name == caseStatusName) throw builtIn("--files", name);
      files_.insert(name);
    }
  }

  [[nodiscard]] Failure noColumn(std::string_view option, std::string const& name) const {
    return Failure{
        fmt::format("{} {}: The table has no such column. {}", option, inQuotes(name), suggestion(name, names_))};
  }

  static Failure builtIn(std::string_view option, std::string const& text) {
    return Failure{fmt::format("{} {}: This variable is built in.", option, inQuotes(text))};
  }

  static Failure ofFiles(std::string_view option, std::string const& text) {
    return Failure{fmt::format("{} {}: This column holds paths of files.", option, inQuotes(text))};
  }

  void readTypes() {
    for (std::string const& wish : wishes_.types) {
      auto const [name, word] = splitWish(wish, names_, "--type");
      auto const type = readType(word);
      if (!type)
        throw Failure{
            fmt::format("--type {}: A type is number, text or integer.", inQuotes(wish)), {}, ExitCode::Usage};
      if (name == caseIdName || name == caseStatusName) throw builtIn("--type", wish);
      if (files_.contains(name)) throw ofFiles("--type", wish);
      types_[name] = *type;
    }
  }

  PlannedColumn planColumn(std::size_t index) {
    PlannedColumn column;
    column.index = index;
    column.name = names_[index];
    if (files_.contains(column.name)) {
      column.role = Role::Files;
      countMissing(column);
      return column;
    }
    column.existing = project_.variable(column.name);
    if (column.existing) column.nature = project_.variableNature(column.existing.id());
    if (column.name == caseIdName) {
      column.role = Role::CaseId;
      column.type = Variant::UnsignedInteger;
      // A merge that has no place for the column refuses it whatever it holds.
      if (!wishes_.method || wishes_.method == MergeMethod::ByCaseId) checkCaseIds(index);
    } else if (column.name == caseStatusName) {
      column.role = Role::CaseStatus;
      checkCaseStatus(column);
    } else {
      decideType(column);
    }
    return column;
  }

  void checkCaseIds(std::size_t index) {
    TableProblems problems{table_, source_};
    std::unordered_map<std::uint32_t, CsvCell const*> seen;
    for (std::size_t row = 0; row < table_.rows(); ++row) {
      CsvCell const& cell = table_.cell(row, index);
      auto const id = readWholeNumber(cell.text);
      if (isMissing(cell)) {
        problems.add(cell, [&] { return "This case has no \"Case ID\"."; });
      } else if (!id) {
        problems.add(cell, [&] {
          return fmt::format("\"Case ID\" {} is not a whole number below 4294967296.", inQuotes(cell.text));
        });
      } else if (auto const first = seen.emplace(*id, &cell); !first.second) {
        problems.add(cell, [&] {
          return fmt::format("\"Case ID\" {} stands on line {} already.", *id, problems.lineOf(*first.first->second));
        });
      }
    }
    problems.throwIfAny(wishes_.method ? "The numbers of cases are whole, without a sign or leading zeros, each once."
                                       : R"(--rename "Case ID=NAME" brings the column in as an ordinary one.)");
  }

  void checkCaseStatus(PlannedColumn const& column) {
    TableProblems problems{table_, source_};
    for (std::size_t row = 0; row < table_.rows(); ++row) {
      CsvCell const& cell = table_.cell(row, column.index);
      if (cell.text != activeWord && cell.text != inactiveWord)
        problems.add(cell, [&] {
          return fmt::format("\"Case Status\" {} is neither \"Active\" nor \"Inactive\".", inQuotes(cell.text));
        });
    }
    problems.throwIfAny(R"(--rename "Case Status=NAME" brings the column in as an ordinary one.)");
    if (table_.rows() == 0 && !column.existing && project_.empty())
      plan_.hints.emplace_back("\"Case Status\" comes with the first case; it is left out here.");
  }

  void decideType(PlannedColumn& column) {
    auto const wished = types_.find(column.name);
    if (column.existing) {
      column.type = project_.variableDataType(column.existing.id());
      checkExisting(column);
    } else if (wished != types_.end()) {
      column.type = wished->second;
    } else {
      column.type = guess(column);
    }
    checkCells(column);
  }

  void checkExisting(PlannedColumn const& column) {
    TableProblems problems{table_, source_};
    if (project_.variableType(column.existing.id()) == VariableType::Calculated)
      problems.add(table_.header()[column.index],
                   [&] { return fmt::format("The project computes {}; it takes no values.", inQuotes(column.name)); });
    auto const wished = types_.find(column.name);
    if (wished != types_.end() && wished->second != column.type)
      problems.add(table_.header()[column.index], [&] {
        return fmt::format("The project has {} already, as {}.", inQuotes(column.name), typeWord(column.type));
      });
    problems.throwIfAny(R"(--rename "OLD=NEW" brings a column in under another name.)");
  }

  VariableDataType guess(PlannedColumn const& column) {
    ColumnGuess const guess = guessColumn(table_, column.index, wishes_.missing);
    if (guess.isNumber) return Variant::FloatingPoint;
    if (guess.loneWordCount > 0)
      plan_.hints.push_back(fmt::format("{} is text only for the word {} in {}; --missing {} reads it as missing.",
                                        inQuotes(column.name), inQuotes(guess.loneWord),
                                        counted(guess.loneWordCount, "cell"), inQuotes(guess.loneWord)));
    return Variant::String;
  }

  void checkCells(PlannedColumn& column) {
    TableProblems problems{table_, source_};
    for (std::size_t row = 0; row < table_.rows(); ++row) {
      CsvCell const& cell = table_.cell(row, column.index);
      if (isMissing(cell)) {
        ++column.missing;
      } else if (auto const reading = readCell(cell.text, column.type); !reading.value) {
        problems.add(
            cell, [&] { return fmt::format("{} {} {}.", inQuotes(column.name), inQuotes(cell.text), reading.fault); });
      }
    }
    problems.throwIfAny({});
  }

  void countMissing(PlannedColumn& column) const {
    for (std::size_t row = 0; row < table_.rows(); ++row) column.missing += isMissing(table_.cell(row, column.index));
  }

  void markIndependents(std::string_view option, std::vector<std::string> const& names) {
    for (std::string const& name : names) {
      auto const column = std::ranges::find(plan_.columns, name, &PlannedColumn::name);
      if (column == plan_.columns.end()) throw noColumn(option, name);
      if (column->role == Role::Files) throw ofFiles(option, name);
      if (column->role != Role::Ordinary) throw builtIn(option, name);
      if (wishes_.method && column->existing && column->nature != VariableNature::Independent)
        throw Failure{fmt::format("{} {}: The project has this variable already, of the nature {}.", option,
                                  inQuotes(name), natureWord(column->nature)),
                      fmt::format("casebook set-nature FILE {} independent changes that.", inQuotes(name))};
      column->nature = VariableNature::Independent;
    }
  }

  void checkMerge() {
    if (!wishes_.method) return;
    if (wishes_.method == MergeMethod::ByCaseId && project_.empty())
      throw Failure{"The project has no cases that rows could go into.", "Without --mode, import fills a project."};
    // The library takes a table without columns for one without rows.
    auto const isPassedOn = [&](PlannedColumn const& column) {
      return column.role == Role::CaseStatus ? !project_.empty() : column.role != Role::Files;
    };
    if (std::ranges::none_of(plan_.columns, isPassedOn))
      throw Failure{fmt::format("{}: No column is left that becomes a variable.", source_)};
    if (wishes_.method != MergeMethod::ByIndependentVariables) return;
    MergeKeys const keys{plan_.columns};
    keys.check(table_, source_, project_);
    plan_.keys = keys.names();
    if (project_.empty()) return;
    for (std::string& hint : keys.hints(table_, wishes_)) plan_.hints.push_back(std::move(hint));
  }

  [[nodiscard]] bool isMissing(CsvCell const& cell) const {
    return cell.text.empty() || wishes_.missing.contains(cell.text);
  }

  CsvTable const& table_;
  std::string_view source_;
  ImportWishes const& wishes_;
  Project& project_;
  std::vector<std::string> names_;
  std::set<std::string> files_;
  std::map<std::string, VariableDataType> types_;
  ImportPlan plan_;
};

}  // namespace

ImportPlan ImportPlan::make(CsvTable const& table, std::string_view source, ImportWishes const& wishes,
                            Project& project) {
  return Planner{table, source, wishes, project}.make();
}

Variant ImportPlan::value(std::string_view text, VariableDataType type) const {
  CellReading const cell = missing.contains(text) ? CellReading{emptyCell(type), {}} : readCell(text, type);
  if (!cell.value) throw std::logic_error{"The plan let a cell pass that the variable cannot hold."};
  return *cell.value;
}

}  // namespace casebook::cli
