#include "commands/command.h"
#include "project/open_project.h"
#include "text/utf8.h"

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

namespace casebook::cli {
namespace {

class CreateCommand : public Command {
 public:
  CreateCommand() : Command{"create", "Make a new project's file; never overwrites one"} {}

  void declare(CLI::App& app) override { addFileArgument(app, file_); }

  ExitCode run(Console& console) override {
    OpenProject{file_, OpenProject::For::Creating, console};
    fmt::print(console.out, "Created {}.\n", printable(file_));
    return ExitCode::Ok;
  }

 private:
  std::string file_;
};

}  // namespace

void addCreateCommands(Commands& commands) { commands.push_back(std::make_unique<CreateCommand>()); }

}  // namespace casebook::cli
