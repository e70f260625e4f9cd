#include "console/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace casebook::cli {
namespace {

bool wantsColours() {
  char const* const noColour = std::getenv("NO_COLOR");
  char const* const terminal = std::getenv("TERM");
  bool const refused = noColour != nullptr && *noColour != '\0';
  return !refused && terminal != nullptr && std::string_view{terminal} != "dumb";
}

std::optional<std::size_t> terminalWidth() {
  winsize size{};
  if (isatty(STDOUT_FILENO) == 0) return {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

}  // namespace

void lookAtTerminal(Console& console) {
  bool const errIsTerminal = isatty(STDERR_FILENO) != 0;
  console.width = terminalWidth();
  console.colourOut = console.width && wantsColours();
  console.colourErr = errIsTerminal && wantsColours();
  console.showProgress = errIsTerminal;
}

}  // namespace casebook::cli
