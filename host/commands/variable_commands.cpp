#include "commands/command.h"
#include "project/lookup.h"
#include "project/open_project.h"
#include "project/words.h"
#include "text/utf8.h"

#include <casebook/transaction.h>

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <optional>

namespace casebook::cli {
namespace {

class AddVariableCommand : public Command {
 public:
  AddVariableCommand() : Command{"add-variable", "Add a variable: a column of the table"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("NAME", name_, "The variable's name")->required()->option_text(" ");
    app.add_option("--type", type_, "What it holds; integer is a whole number below 4294967296")
        ->required()
        ->option_text("number|text|integer");
    app.add_flag("--independent", independent_, "Marks it as an independent variable");
    app.add_option("--default", default_, "What every case holds at first; null or \"\" otherwise")
        ->option_text("VALUE");
  }

  ExitCode run(Console& console) override {
    auto const type = readType(type_);
    if (!type)
      throw Failure{fmt::format("--type {}: A type is number, text or integer.", inQuotes(type_)), {}, ExitCode::Usage};
    Variant const value = defaultValue(*type);
    OpenProject open{file_, OpenProject::For::Writing, console};
    checkNewName(open.project(), name_);
    auto const nature = independent_ ? VariableNature::Independent : VariableNature::Unspecified;
    open.edit(fmt::format("add variable {} ({})", inQuotes(name_), type_),
              [&](Transaction& transaction) { transaction->addVariable(name_, nature, *type, value); });
    fmt::print(console.out, "Added variable {} ({}); every case holds {}.\n", inQuotes(name_), type_,
               valueWords(value));
    return ExitCode::Ok;
  }

 private:
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
  commands.push_back(std::make_unique<RenameCommand>());
  commands.push_back(std::make_unique<SetNatureCommand>());
}

}  // namespace casebook::cli
