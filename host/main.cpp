#include "commands/run.h"
#include "console/fd_stream.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <string>
#include <system_error>

namespace {

using casebook::cli::ExitCode;

/// Whether what was printed has arrived; a pipe that nobody reads any more is an error like a full disk.
ExitCode finished(ExitCode code, casebook::cli::FdStream& out, casebook::cli::Console& console) {
  try {
    out.finish();
    return code;
  } catch (std::system_error const& e) {
    std::string const what =
        console.stored ? "The change is stored; stdout could not be written: " : "stdout: Cannot be written: ";
    casebook::cli::printError(console, what + e.code().message() + ".");
    if (console.stored) return ExitCode::Untold;
    return code == ExitCode::Usage ? code : ExitCode::Failed;
  }
}

/// Keeps a file that is opened later from taking the place of a closed stdin, stdout or stderr, and being printed into.
void occupyStandardStreams() {
  int file = ::open("/dev/null", O_RDONLY);
  while (file >= 0 && file <= STDERR_FILENO) file = ::open("/dev/null", O_RDONLY);
  ::close(file);
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error like a full disk
  std::ios::sync_with_stdio(false);
  casebook::cli::FdStream out{STDOUT_FILENO};
  casebook::cli::Console console{std::cin, out, std::cerr};
  casebook::cli::lookAtTerminal(console);
  ExitCode const code = casebook::cli::run({argv + 1, argv + argc}, console);
  return static_cast<int>(finished(code, out, console));
}
