#pragma once

#include "text/utf8.h"

#include <span>
#include <string>
#include <string_view>

namespace casebook::cli {

/// How a name is written in a sentence.
using NameWriter = std::string (*)(std::string_view);

/// "Did you mean \"Sex\"?" with the names that are near; empty when none is.
[[nodiscard]] std::string nearest(std::string_view wanted, std::span<std::string const> names,
                                  NameWriter written = inQuotes);

/// A sentence that names what the person may have meant, "Did you mean \"Sex\"?", or lists a few of the names when
/// none is near. Empty when there are no names.
[[nodiscard]] std::string suggestion(std::string_view wanted, std::span<std::string const> names,
                                     NameWriter written = inQuotes);

}  // namespace casebook::cli
