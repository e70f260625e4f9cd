#include "auxtags/wildcard.h"

#include <casebook/exception_base.h>

namespace casebook {

namespace {

constexpr std::size_t longestPattern = 4096;
constexpr std::string_view escaped = R"(\^.$|()[]+/{})";

}  // namespace

// One pass gives what replacing one character after the other gives: backslashes are escaped before any is added, and
// the points that stand for wildcards are added after those of the pattern were escaped.
std::string wildcardToRegex(std::string_view pattern) {
  std::string regex;
  regex.reserve(2 * pattern.size());
  for (char const c : pattern) {
    if (escaped.find(c) != std::string_view::npos) regex += '\\';
    if (c == '*') regex += '.';
    regex += c == '?' ? '.' : c;
  }
  return regex;
}

boost::regex compileWildcard(std::string const& pattern) {
  if (pattern.size() > longestPattern) throw varnel::ExceptionBase{"A pattern is at most 4096 bytes long.", false};
  return boost::regex{wildcardToRegex(pattern)};
}

}  // namespace casebook
