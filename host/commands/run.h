#pragma once

#include "console/console.h"
#include "console/messages.h"

#include <string>
#include <vector>

namespace casebook::cli {

/// Runs one command line, given without the program's name. Throws nothing: what went wrong is printed.
ExitCode run(std::vector<std::string> arguments, Console& console) noexcept;

}  // namespace casebook::cli
