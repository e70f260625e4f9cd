#pragma once

#include <cstddef>
#include <iosfwd>
#include <optional>

namespace casebook::cli {

/// Where a command reads and writes, and what is known of the person's terminal. The streams are borrowed.
struct Console {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  std::optional<std::size_t> width = std::nullopt;  ///< columns, when `out` is a terminal
  bool colourOut = false;
  bool colourErr = false;
  bool showProgress = false;
  bool stored = false;  ///< a change is in the project's file: no failure may deny it any more
};

/// The facts about the terminal of this process; NO_COLOR and TERM=dumb switch colours off.
void lookAtTerminal(Console& console);

}  // namespace casebook::cli
