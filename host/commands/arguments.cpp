#include "commands/command.h"

#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

namespace casebook::cli {

CLI::Option* addFileArgument(CLI::App& app, std::string& file) {
  return app.add_option("FILE", file, "The project's file")->required()->option_text(" ");
}

CLI::Option* addTexts(CLI::App& app, std::string name, std::vector<std::string>& texts, std::string help) {
  // Given a vector, the parser would take "{}" for an empty list.
  CLI::callback_t const take = [&texts](CLI::results_t const& results) {
    texts = results;
    return true;
  };
  CLI::Option* const option = app.add_option(std::move(name), take, std::move(help));
  option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  return option->get_positional() ? option->expected(-1) : option->expected(1)->allow_extra_args(false);
}

CLI::Option* addCount(CLI::App& app, std::string name, std::size_t& count, std::string help) {
  CLI::callback_t const take = [&count](CLI::results_t const& results) {
    auto const number = readWholeNumber(results.front());
    if (!number)
      throw Failure{
          fmt::format("{} is not a whole number below 4294967296.", inQuotes(results.front())), {}, ExitCode::Usage};
    count = *number;
    return true;
  };
  return app.add_option(std::move(name), take, std::move(help))->expected(1)->option_text("N");
}

}  // namespace casebook::cli
