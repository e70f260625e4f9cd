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
  1  refused, failed, or found bad by verify: nothing of it is in the project, unless the message says otherwise
  2  the command line cannot be understood
  3  export --until-damage met damage and gave out everything before it
  4  the change is stored, but stdout could not be written
)";

Commands allCommands() {
  Commands commands;
  addCreateCommands(commands);
  addImportCommands(commands);
  addViewCommands(commands);
  addStatsCommands(commands);
  addCaseCommands(commands);
  addVariableCommands(commands);
  addAttachmentCommands(commands);
  addRuleCommands(commands);
  addTagCommands(commands);
  addGroupCommands(commands);
  addDeleteCommands(commands);
  addHistoryCommands(commands);
  addExportCommands(commands);
  addLogCommands(commands);
  return commands;
}

void printHelp(Commands const& commands, std::ostream& out) {
  fmt::print(out,
             "casebook keeps the table of a study's cases in one file, with the log of every change.\n\n"
             "Usage: casebook COMMAND FILE ...\n\nCommands:\n");
  for (auto const& command : commands) fmt::print(out, "  {:<16}{}\n", command->name(), command->summary());
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

/// What a person wrote behind a command, looked at where the parser only says that it is wrong.
class WrittenArguments {
 public:
  WrittenArguments(CLI::App& app, std::vector<std::string> const& arguments)
      : app_{app}, all_{arguments}, end_{std::ranges::find(arguments, "--")} {
    collect(app);
    for (CLI::App* group : app.get_subcommands([](CLI::App*) { return true; })) collect(*group);
  }

  /// Throws Failure where an option's value is itself the name of one: a value was forgotten, most likely.
  void checkValues() const {
    for (auto argument = all_.begin(); argument != end_; ++argument) {
      auto const* const option = optionOf(*argument);
      if (option == nullptr || option->get_expected_min() == 0 || hasValueWithin(*argument)) continue;
      if (++argument == end_) return;
      if (isHelp(*argument) || optionOf(*argument) != nullptr)
        throw Failure{fmt::format("{} has no value: {} is an option.", argument[-1], inQuotes(*argument)),
                      fmt::format("For a value that is named like an option write --{}={}",
                                  option->get_lnames().front(), printable(*argument)),
                      ExitCode::Usage};
    }
  }

  [[nodiscard]] std::string hint() const {
    auto const strange = std::find_if(all_.begin(), end_, [this](auto const& argument) { return isStrange(argument); });
    std::string const help = fmt::format("{} --help tells more.", app_.get_name());
    if (strange == end_) return help;
    std::string const dashes =
        fmt::format("For a value or a name that begins with \"-\", write -- before it: {} ... -- -x", app_.get_name());
    if (isHelp(*strange)) return fmt::format("{} {}", help, dashes);
    std::string const near = nearest(nameOf(*strange), names_);
    return near.empty() ? dashes : near;
  }

 private:
  void collect(CLI::App const& app) {
    for (CLI::Option const* option : app.get_options())
      for (std::string const& name : option->get_lnames()) names_.push_back("--" + name);
  }

  static bool isHelp(std::string const& argument) { return argument == "-h" || argument == "--help"; }

  /// As in --output=x and -ox.
  static bool hasValueWithin(std::string const& argument) {
    return argument.starts_with("--") ? argument.find('=') != std::string::npos : argument.size() > 2;
  }

  [[nodiscard]] CLI::Option const* optionOf(std::string const& argument) const {
    if (!argument.starts_with('-') || argument == "-") return nullptr;
    return app_.get_option_no_throw(argument.substr(0, argument.starts_with("--") ? argument.find('=') : 2));
  }

  [[nodiscard]] bool isStrange(std::string const& argument) const {
    bool const isNumber = argument.size() > 1 && argument[1] >= '0' && argument[1] <= '9';
    return argument.starts_with('-') && argument != "-" && !isNumber && optionOf(argument) == nullptr;
  }

  /// As a long option; a letter alone is near to too much.
  static std::string nameOf(std::string const& argument) {
    std::string name = argument;
    name.erase(0, name.find_first_not_of('-'));
    return name.size() < 2 ? "" : "--" + name.substr(0, name.find('='));
  }

  CLI::App& app_;
  std::vector<std::string> const& all_;
  std::vector<std::string>::const_iterator end_;
  std::vector<std::string> names_;
};

void parse(CLI::App& app, std::vector<std::string> const& arguments) {
  WrittenArguments const written{app, arguments};
  written.checkValues();
  try {
    app.parse(std::vector<std::string>{arguments.rbegin(), arguments.rend()});
  } catch (CLI::ParseError const& e) {
    throw Failure{printable(e.what()), written.hint(), ExitCode::Usage};
  }
}

ExitCode runCommand(Command& command, std::vector<std::string> const& arguments, Console& console) {
  CLI::App app{command.summary(), "casebook " + command.name()};
  app.get_formatter()->column_width(32);
  app.get_formatter()->label("REQUIRED", "");
  command.declare(app);
  if (!arguments.empty() && (arguments.front() == "-h" || arguments.front() == "--help")) {
    console.out << app.help();
    return ExitCode::Ok;
  }
  app.set_help_flag();  // anywhere else, --help may be a value that was not meant as an option
  parse(app, arguments);
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

/// Prints the exception that is being handled. `rescues` says that the person knows of --until-damage.
ExitCode reportCurrent(Console& console, bool rescues) {
  try {
    throw;
  } catch (Failure const& e) {
    return report(console, e);
  } catch (DamageError const& e) {
    bool const nothingBefore = rescues || e.offset() == 0;
    return report(
        console,
        Failure{printable(e.what()),
                nothingBefore ? "" : "casebook export FILE --csv --until-damage gives out what stands before it."});
  } catch (std::bad_alloc const&) {
    return report(console, Failure{"There is not enough memory for this."});
  } catch (std::exception const& e) {
    return report(console, Failure{printable(e.what())});
  }
}

}  // namespace

ExitCode run(std::vector<std::string> arguments, Console& console) noexcept {
  bool const rescues = std::ranges::find(arguments, "--until-damage") != arguments.end();
  try {
    return dispatch(std::move(arguments), console);
  } catch (...) {
    ExitCode const code = reportCurrent(console, rescues);
    if (!console.stored) return code;
    printError(console, "The change is stored; only what came after it failed.");
    return ExitCode::Untold;
  }
}

}  // namespace casebook::cli
