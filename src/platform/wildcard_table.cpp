#include "platform/wildcard_table.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <utility>

namespace casebook {

namespace {

constexpr std::size_t pieceSize = 3;

constexpr auto unknown = static_cast<std::uint32_t>(-1);

/// A number with a byte more than a piece, by which pieces are read in one go, has this byte cleared.
constexpr auto pieceMask = std::bit_cast<std::uint32_t>(std::array<unsigned char, 4>{0xFF, 0xFF, 0xFF, 0});

std::uint32_t pieceOf(std::string_view bytes) noexcept {
  std::uint32_t piece = 0;
  std::memcpy(&piece, bytes.data(), pieceSize);
  return piece;
}

/// Reads the byte behind the piece too.
std::uint32_t pieceAt(char const* at) noexcept {
  std::uint32_t piece = 0;
  std::memcpy(&piece, at, sizeof piece);
  return piece & pieceMask;
}

constexpr std::uint32_t placeOf(std::uint32_t piece) noexcept { return piece * 0x9E3779B1 >> 20; }

struct Piece {
  std::uint32_t bytes;
  std::uint32_t at;  ///< its place in the pattern
};

/// The pieces between the wildcards of a pattern, of a very long one those at its beginning: any of them will do.
std::vector<Piece> piecesOf(std::string_view pattern) {
  pattern = pattern.substr(0, 4096);
  std::vector<Piece> pieces;
  for (std::uint32_t at = 0; at + pieceSize <= pattern.size(); ++at)
    if (auto const bytes = pattern.substr(at, pieceSize); bytes.find_first_of("*?") == std::string_view::npos)
      pieces.push_back({pieceOf(bytes), at});
  return pieces;
}

/// How many bytes of a text that the pattern matches come before the place `at` of the pattern, where that is known:
/// up to the first asterisk that has anything before it.
std::uint32_t bytesBefore(std::string_view pattern, std::uint32_t at) {
  auto const before = pattern.substr(0, at);
  auto const first = std::min(before.find_first_not_of('*'), before.size());
  bool const isKnown = before.find('*', first) == std::string_view::npos;
  return isKnown ? static_cast<std::uint32_t>(before.size() - first) : unknown;
}

}  // namespace

WildcardTable::WildcardTable(std::vector<Wildcard const*> patterns)
    : patterns_{std::move(patterns)}, withoutPiece_((patterns_.size() + 63) / 64), from_(patterns_.size()) {
  std::unordered_map<std::uint32_t, std::size_t> holders;
  std::vector<std::vector<Piece>> pieces;
  for (auto const* const pattern : patterns_)
    for (auto const& piece : pieces.emplace_back(piecesOf(pattern->pattern()))) ++holders[piece.bytes];
  for (std::uint32_t number = 0; number < patterns_.size(); ++number) {
    auto const rarest = std::ranges::min_element(pieces[number], {}, [&](auto const& p) { return holders[p.bytes]; });
    if (rarest != pieces[number].end())
      list({rarest->bytes, number, bytesBefore(patterns_[number]->pattern(), rarest->at), 0});
    else withoutPiece_[number / 64] |= std::uint64_t{1} << number % 64;
  }
}

void WildcardTable::list(Listing listing) {
  auto& first = first_[placeOf(listing.piece)];
  listing.next = std::exchange(first, static_cast<std::uint32_t>(listings_.size()));
  listings_.push_back(listing);
}

// Whether anything is listed in a place is not asked by a branch, which would often be guessed wrongly: what was found
// there is written in any case and kept by counting it.
void WildcardTable::findCandidates(std::string_view text) {
  candidates_ = withoutPiece_;
  if (text.size() < pieceSize) return;
  std::size_t const last = text.size() - pieceSize;
  std::array<std::size_t, 256> found;
  for (std::size_t at = 0; at < last;) {
    std::size_t count = 0;
    for (auto const end = std::min(at + found.size(), last); at < end; ++at) {
      found[count] = at;
      count += first_[placeOf(pieceAt(text.data() + at))] != 0;
    }
    for (std::size_t i = 0; i < count; ++i) takeListedUnder(pieceAt(text.data() + found[i]), found[i]);
  }
  takeListedUnder(pieceOf(text.substr(last)), last);
}

// Of a piece that stands in a text more than once, the first place counts.
void WildcardTable::takeListedUnder(std::uint32_t piece, std::size_t at) noexcept {
  for (auto listing = first_[placeOf(piece)]; listing != 0; listing = listings_[listing].next) {
    auto const& [listed, pattern, before, next] = listings_[listing];
    auto const bit = std::uint64_t{1} << pattern % 64;
    if (listed != piece || (candidates_[pattern / 64] & bit) != 0) continue;
    candidates_[pattern / 64] |= bit;
    from_[pattern] = at - std::min<std::size_t>(at, before);
  }
}

}  // namespace casebook
