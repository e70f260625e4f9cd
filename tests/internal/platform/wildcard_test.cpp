#include "platform/wildcard_table.h"

#include "platform/letters.h"
#include "support/path_test.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <random>

namespace casebook {
namespace {

using namespace std::string_literals;

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

/// Parts of the text between asterisks, where some bytes may have been changed.
std::string patternFor(std::string const& text, std::mt19937_64& random) {
  std::string pattern;
  for (std::size_t at = 0; at < text.size();) {
    auto const skipped = std::min<std::size_t>(random() % 30, text.size() - at);
    if (skipped > 0) pattern += '*';
    at += skipped;
    auto const kept = random() % 12;
    pattern += text.substr(at, kept);
    at += kept;
    char const change = "======???*a"[random() % 11];
    if (change != '=' && !pattern.empty()) pattern[random() % pattern.size()] = change;
  }
  return pattern;
}

RC_GTEST_PROP(Wildcard, MatchesLikewiseWhenItWasMadeReady, (std::uint64_t seed)) {
  auto const text = *rc::gen::scale(3, rc::gen::container<std::string>(rc::gen::elementOf("aaAbB/.\xE9\0"s)));
  std::mt19937_64 random{seed};
  std::vector<Wildcard> ready;
  std::vector<std::size_t> expected;
  for (auto count = random() % 150; ready.size() < count;) {
    auto const& pattern = ready.emplace_back(patternFor(text, random)).pattern();
    bool const matches = matchesWildcard(pattern, text);
    RC_ASSERT(ready.back().matches(WildcardText{text}) == matches);
    if (matches) expected.push_back(ready.size() - 1);
  }
  RC_CLASSIFY(expected.size() > 1 && expected.size() < ready.size());
  std::vector<Wildcard const*> patterns;
  for (auto const& pattern : ready) patterns.push_back(&pattern);
  std::vector<std::size_t> found;
  WildcardTable table{patterns};
  table.forEachMatch("/aB." + text, [](std::size_t) {});  // which leaves nothing behind
  table.forEachMatch(text, [&](std::size_t number) { found.push_back(number); });
  RC_ASSERT(found == expected);
}

RC_GTEST_PROP(Wildcard, MatchesInAnyCaseWhatMatchesInSmallLetters, (std::uint64_t seed)) {
  auto const text = *rc::gen::container<std::string>(rc::gen::elementOf("aaAbB/.\xE9\0"s));
  std::mt19937_64 random{seed};
  auto const pattern = patternFor(text, random);
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
