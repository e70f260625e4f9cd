#pragma once

#include <array>
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

/// What a text holds, in brief: most patterns that do not match it can tell from this alone.
struct TextSketch {
  explicit TextSketch(std::string_view text) noexcept;

  std::uint64_t end = 0;                   ///< its last bytes, the very last one highest
  std::array<std::uint64_t, 4> triples{};  ///< a bit, which others may share, for each three bytes in a row
};

/// A pattern made ready for many texts.
class Wildcard {
 public:
  explicit Wildcard(std::string pattern);

  [[nodiscard]] std::string const& pattern() const noexcept { return pattern_; }
  /// As matchesWildcard; the sketch must be that of the text.
  [[nodiscard]] bool matches(std::string_view text, TextSketch const& sketch) const noexcept {
    return mayMatch(sketch) && matchesWildcard(pattern_, text);
  }

 private:
  [[nodiscard]] bool mayMatch(TextSketch const& sketch) const noexcept {
    if (((sketch.end ^ required_.end) & endMask_) != 0) return false;
    std::uint64_t missing = 0;
    for (std::size_t i = 0; i < required_.triples.size(); ++i) missing |= required_.triples[i] & ~sketch.triples[i];
    return missing == 0;
  }

  std::string pattern_;
  TextSketch required_;
  std::uint64_t endMask_ = 0;
};

/// The regular expression that means the same.
[[nodiscard]] std::string wildcardToRegex(std::string_view pattern);

/// Throws ("A pattern is at most 4096 bytes long.", false), and what Boost.Regex throws when it compiles the pattern.
void checkWildcard(std::string_view pattern);

}  // namespace casebook
