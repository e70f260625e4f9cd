#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace casebook {

/// A wildcard pattern: `?` stands for any one character, `*` for any run of them, everything else for itself. A
/// character is a byte, and no byte is special: a line's end or a separator is a character like any other.

/// Whether the pattern matches some stretch of the text that ends at the text's end. Takes time at most in proportion
/// to text times pattern, and a pattern that is longer than the text costs no more than reading it.
[[nodiscard]] bool matchesWildcard(std::string_view pattern, std::string_view text) noexcept;
/// The same with the letters A to Z as good as the small ones.
[[nodiscard]] bool matchesWildcardInAnyCase(std::string_view pattern, std::string_view text) noexcept;

/// A text made ready for many patterns.
class WildcardText {
 public:
  explicit WildcardText(std::string_view text) noexcept;

  [[nodiscard]] std::string_view text() const noexcept { return text_; }
  /// Its last eight bytes as a number; what a shorter text does not have is 0.
  [[nodiscard]] std::uint64_t end() const noexcept { return end_; }

 private:
  std::string_view text_;
  std::uint64_t end_;
};

/// A pattern made ready for many texts: most that it does not match it can tell from their ends.
class Wildcard {
 public:
  explicit Wildcard(std::string pattern);

  [[nodiscard]] std::string const& pattern() const noexcept { return pattern_; }
  /// As matchesWildcard, when a match, if there is one, begins at `from` or behind it.
  [[nodiscard]] bool matches(WildcardText const& text, std::size_t from = 0) const noexcept {
    return text.text().size() >= leastSize_ && ((text.end() ^ end_) & endMask_) == 0 &&
           (endIsAll_ || matchesWildcard(pattern_, text.text().substr(from)));
  }

 private:
  std::string pattern_;
  std::size_t leastSize_;  ///< of a text that matches
  std::uint64_t end_;      ///< of the text, where the mask has bits
  std::uint64_t endMask_;
  bool endIsAll_;  ///< nothing else has to match
};

/// The regular expression that means the same.
[[nodiscard]] std::string wildcardToRegex(std::string_view pattern);

/// Throws ("A pattern is at most 4096 bytes long.", false), and what Boost.Regex throws when it compiles the pattern.
void checkWildcard(std::string_view pattern);

}  // namespace casebook
