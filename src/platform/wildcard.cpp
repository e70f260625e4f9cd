#include "platform/wildcard.h"

#include "platform/letters.h"

#include <casebook/exception_base.h>

#include <boost/regex.hpp>

#include <algorithm>

namespace casebook {

namespace {

constexpr std::size_t longestPattern = 4096;
constexpr std::string_view escaped = R"(\^.$|()[]+/{})";

/// How characters compare; equal bytes are the common case, for which the library's search is the fastest.
struct Exactly {
  static constexpr bool standsFor(char inPattern, char inText) noexcept {
    return inPattern == inText || inPattern == '?';
  }
  static std::size_t findPlain(std::string_view text, std::string_view stretch) noexcept { return text.find(stretch); }
};

struct InAnyCase {
  static constexpr bool standsFor(char inPattern, char inText) noexcept {
    return toSmallLetter(inPattern) == toSmallLetter(inText) || inPattern == '?';
  }
  static std::size_t findPlain(std::string_view text, std::string_view stretch) noexcept;
};

template <class Compare>
std::size_t search(std::string_view text, std::string_view stretch) noexcept {
  if (stretch.size() > text.size()) return std::string_view::npos;
  auto const found = std::ranges::search(text, stretch, [](char t, char p) { return Compare::standsFor(p, t); });
  return found.empty() ? std::string_view::npos : static_cast<std::size_t>(found.begin() - text.begin());
}

std::size_t InAnyCase::findPlain(std::string_view text, std::string_view stretch) noexcept {
  return search<InAnyCase>(text, stretch);
}

/// Whether the stretches between the asterisks occur in the text one behind the other. The first place is the best for
/// each: what comes after it has the most room.
template <class Compare>
bool holdsInOrder(std::string_view text, std::string_view stretches) noexcept {
  while (!stretches.empty()) {
    auto const stretch = stretches.substr(0, stretches.find('*'));
    if (!stretch.empty()) {
      bool const isPlain = stretch.find('?') == std::string_view::npos;
      auto const place = isPlain ? Compare::findPlain(text, stretch) : search<Compare>(text, stretch);
      if (place == std::string_view::npos) return false;
      text.remove_prefix(place + stretch.size());
    }
    stretches.remove_prefix(std::min(stretch.size() + 1, stretches.size()));
  }
  return true;
}

// What follows the last asterisk has one place where it can stand, and most texts fail there at once.
template <class Compare>
bool matchesEnd(std::string_view pattern, std::string_view text) noexcept {
  for (; !pattern.empty() && pattern.back() != '*'; pattern.remove_suffix(1), text.remove_suffix(1))
    if (text.empty() || !Compare::standsFor(pattern.back(), text.back())) return false;
  return holdsInOrder<Compare>(text, pattern);
}

constexpr std::uint64_t byteOf(char c) noexcept { return static_cast<unsigned char>(c); }

}  // namespace

bool matchesWildcard(std::string_view pattern, std::string_view text) noexcept {
  return matchesEnd<Exactly>(pattern, text);
}

bool matchesWildcardInAnyCase(std::string_view pattern, std::string_view text) noexcept {
  return matchesEnd<InAnyCase>(pattern, text);
}

TextSketch::TextSketch(std::string_view text) noexcept {
  for (char const c : text.substr(text.size() - std::min<std::size_t>(text.size(), 8)))
    end = end >> 8 | byteOf(c) << 56;
  std::uint64_t triple = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    triple = (triple << 8 | byteOf(text[i])) & 0xFFFFFF;
    if (i < 2) continue;
    auto const bit = triple * 0x9E3779B97F4A7C15 >> 56;
    triples[bit / 64] |= std::uint64_t{1} << bit % 64;
  }
}

// Of what lies between wildcards every text that matches holds all triples.
Wildcard::Wildcard(std::string pattern) : pattern_{std::move(pattern)}, required_{""} {
  std::string_view rest = pattern_;
  auto const tail = rest.substr(rest.find_last_of('*') + 1);
  required_.end = TextSketch{tail}.end;
  for (char const c : tail.substr(tail.size() - std::min<std::size_t>(tail.size(), 8)))
    endMask_ = endMask_ >> 8 | (c == '?' ? 0 : std::uint64_t{0xFF} << 56);
  while (!rest.empty()) {
    auto const plain = rest.substr(0, rest.find_first_of("*?"));
    TextSketch const sketch{plain};
    for (std::size_t i = 0; i < sketch.triples.size(); ++i) required_.triples[i] |= sketch.triples[i];
    rest.remove_prefix(std::min(plain.size() + 1, rest.size()));
  }
}

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

void checkWildcard(std::string_view pattern) {
  if (pattern.size() > longestPattern) throw varnel::ExceptionBase{"A pattern is at most 4096 bytes long.", false};
  boost::regex{wildcardToRegex(pattern)};
}

}  // namespace casebook
