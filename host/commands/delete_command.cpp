#include "commands/command.h"
#include "project/lookup.h"
#include "project/open_project.h"
#include "project/tags.h"
#include "project/words.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <casebook/transaction.h>

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>

namespace casebook::cli {
namespace {

std::size_t countValues(Project& project, Variable const& variable) {
  auto const hasValue = [&](WeakPtr<Record> record) { return !isMissing(record.lock().data(variable)); };
  return static_cast<std::size_t>(std::ranges::count_if(project.records(), hasValue));
}

class DeleteCommand : public Command {
 public:
  DeleteCommand() : Command{"delete", "Delete a case with its files, or a variable; undo brings it back"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("--case", case_, "The case that goes, with its files")->option_text("ID");
    app.add_option("--variable", variable_, "The variable that goes, with its values")->option_text("NAME");
  }

  ExitCode run(Console& console) override {
    if (case_.has_value() == variable_.has_value())
      throw Failure{case_ ? "--case ID or --variable NAME, not both." : "--case ID or --variable NAME is required.",
                    "casebook delete --help tells more.", ExitCode::Usage};
    OpenProject open{file_, OpenProject::For::Writing, console};
    GroupsBefore const groups{open.project()};
    std::string const deleted = case_ ? deleteCase(open) : deleteVariable(open);
    fmt::print(console.out, "Deleted {}; casebook undo FILE brings it back.\n", deleted);
    groups.warnOfLost(open.project(), console);
    return ExitCode::Ok;
  }

 private:
  [[nodiscard]] std::string deleteCase(OpenProject& open) const {
    auto const record = findCase(open.project(), *case_);
    std::size_t const files = open.project().auxFiles(record.id()).size();
    std::string const name = fmt::format("case {}", *case_);
    open.edit(fmt::format("delete {}", name),
              [&](Transaction& transaction) { record.lock(transaction).erase(transaction); });
    return files == 0 ? name : fmt::format("{} and its {}", name, counted(files, "file"));
  }

  [[nodiscard]] std::string deleteVariable(OpenProject& open) const {
    Project& project = open.project();
    auto const variable = findVariable(project, *variable_);
    if (project.variableIsCaseID(variable.id()))
      throw Failure{fmt::format("{} is built in and stays: it numbers the cases.", inQuotes(*variable_))};
    bool const isStatus = project.variableType(variable.id()) == VariableType::CaseStatus;
    std::size_t const values = countValues(project, variable.lock());
    std::string const name = fmt::format("variable {}", inQuotes(*variable_));
    open.edit(fmt::format("delete {}", name),
              [&](Transaction& transaction) { variable.lock(transaction).erase(transaction); });
    return fmt::format("{} and its {}{}", name, counted(values, "value"),
                       isStatus ? ", so that every case is active now" : "");
  }

  std::string file_;
  std::optional<std::string> case_;
  std::optional<std::string> variable_;
};

}  // namespace

void addDeleteCommands(Commands& commands) { commands.push_back(std::make_unique<DeleteCommand>()); }

}  // namespace casebook::cli
