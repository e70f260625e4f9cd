#include "platform/wildcard_table.h"

#include <algorithm>
#include <unordered_map>

namespace casebook {

namespace {

constexpr std::size_t pieceSize = 3;

std::uint32_t pieceAt(char const* at) noexcept {
  auto const byte = [at](int i) { return std::uint32_t{static_cast<unsigned char>(at[i])}; };
  return byte(0) | byte(1) << 8 | byte(2) << 16;
}

constexpr std::uint32_t placeOf(std::uint32_t piece) noexcept { return piece * 0x9E3779B1 >> 20; }

/// The pieces between the wildcards of a pattern, some more than once.
std::vector<std::uint32_t> piecesOf(std::string_view pattern) {
  std::vector<std::uint32_t> pieces;
  for (std::size_t i = 0; i + pieceSize <= pattern.size(); ++i)
    if (pattern.substr(i, pieceSize).find_first_of("*?") == std::string_view::npos)
      pieces.push_back(pieceAt(pattern.data() + i));
  return pieces;
}

}  // namespace

WildcardTable::WildcardTable(std::vector<Wildcard const*> patterns)
    : patterns_{std::move(patterns)}, withoutPiece_((patterns_.size() + 63) / 64) {
  std::unordered_map<std::uint32_t, std::size_t> holders;
  std::vector<std::vector<std::uint32_t>> pieces;
  for (auto const* const pattern : patterns_)
    for (auto const piece : pieces.emplace_back(piecesOf(pattern->pattern()))) ++holders[piece];
  for (std::uint32_t number = 0; number < patterns_.size(); ++number) {
    auto const rarest = std::ranges::min_element(pieces[number], {}, [&](auto piece) { return holders[piece]; });
    if (rarest != pieces[number].end()) list(*rarest, number);
    else withoutPiece_[number / 64] |= std::uint64_t{1} << number % 64;
  }
}

void WildcardTable::list(std::uint32_t piece, std::uint32_t pattern) {
  auto& first = first_[placeOf(piece)];
  listings_.push_back({piece, pattern, first});
  first = static_cast<std::uint32_t>(listings_.size() - 1);
}

// Whether anything is listed in a place is not asked by a branch, which would often be guessed wrongly: what was found
// there is written in any case and kept by counting it.
void WildcardTable::findCandidates(std::string_view text) {
  candidates_ = withoutPiece_;
  std::array<std::uint32_t, 64> found;
  for (; text.size() >= pieceSize; text.remove_prefix(std::min(text.size(), found.size()))) {
    auto const pieces = std::min(text.size() - pieceSize + 1, found.size());
    std::size_t count = 0;
    for (std::size_t i = 0; i < pieces; ++i) {
      found[count] = pieceAt(text.data() + i);
      count += first_[placeOf(found[count])] != 0;
    }
    for (std::size_t i = 0; i < count; ++i) takeListedUnder(found[i]);
  }
}

void WildcardTable::takeListedUnder(std::uint32_t piece) noexcept {
  for (auto at = first_[placeOf(piece)]; at != 0; at = listings_[at].next)
    if (auto const& [listed, pattern, next] = listings_[at]; listed == piece)
      candidates_[pattern / 64] |= std::uint64_t{1} << pattern % 64;
}

}  // namespace casebook
