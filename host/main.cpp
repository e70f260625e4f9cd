#include "commands/run.h"
#include "console/fd_stream.h"

#include <unistd.h>

#include <csignal>
#include <iostream>
#include <system_error>

namespace {

using casebook::cli::ExitCode;

/// Whether what was printed has arrived; a pipe that nobody reads any more is an error like a full disk.
ExitCode finished(ExitCode code, casebook::cli::FdStream& out, casebook::cli::Console& console) {
  try {
    out.finish();
    return code;
  } catch (std::system_error const& e) {
    casebook::cli::printError(console, "stdout: Cannot be written: " + e.code().message() + ".");
    return code == ExitCode::Ok ? ExitCode::Failed : code;
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio(false);
  casebook::cli::FdStream out{STDOUT_FILENO};
  casebook::cli::Console console{std::cin, out, std::cerr};
  casebook::cli::lookAtTerminal(console);
  ExitCode const code = casebook::cli::run({argv + 1, argv + argc}, console);
  return static_cast<int>(finished(code, out, console));
}
