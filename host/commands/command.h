#pragma once

#include "console/console.h"
#include "console/messages.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace casebook::cli {

/// One verb of the command line.
class Command {
 public:
  Command(std::string_view name, std::string_view summary) : name_{name}, summary_{summary} {}
  Command(Command const&) = delete;
  virtual ~Command() = default;

  [[nodiscard]] std::string const& name() const noexcept { return name_; }
  [[nodiscard]] std::string const& summary() const noexcept { return summary_; }

  /// Tells the parser of the options and arguments; they are filled in before `run`.
  virtual void declare(CLI::App& app) = 0;
  /// Throws Failure, or what the library throws, when the command cannot be carried out.
  virtual ExitCode run(Console& console) = 0;

 private:
  std::string name_;
  std::string summary_;
};

using Commands = std::vector<std::unique_ptr<Command>>;

// Each adds the verbs of one file, in the order in which --help lists them.
void addCreateCommands(Commands& commands);
void addImportCommands(Commands& commands);
void addViewCommands(Commands& commands);
void addStatsCommands(Commands& commands);
void addCaseCommands(Commands& commands);
void addVariableCommands(Commands& commands);
void addAttachmentCommands(Commands& commands);
void addRuleCommands(Commands& commands);
void addTagCommands(Commands& commands);
void addGroupCommands(Commands& commands);
void addDeleteCommands(Commands& commands);
void addHistoryCommands(Commands& commands);
void addExportCommands(Commands& commands);
void addLogCommands(Commands& commands);

/// The argument that names the project's file.
CLI::Option* addFileArgument(CLI::App& app, std::string& file);

/// An argument or option that is one text and may be given any number of times.
CLI::Option* addTexts(CLI::App& app, std::string name, std::vector<std::string>& texts, std::string help);

/// An option or argument that is a whole number.
CLI::Option* addCount(CLI::App& app, std::string name, std::size_t& count, std::string help);

}  // namespace casebook::cli
