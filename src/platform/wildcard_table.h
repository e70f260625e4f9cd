#pragma once

#include "platform/wildcard.h"

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

namespace casebook {

/// Many patterns made ready for many texts, of which each matches few. A pattern is listed under one piece of its own,
/// three bytes in a row that few of the others hold: one pass over a text finds what is listed under the pieces in it,
/// and only that is tried, and the patterns that have no piece.
class WildcardTable {
 public:
  /// The patterns are borrowed.
  explicit WildcardTable(std::vector<Wildcard const*> patterns);

  /// Calls `take` with the number of each pattern that matches the text, ascending.
  void forEachMatch(std::string_view text, auto const& take) {
    findCandidates(text);
    WildcardText const ready{text};
    for (std::size_t word = 0; word < candidates_.size(); ++word)
      for (auto bits = candidates_[word]; bits != 0; bits &= bits - 1) {
        auto const number = 64 * word + static_cast<std::size_t>(std::countr_zero(bits));
        if (patterns_[number]->matches(ready, from_[number])) take(number);
      }
  }

 private:
  using Bits = std::vector<std::uint64_t>;  ///< one for each pattern
  struct Listing {
    std::uint32_t piece;
    std::uint32_t pattern;
    std::uint32_t before;  ///< how many bytes of a match come before the piece; more than any text has: any number
    std::uint32_t next;    ///< in the same place of the table; 0 is none
  };

  void list(Listing listing);
  void findCandidates(std::string_view text);
  void takeListedUnder(std::uint32_t piece, std::size_t at) noexcept;

  std::vector<Wildcard const*> patterns_;
  Bits withoutPiece_;
  Bits candidates_;                          ///< for the text at hand
  std::vector<std::size_t> from_;            ///< where in the text at hand a match of each candidate may begin
  std::array<std::uint32_t, 4096> first_{};  ///< listings by the hashes of their pieces; 0 is none
  std::vector<Listing> listings_{{}};
};

}  // namespace casebook
