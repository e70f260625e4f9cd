#include "console/messages.h"

#include <fmt/color.h>
#include <fmt/ostream.h>

namespace casebook::cli {
namespace {

void line(Console& console, fmt::terminal_color colour, std::string_view label, std::string_view message) {
  console.out.flush();  // so that lines come in order where both are one terminal
  std::string const head =
      console.colourErr ? fmt::format(fmt::emphasis::bold | fmt::fg(colour), "{}:", label) : fmt::format("{}:", label);
  fmt::print(console.err, "{} {}\n", head, message);
}

}  // namespace

Failure::Failure(std::string message, std::string hint, ExitCode code)
    : messages_{std::move(message)}, hint_{std::move(hint)}, code_{code} {}

Failure::Failure(std::vector<std::string> messages, std::string hint)
    : messages_{std::move(messages)}, hint_{std::move(hint)} {}

void printError(Console& console, std::string_view message) {
  line(console, fmt::terminal_color::red, "casebook", message);
}

void printWarning(Console& console, std::string_view message) {
  line(console, fmt::terminal_color::yellow, "warning", message);
}

void printHint(Console& console, std::string_view message) {
  line(console, fmt::terminal_color::cyan, "hint", message);
}

void print(Console& console, Failure const& failure) {
  for (std::string const& message : failure.messages()) printError(console, message);
  if (!failure.hint().empty()) printHint(console, failure.hint());
}

}  // namespace casebook::cli
