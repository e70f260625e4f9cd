#pragma once

#include "derived/key_sort.h"

#include <algorithm>
#include <string_view>

namespace casebook {

/// Sorts positions by the texts at them, equal texts by position. Keeps its memory from one sort to the next.
///
/// A range of texts that begin alike is sorted by the next few bytes after what all of them share; those that have
/// even these in common are a range of their own, which waits for its turn: nothing here calls itself, however long
/// the texts are.
class TextSort {
 public:
  explicit TextSort(KeySort& keySort) : keySort_{keySort} {}

  /// `positions` ascend; `textAt(position)` is a std::string_view. `keys` has room for each position and is
  /// overwritten. Appends to `ends` where each text ends.
  template <class TextAt>
  void sort(std::span<u64> positions, TextAt textAt, std::span<u64> keys, std::vector<std::uint32_t>& ends);

 private:
  struct Range {
    std::size_t begin;
    std::size_t end;
    std::size_t depth;  // the number of bytes that all its texts share
  };

  template <class TextAt>
  void split(Range range, std::span<u64> positions, TextAt textAt, std::span<u64> keys);
  void markRuns(Range range, std::span<u64 const> positions, std::span<u64 const> keys);
  void putEnds(std::size_t size, std::vector<std::uint32_t>& ends) const;

  KeySort& keySort_;
  std::vector<Range> waiting_;
  std::vector<bool> begins_;  // whether a text begins at a place
};

namespace text_key {

constexpr std::size_t bytes = 7;

/// The first bytes of a text as a key that has their order, and whether more follow.
inline u64 of(std::string_view text) noexcept {
  u64 key = 0;
  for (std::size_t i = 0; i < bytes; ++i) key = key << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
  return key << 8 | std::min(text.size(), bytes + 1);
}

/// How many bytes both begin with.
inline std::size_t sharedBytes(std::string_view a, std::string_view b) noexcept {
  return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
}

constexpr bool moreFollows(u64 key) noexcept { return (key & 0xff) > bytes; }

}  // namespace text_key

template <class TextAt>
void TextSort::sort(std::span<u64> positions, TextAt textAt, std::span<u64> keys, std::vector<std::uint32_t>& ends) {
  begins_.assign(positions.size(), false);
  begins_.front() = true;
  waiting_.assign(1, {0, positions.size(), 0});
  while (!waiting_.empty()) {
    auto const range = waiting_.back();
    waiting_.pop_back();
    split(range, positions, textAt, keys);
  }
  putEnds(positions.size(), ends);
}

template <class TextAt>
void TextSort::split(Range range, std::span<u64> positions, TextAt textAt, std::span<u64> keys) {
  auto const part = positions.subspan(range.begin, range.end - range.begin);
  auto const first = textAt(part.front()).substr(range.depth);
  std::size_t shared = first.size();
  auto const rest = [&](std::size_t k) {
    constexpr std::size_t ahead = 8;  // steps in which memory answers
    if (k + ahead < part.size()) __builtin_prefetch(textAt(part[k + ahead]).data() + range.depth);
    return textAt(part[k]).substr(range.depth);
  };
  for (std::size_t k = 0; k < part.size() && shared != 0; ++k)
    shared = text_key::sharedBytes(first.substr(0, shared), rest(k));
  range.depth += shared;
  for (std::size_t k = 0; k < part.size(); ++k) keys[part[k]] = text_key::of(rest(k));
  keySort_.sort(part, keys);
  markRuns(range, positions, keys);
}

}  // namespace casebook
