#include "auxtags/wildcard.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace casebook {
namespace {

/// One replacement after the other, each over the whole text.
std::string replaceInTurn(std::string text) {
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

RC_GTEST_PROP(Wildcard, TranslatesLikeReplacingOneCharacterAfterTheOther, ()) {
  auto const pattern = *rc::gen::container<std::string>(
      rc::gen::oneOf(rc::gen::elementOf(std::string{"\\^.$|()[]+/{}?*a-"}), rc::gen::arbitrary<char>()));
  RC_ASSERT(wildcardToRegex(pattern) == replaceInTurn(pattern));
  compileWildcard(pattern);
}

}  // namespace
}  // namespace casebook
