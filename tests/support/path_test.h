#pragma once

#include <boost/regex.hpp>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace casebook::test {

/// The translation of a wildcard pattern, one replacement after the other, each over the whole text.
inline std::string replaceInTurn(std::string text) {
  std::vector<std::pair<char, std::string>> replacements;
  for (char const c : std::string_view{"\\^.$|()[]+/{}"}) replacements.push_back({c, {'\\', c}});
  replacements.emplace_back('?', ".");
  replacements.emplace_back('*', ".*");
  for (auto const& [from, to] : replacements) {
    std::string replaced;
    for (char const c : text) replaced += c == from ? to : std::string{c};
    text = replaced;
  }
  return text;
}

/// Whether some match ends at the end of the path: the search begins anew one character after the start of each match
/// that does not.
inline bool searchFindsEnd(boost::regex const& pattern, std::string const& path) {
  boost::smatch match;
  for (auto from = path.begin(); boost::regex_search(from, path.end(), match, pattern); from = match[0].first + 1)
    if (match[0].second == path.end()) return true;
  return false;
}

}  // namespace casebook::test
