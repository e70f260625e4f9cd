#include "platform/wildcard.h"

#include "platform/letters.h"

#include <casebook/exception_base.h>

#include <boost/regex.hpp>

#include <algorithm>
#include <array>
#include <bit>

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

std::uint64_t endOf(std::string_view text) noexcept {
  std::array<char, sizeof(std::uint64_t)> end{};
  auto const size = std::min(text.size(), end.size());
  std::copy_n(text.end() - size, size, end.end() - size);
  return std::bit_cast<std::uint64_t>(end);
}

}  // namespace

bool matchesWildcard(std::string_view pattern, std::string_view text) noexcept {
  return matchesEnd<Exactly>(pattern, text);
}

bool matchesWildcardInAnyCase(std::string_view pattern, std::string_view text) noexcept {
  return matchesEnd<InAnyCase>(pattern, text);
}

WildcardText::WildcardText(std::string_view text) noexcept : text_{text}, end_{endOf(text)} {}

Wildcard::Wildcard(std::string pattern) : pattern_{std::move(pattern)} {
  std::string_view const tail = std::string_view{pattern_}.substr(pattern_.find_last_of('*') + 1);
  std::string known{tail};
  for (char& c : known) c = c == '?' ? '\0' : '\xFF';
  leastSize_ = pattern_.size() - static_cast<std::size_t>(std::ranges::count(pattern_, '*'));
  end_ = endOf(tail);
  endMask_ = endOf(known);
  endIsAll_ = leastSize_ == tail.size() && tail.size() <= sizeof end_;
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
