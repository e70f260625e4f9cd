#include "commands/list_command.h"

#include "project/open_project.h"

#include <CLI/CLI.hpp>

namespace casebook::cli {

void ListCommand::declare(CLI::App& app) {
  addFileArgument(app, file_);
  app.add_flag("--json", json_, "One JSON document");
}

ExitCode ListCommand::run(Console& console) {
  OpenProject open{file_, OpenProject::For::Reading, console};
  Listing listing{noun_, json_};
  fill(open.project(), listing);
  listing.print(console, file_);
  return ExitCode::Ok;
}

}  // namespace casebook::cli
