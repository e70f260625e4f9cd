#include "commands/command.h"
#include "project/calculated_variables.h"
#include "project/column_statistics.h"
#include "project/lookup.h"
#include "project/open_project.h"
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

constexpr char const* aboutExpressions =
    R"(An expression names variables as they are, others than plain words in brackets: [Body Mass (g)] / Age.
docs/expressions.md has the operators, the functions and what becomes of missing values.)";

/// Ends a line: "calculated as ..."; warns when that can give nothing.
void tellCalculated(Project& project, u64 variable, Console& console) {
  fmt::print(console.out, "calculated as {}; {} of {} have a value.\n", inQuotes(project.variableExpression(variable)),
             ColumnStatistics::of(project, variable).cases, counted(project.records().size(), "case"));
  if (auto const circle = circleThrough(project, variable); !circle.empty()) printWarning(console, circle);
}

class AddVariableCommand : public Command {
 public:
  AddVariableCommand() : Command{"add-variable", "Add a variable: a column of the table, entered or calculated"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("NAME", name_, "The variable's name")->required()->option_text(" ");
    auto* const type = app.add_option("--type", type_, "What it holds; integer is a whole number below 4294967296")
                           ->option_text("number|text|integer");
    app.add_flag("--independent", independent_, "Marks it as an independent variable");
    auto* const first = app.add_option("--default", default_, "What every case holds at first; null or \"\" otherwise")
                            ->option_text("VALUE");
    app.add_option("--expression", expression_, "Calculates it, as in \"[Body Mass (g)] / 1000\", instead of --type")
        ->excludes(type)
        ->excludes(first)
        ->option_text("TEXT");
    app.footer(aboutExpressions);
  }

  ExitCode run(Console& console) override {
    if (expression_) {
      addCalculated(*expression_, console);
    } else {
      addOrdinary(console);
    }
    return ExitCode::Ok;
  }

 private:
  void addOrdinary(Console& console) const {
    if (type_.empty())
      throw Failure{"--type or --expression is required.", "casebook add-variable --help tells more.", ExitCode::Usage};
    auto const type = readType(type_);
    if (!type)
      throw Failure{fmt::format("--type {}: A type is number, text or integer.", inQuotes(type_)), {}, ExitCode::Usage};
    Variant const value = defaultValue(*type);
    OpenProject open{file_, OpenProject::For::Writing, console};
    checkNewName(open.project(), name_);
    open.edit(fmt::format("add variable {} ({})", inQuotes(name_), type_),
              [&](Transaction& transaction) { transaction->addVariable(name_, nature(), *type, value); });
    fmt::print(console.out, "Added variable {} ({}); every case holds {}.\n", inQuotes(name_), type_,
               valueWords(value));
  }

  void addCalculated(std::string const& expression, Console& console) const {
    OpenProject open{file_, OpenProject::For::Writing, console};
    Project& project = open.project();
    checkNewName(project, name_);
    auto names = variableNames(project);
    names.push_back(name_);
    static_cast<void>(compile(expression, names));
    open.edit(fmt::format("add variable {}, calculated as {}", inQuotes(name_), inQuotes(expression)),
              [&](Transaction& transaction) {
                u64 const uid = transaction->addCalcVariable(name_, nature(), expression).id();
                // What a new case holds should it be calculated no more: not the 0 that nobody measured.
                transaction->setVariableDefaultValue(uid, Variant{});
              });
    fmt::print(console.out, "Added variable {}, ", inQuotes(name_));
    tellCalculated(project, findVariable(project, name_).id(), console);
  }

  [[nodiscard]] VariableNature nature() const {
    return independent_ ? VariableNature::Independent : VariableNature::Unspecified;
  }

  [[nodiscard]] Variant defaultValue(VariableDataType type) const {
    if (!default_) return emptyCell(type);
    checkUtf8(*default_);
    CellReading const reading = readCell(*default_, type);
    if (reading.value) return *reading.value;
    throw Failure{fmt::format("--default: {} {}.", inQuotes(*default_), reading.fault)};
  }

  std::string file_;
  std::string name_;
  std::string type_;
  bool independent_ = false;
  std::optional<std::string> default_;
  std::optional<std::string> expression_;
};

class SetExpressionCommand : public Command {
 public:
  SetExpressionCommand() : Command{"set-expression", "Say from what a variable is calculated"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("VARIABLE", variable_, "The variable's name")->required()->option_text(" ");
    app.add_option("TEXT", expression_, "The expression")->required()->option_text(" ");
    app.add_flag("--replace", replace_, "Lets it take the place of values that were entered");
    app.footer(aboutExpressions);
  }

  ExitCode run(Console& console) override {
    checkNotBuiltIn(variable_, "values");
    OpenProject open{file_, OpenProject::For::Writing, console};
    Project& project = open.project();
    u64 const uid = findVariable(project, variable_).id();
    Expression const expression = compile(expression_, variableNames(project));
    bool const isCalculated = project.variableType(uid) == VariableType::Calculated;
    if (!isCalculated) checkReplaceable(project, uid, expression);
    if (isCalculated && project.variableExpression(uid) == expression_) {
      fmt::print(console.out, "{} is calculated like that already.\n", inQuotes(variable_));
      return ExitCode::Ok;
    }
    open.edit(fmt::format("set expression of {} to {}", inQuotes(variable_), inQuotes(expression_)),
              [&](Transaction& transaction) { set(transaction, uid, isCalculated); });
    fmt::print(console.out, "{} is ", inQuotes(variable_));
    tellCalculated(project, uid, console);
    return ExitCode::Ok;
  }

 private:
  /// What was entered by hand goes only when that is asked for, and never for a calculation from itself, which gives
  /// nothing.
  void checkReplaceable(Project& project, u64 uid, Expression const& expression) const {
    auto const variables = project.variables();
    auto const isItself = [&](std::size_t column) { return variables[column].id() == uid; };
    if (std::ranges::any_of(expression.columns(), isItself))
      throw Failure{
          fmt::format("{} is not calculated; an expression that reads it cannot take its place.", inQuotes(variable_)),
          "casebook add-variable FILE NAME --expression TEXT calculates another variable from it."};
    auto const values = ColumnStatistics::of(project, uid).cases;
    if (!replace_ && values > 0)
      throw Failure{
          fmt::format("{} is not calculated; its {} would be replaced.", inQuotes(variable_), counted(values, "value")),
          "--replace does it; casebook undo FILE brings them back."};
  }

  void set(Transaction& transaction, u64 uid, bool isCalculated) const {
    transaction->setVariableExpression(uid, expression_);
    if (isCalculated) return;
    transaction->setVariableDataType(uid, Variant::FloatingPoint);
    transaction->setVariableDefaultValue(uid, Variant{});
    transaction->setVariableType(uid, VariableType::Calculated);
  }

  std::string file_;
  std::string variable_;
  std::string expression_;
  bool replace_ = false;
};

class RenameCommand : public Command {
 public:
  RenameCommand() : Command{"rename", "Give a variable another name"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("VARIABLE", variable_, "The variable's name")->required()->option_text(" ");
    app.add_option("NEW", newName_, "Its new name")->required()->option_text(" ");
  }

  ExitCode run(Console& console) override {
    checkNotBuiltIn(variable_, "name");
    OpenProject open{file_, OpenProject::For::Writing, console};
    u64 const uid = findVariable(open.project(), variable_).id();
    checkNewName(open.project(), newName_);
    std::string const words = fmt::format("{} to {}", inQuotes(variable_), inQuotes(newName_));
    open.edit(fmt::format("rename {}", words),
              [&](Transaction& transaction) { transaction->setVariableName(uid, newName_); });
    fmt::print(console.out, "Renamed {}.\n", words);
    return ExitCode::Ok;
  }

 private:
  std::string file_;
  std::string variable_;
  std::string newName_;
};

class SetNatureCommand : public Command {
 public:
  SetNatureCommand()
      : Command{"set-nature", "Say what a variable measures: independent, none, or a number of your own"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("VARIABLE", variable_, "The variable's name")->required()->option_text(" ");
    app.add_option("NATURE", nature_, "independent, none, or a whole number below 4294967296")
        ->required()
        ->option_text(" ");
  }

  ExitCode run(Console& console) override {
    auto const nature = readNature(nature_);
    if (!nature)
      throw Failure{
          fmt::format("{} is no nature: independent, none, or a whole number below 4294967296.", inQuotes(nature_)),
          {},
          ExitCode::Usage};
    checkNotBuiltIn(variable_, "nature");
    OpenProject open{file_, OpenProject::For::Writing, console};
    u64 const uid = findVariable(open.project(), variable_).id();
    if (open.project().variableNature(uid) == *nature) {
      fmt::print(console.out, "The nature of {} is {} already.\n", inQuotes(variable_), natureWord(*nature));
      return ExitCode::Ok;
    }
    std::string const words = fmt::format("nature of {} to {}", inQuotes(variable_), natureWord(*nature));
    open.edit(fmt::format("set {}", words),
              [&](Transaction& transaction) { transaction->setVariableNature(uid, *nature); });
    fmt::print(console.out, "Set the {}.\n", words);
    return ExitCode::Ok;
  }

 private:
  std::string file_;
  std::string variable_;
  std::string nature_;
};

}  // namespace

void addVariableCommands(Commands& commands) {
  commands.push_back(std::make_unique<AddVariableCommand>());
  commands.push_back(std::make_unique<SetExpressionCommand>());
  commands.push_back(std::make_unique<RenameCommand>());
  commands.push_back(std::make_unique<SetNatureCommand>());
}

}  // namespace casebook::cli
