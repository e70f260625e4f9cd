#include "commands/command.h"
#include "console/table_view.h"
#include "project/attachment.h"
#include "project/calculated_variables.h"
#include "project/lookup.h"
#include "project/open_project.h"
#include "project/words.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <optional>

namespace casebook::cli {
namespace {

/// One of the project's texts, and the option that sets it.
struct ProjectText {
  std::string_view option;
  std::string_view placeholder;
  std::string_view heading;
  std::string_view help;
  std::string (Project::*get)() const;
  void (Project::*set)(std::string const&);
};

constexpr std::array projectTexts{
    ProjectText{"--name", "TEXT", "Name", "Sets the project's name", &Project::friendlyName, &Project::setFriendlyName},
    ProjectText{"--description", "TEXT", "Description", "Sets the description", &Project::description,
                &Project::setDescription},
    ProjectText{"--root", "DIR", "Root folder", "Sets the folder to which paths of files are relative",
                &Project::rootPath, &Project::setRootPath}};

class InfoCommand : public Command {
 public:
  InfoCommand() : Command{"info", "Tell what a project holds, or set its name, description or root folder"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    for (std::size_t i = 0; i < projectTexts.size(); ++i)
      app.add_option(std::string{projectTexts[i].option}, wishes_[i], std::string{projectTexts[i].help})
          ->option_text(std::string{projectTexts[i].placeholder});
  }

  ExitCode run(Console& console) override {
    bool const sets = std::ranges::any_of(wishes_, [](auto const& wish) { return wish.has_value(); });
    OpenProject open{file_, sets ? OpenProject::For::Writing : OpenProject::For::Reading, console};
    // The project may be opened from another folder the next time.
    if (auto& root = wishes_.back(); root && !root->empty()) root = placeOf(*root).string();
    if (sets) {
      set(open, console);
    } else {
      tell(open, console);
    }
    return ExitCode::Ok;
  }

 private:
  void set(OpenProject& open, Console& console) const {
    std::string label = "info";
    std::vector<std::size_t> changed;
    for (std::size_t i = 0; i < projectTexts.size(); ++i) {
      if (!wishes_[i]) continue;
      checkUtf8(*wishes_[i]);
      if ((open.project().*projectTexts[i].get)() == *wishes_[i]) continue;
      changed.push_back(i);
      label += fmt::format(" {} {}", projectTexts[i].option, inQuotes(*wishes_[i]));
    }
    if (changed.empty()) {
      fmt::print(console.out, "Nothing to change.\n");
      return;
    }
    open.edit(label, [&](Transaction& transaction) {
      for (std::size_t i : changed) (transaction.project().*projectTexts[i].set)(*wishes_[i]);
    });
    for (std::size_t i : changed)
      fmt::print(console.out, "{} is {}.\n", projectTexts[i].heading, inQuotes(*wishes_[i]));
  }

  void tell(OpenProject& open, Console& console) const {
    Project& project = open.project();
    auto const line = [&](std::string_view heading, std::string const& text) {
      fmt::print(console.out, "{:<14}{}\n", heading, text.empty() ? "-" : text);
    };
    line("File", printable(file_));
    line("Identity", open.file().identity());
    for (ProjectText const& text : projectTexts) line(text.heading, printable((project.*text.get)()));
    std::size_t const undone = open.undone();
    line("Transactions",
         fmt::format("{}{}", open.transactions(), undone == 0 ? "" : fmt::format(", {} undone", undone)));
    line("Cases", fmt::format("{}", project.records().size()));
    line("Files", fmt::format("{}", project.auxFiles().size()));
    line("Tag groups", fmt::format("{}", project.tagGroups().size()));
    line("Rules", fmt::format("{}", project.pathRegexs().size() + project.variableRegexs().size()));
    line("Variables", fmt::format("{}\n", project.variables().size()));
    variables(project).print(console);
  }

  static TableView variables(Project& project) {
    TableView view;
    view.addColumn("Variable");
    view.addColumn("Type");
    view.addColumn("Nature");
    view.addColumn("Missing", TableView::Align::Right);
    // A heading for nothing would only be in the way.
    view.addColumn(calculatedVariables(project).empty() ? "" : "Expression");
    auto const all = project.variables();
    auto const valueless = countValueless(project, all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
      u64 const uid = all[i].id();
      auto const nature = project.variableNature(uid);
      std::size_t const missing = valueless[i];
      view.addRow({project.variableName(uid), typeWords(project, uid),
                   nature == VariableNature::Unspecified ? "" : natureWord(nature),
                   missing == 0 ? "" : fmt::format("{}", missing), expressionOf(project, uid)});
    }
    return view;
  }

  static std::string expressionOf(Project& project, u64 uid) {
    return project.variableType(uid) == VariableType::Calculated ? project.variableExpression(uid) : "";
  }

  /// Of each variable, how many cases have no value.
  static std::vector<std::size_t> countValueless(Project& project, std::size_t variables) {
    std::vector<std::size_t> counts(variables);
    for (auto record : project.records()) {
      auto const row = project.getRow(record.id());
      for (std::size_t i = 0; i < variables; ++i) counts[i] += isMissing(row[i]) ? 1 : 0;
    }
    return counts;
  }

  std::string file_;
  std::array<std::optional<std::string>, projectTexts.size()> wishes_;
};

class ShowCommand : public Command {
 public:
  ShowCommand() : Command{"show", "Print the table, or a part of it, for reading"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    addCount(app, "--limit", limit_, "Prints the first N cases; 20 by default");
    addTexts(app, "--column", columns_, "Prints this variable beside \"Case ID\"; can be repeated; all by default")
        ->option_text("NAME");
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Reading, console};
    Project& project = open.project();
    auto const variables = chosenVariables(project);
    auto const records = project.records();
    std::size_t const shown = std::min<std::size_t>(records.size(), limit_);

    std::size_t const columns =
        table(project, variables, {records.begin(), records.begin() + difference(shown)}).print(console);
    fmt::print(console.out, "\n{} of {}", shown, counted(records.size(), "case"));
    if (columns < variables.size())
      fmt::print(console.out, ", {} of {}; --column NAME chooses others", columns,
                 counted(variables.size(), "variable"));
    fmt::print(console.out, ".{}\n",
               calculatedWords(project, {variables.begin(), variables.begin() + difference(columns)}));
    return ExitCode::Ok;
  }

 private:
  /// " Calculated: "Ratio", "Index" and 2 more."; empty when none of the variables is.
  static std::string calculatedWords(Project& project, std::vector<WeakPtr<Variable>> const& variables) {
    constexpr std::size_t named = 3;
    std::string words;
    std::size_t count = 0;
    for (auto variable : variables)
      if (project.variableType(variable.id()) == VariableType::Calculated && ++count <= named)
        words += fmt::format("{} {}", count == 1 ? " Calculated:" : ",", inQuotes(project.variableName(variable.id())));
    if (count > named) words += fmt::format(" and {} more", count - named);
    return count == 0 ? "" : words + ".";
  }

  static std::ptrdiff_t difference(std::size_t n) { return static_cast<std::ptrdiff_t>(n); }

  std::vector<WeakPtr<Variable>> chosenVariables(Project& project) const {
    if (columns_.empty()) return project.variables();
    std::vector<WeakPtr<Variable>> chosen{project.getCaseIDColumn()};
    for (std::string const& name : columns_)
      if (auto const variable = findVariable(project, name); variable != chosen.front()) chosen.push_back(variable);
    return chosen;
  }

  static TableView table(Project& project, std::vector<WeakPtr<Variable>> const& variables,
                         std::vector<WeakPtr<Record>> const& records) {
    TableView view;
    std::vector<Variable> handles;
    for (auto variable : variables) {
      handles.push_back(variable.lock());
      bool const isText = handles.back().isStringType();
      view.addColumn(project.variableName(variable.id()), isText ? TableView::Align::Left : TableView::Align::Right);
    }
    for (auto record : records) {
      std::vector<std::string> cells;
      for (Variable const& variable : handles) cells.push_back(cellText(record.lock().data(variable)));
      view.addRow(cells);
    }
    return view;
  }

  static std::string cellText(Variant const& cell) { return cell.isNull() ? "·" : cell.toString(); }

  std::string file_;
  std::size_t limit_ = 20;
  std::vector<std::string> columns_;
};

}  // namespace

void addViewCommands(Commands& commands) {
  commands.push_back(std::make_unique<InfoCommand>());
  commands.push_back(std::make_unique<ShowCommand>());
}

}  // namespace casebook::cli
