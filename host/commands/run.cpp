#include "commands/run.h"

#include "commands/command.h"
#include "text/nearest.h"
#include "text/utf8.h"

#include <casebook/exception_base.h>
#include <casebook/file.h>

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <new>

namespace casebook::cli {
namespace {

constexpr std::string_view exitCodes = R"(Exit codes:
  0  done; also when a write that was cut off had to be left out (a warning says so)
  1  refused, or could not be done: nothing of it is in the project
  2  the command line cannot be understood
  3  export --until-damage met damage and gave out everything before it
)";

Commands allCommands() {
  Commands commands;
  addFileCommands(commands);
  addViewCommands(commands);
  addCaseCommands(commands);
  addVariableCommands(commands);
  addExportCommands(commands);
  addLogCommands(commands);
  return commands;
}

void printHelp(Commands const& commands, std::ostream& out) {
  fmt::print(out,
             "casebook keeps the table of a study's cases in one file, with the log of every change.\n\n"
             "Usage: casebook COMMAND FILE ...\n\nCommands:\n");
  for (auto const& command : commands) fmt::print(out, "  {:<14}{}\n", command->name(), command->summary());
  fmt::print(
      out,
      "\ncasebook COMMAND --help tells more of each. Before a value or a name that begins with \"-\" write --.\n\n"
      "{}\nNO_COLOR=1 in the environment switches colours off.\n",
      exitCodes);
}

Command& find(Commands const& commands, std::string const& name) {
  auto const found = std::ranges::find(commands, name, [](auto const& command) { return command->name(); });
  if (found != commands.end()) return **found;
  std::vector<std::string> names;
  for (auto const& command : commands) names.push_back(command->name());
  throw Failure{fmt::format("There is no command {}. {}", inQuotes(name), suggestion(name, names)),
                "casebook --help lists the commands.", ExitCode::Usage};
}

/// Whether an argument before any "--" looks like an option and is none.
bool holdsStrangeOption(CLI::App const& app, std::vector<std::string> const& arguments) {
  auto const end = std::ranges::find(arguments, "--");
  return std::any_of(arguments.begin(), end, [&](std::string const& argument) {
    bool const isNumber = argument.size() > 1 && argument[1] >= '0' && argument[1] <= '9';
    if (!argument.starts_with('-') || argument == "-" || isNumber) return false;
    std::string const name = argument.substr(0, argument.starts_with("--") ? argument.find('=') : 2);
    return app.get_option_no_throw(name) == nullptr;
  });
}

void parse(CLI::App& app, std::vector<std::string> const& arguments) {
  try {
    app.parse(std::vector<std::string>{arguments.rbegin(), arguments.rend()});
  } catch (CLI::CallForHelp const&) {
    throw;
  } catch (CLI::ParseError const& e) {
    std::string hint = fmt::format("{} --help tells more.", app.get_name());
    if (holdsStrangeOption(app, arguments))
      hint =
          fmt::format("For a value or a name that begins with \"-\", write -- before it: {} ... -- -x", app.get_name());
    throw Failure{printable(e.what()), hint, ExitCode::Usage};
  }
}

ExitCode runCommand(Command& command, std::vector<std::string> const& arguments, Console& console) {
  CLI::App app{command.summary(), "casebook " + command.name()};
  app.get_formatter()->column_width(32);
  app.get_formatter()->label("REQUIRED", "");
  command.declare(app);
  try {
    parse(app, arguments);
  } catch (CLI::CallForHelp const&) {
    console.out << app.help();
    return ExitCode::Ok;
  }
  return command.run(console);
}

ExitCode dispatch(std::vector<std::string> arguments, Console& console) {
  Commands const commands = allCommands();
  if (arguments.empty()) {
    printHelp(commands, console.err);
    return ExitCode::Usage;
  }
  std::string const first = arguments.front();
  arguments.erase(arguments.begin());
  if (first == "--version") {
    fmt::print(console.out, "casebook {}\n", CASEBOOK_VERSION);
  } else if (first == "--help" || first == "-h" || (first == "help" && arguments.empty())) {
    printHelp(commands, console.out);
  } else if (first == "help") {
    return runCommand(find(commands, arguments.front()), {"--help"}, console);
  } else {
    return runCommand(find(commands, first), arguments, console);
  }
  return ExitCode::Ok;
}

ExitCode report(Console& console, Failure const& failure) {
  print(console, failure);
  return failure.code();
}

/// Prints the exception that is being handled.
ExitCode reportCurrent(Console& console) {
  try {
    throw;
  } catch (Failure const& e) {
    return report(console, e);
  } catch (DamageError const& e) {
    return report(console, Failure{printable(e.what()),
                                   "casebook export FILE --csv --until-damage gives out what stands before it."});
  } catch (std::bad_alloc const&) {
    return report(console, Failure{"There is not enough memory for this."});
  } catch (std::exception const& e) {
    return report(console, Failure{printable(e.what())});
  }
}

}  // namespace

ExitCode run(std::vector<std::string> arguments, Console& console) noexcept {
  try {
    return dispatch(std::move(arguments), console);
  } catch (...) {
    return reportCurrent(console);
  }
}

}  // namespace casebook::cli
