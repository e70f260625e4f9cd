#include "platform/wildcard.h"

#include "platform/letters.h"
#include "support/path_test.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>

namespace casebook {
namespace {

RC_GTEST_PROP(Wildcard, TranslatesLikeReplacingOneCharacterAfterTheOther, ()) {
  auto const pattern = *rc::gen::container<std::string>(
      rc::gen::oneOf(rc::gen::elementOf(std::string{"\\^.$|()[]+/{}?*a-"}), rc::gen::arbitrary<char>()));
  RC_ASSERT(wildcardToRegex(pattern) == test::replaceInTurn(pattern));
  checkWildcard(pattern);
}

/// Every text of these characters that is not longer than `longest`.
std::vector<std::string> textsOf(std::string_view characters, std::size_t longest) {
  std::vector<std::string> texts{""};
  for (std::size_t i = 0; texts[i].size() < longest; ++i)
    for (char const c : characters) texts.push_back(texts[i] + c);
  return texts;
}

TEST(Wildcard, MatchesWhatTheSearchFindsAtTheEnd) {
  struct {
    std::vector<std::string> patterns;
    std::vector<std::string> paths;
  } const alphabets[] = {
      {textsOf({"*?a.\n/\0\xE9", 8}, 3), textsOf({"a.\n/\0\xE9*", 7}, 3)},
      {textsOf("*?ab", 5), textsOf("ab", 6)},
      {textsOf("*ab\\", 5), textsOf("ab\\", 4)},
  };
  for (auto const& [patterns, paths] : alphabets)
    for (auto const& pattern : patterns) {
      boost::regex const regex{test::replaceInTurn(pattern)};
      for (auto const& path : paths)
        ASSERT_EQ(matchesWildcard(pattern, path), test::searchFindsEnd(regex, path))
            << testing::PrintToString(pattern) << " at " << testing::PrintToString(path);
    }
}

// A pattern that was ready for many texts asks first what the text's sketch tells.
RC_GTEST_PROP(Wildcard, MatchesLikewiseWhenItWasMadeReady, ()) {
  auto const text = *rc::gen::container<std::string>(rc::gen::elementOf(std::string{"aaAbB/.\xE9"}));
  auto const edits = *rc::gen::container<std::string>(text.size(), rc::gen::elementOf(std::string{"=======*?x-"}));
  std::string pattern;
  for (std::size_t i = *rc::gen::inRange<std::size_t>(0, text.size() + 1); i < text.size(); ++i)
    if (edits[i] != '-') pattern += edits[i] == '=' ? text[i] : edits[i];
  bool const expected = matchesWildcard(pattern, text);
  RC_TAG(expected);
  RC_ASSERT((Wildcard{pattern}.matches(text, TextSketch{text})) == expected);
  auto const small = [](std::string in) {
    std::ranges::transform(in, in.begin(), toSmallLetter);
    return in;
  };
  RC_ASSERT(matchesWildcardInAnyCase(pattern, text) == matchesWildcard(small(pattern), small(text)));
  RC_ASSERT(matchesWildcardInAnyCase(small(pattern), text) == matchesWildcard(small(pattern), small(text)));
}

// A search that tries one way after the other does not come to an end with any of these, or gives up.
TEST(Wildcard, MatchesHostilePatternsInTime) {
  auto const times = [](std::size_t count, std::string const& text) {
    std::string all;
    while (count-- > 0) all += text;
    return all;
  };
  struct {
    std::string pattern;
    std::string path;
    bool matches;
  } const rows[] = {
      {"****b", times(5000, "a"), false},
      {times(4095, "*") + 'b', times(5000, "a") + 'b', true},
      {"*/*/*/*.png", times(2000, "a/") + "b.pngx", false},
      {times(1300, "*a?") + 'c', times(5000, "a") + 'c', true},
      {times(1000, "?a") + "b*c", times(5000, "a") + 'c', false},
      {"*?" + times(1'000'000, "a"), times(100'000, "a"), false},
      {times(1'000'000, "*?"), times(5000, "a"), false},  // longer than can be set, as a stored block may have it
  };
  for (auto const& [pattern, path, matches] : rows) EXPECT_EQ(matchesWildcard(pattern, path), matches);
}

}  // namespace
}  // namespace casebook
