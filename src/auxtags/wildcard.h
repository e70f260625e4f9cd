#pragma once

#include <boost/regex.hpp>

#include <string>
#include <string_view>

namespace casebook {

/// The regular expression that means the same as a wildcard pattern: `?` any one character, `*` any run of them,
/// everything else itself.
std::string wildcardToRegex(std::string_view pattern);

/// Throws ("A pattern is at most 4096 bytes long.", false), and what Boost.Regex throws.
boost::regex compileWildcard(std::string const& pattern);

}  // namespace casebook
