#pragma once

#include "derived/key_sort.h"
#include "derived/text_keys.h"

#include <algorithm>
#include <utility>

namespace casebook {

/// Sorts positions by the texts at them, equal texts by position. Keeps its memory from one sort to the next.
///
/// A range of texts that begin alike is sorted by what follows, as far as a key tells it; those that have even this in
/// common are a range of their own, which waits for its turn: nothing here calls itself, however long the texts are.
class TextSort {
 public:
  using Positions = std::span<std::uint32_t>;
  using Ends = std::vector<std::uint32_t>;

  explicit TextSort(KeySort& keySort) : keySort_{keySort} {}

  /// `positions` ascend; `textAt(position)` is a std::string const&. `keys` has room for each position and is
  /// overwritten. Appends to `ends` where each text ends.
  template <class TextAt>
  void sort(Positions positions, TextAt textAt, std::span<u64> keys, Ends& ends);

 private:
  struct Range {
    std::size_t begin;
    std::size_t end;
    std::size_t depth;  // the number of bytes that all its texts share
  };

  // Both append the ends within the range.
  template <class TextAt>
  void sortFew(Range range, Positions part, TextAt textAt, Ends& ends);
  template <class TextAt>
  void split(Range range, Positions part, TextAt textAt, std::span<u64> keys, Ends& ends);
  template <class TextAt>
  void passShared(Range range, Positions part, TextAt textAt);

  static constexpr std::size_t few = 128;

  KeySort& keySort_;
  TextKeys textKeys_;
  std::vector<Range> waiting_;
  Ends inner_;  // but the last
  Ends runs_;   // of equal keys in a range
};

template <class TextAt>
void TextSort::sort(Positions positions, TextAt textAt, std::span<u64> keys, Ends& ends) {
  inner_.clear();
  waiting_.assign(1, {0, positions.size(), 0});
  while (!waiting_.empty()) {
    auto const range = waiting_.back();
    waiting_.pop_back();
    auto const part = positions.subspan(range.begin, range.end - range.begin);
    auto const isFirst = [&](auto position) { return &textAt(position) == &textAt(part.front()); };
    if (std::ranges::all_of(part, isFirst)) continue;
    if (part.size() < few) sortFew(range, part, textAt, inner_);
    else split(range, part, textAt, keys, inner_);
  }
  if (!std::ranges::is_sorted(inner_)) std::ranges::sort(inner_);  // only where ranges waited
  ends.insert(ends.end(), inner_.begin(), inner_.end());
  ends.push_back(static_cast<std::uint32_t>(positions.size()));
}

template <class TextAt>
void TextSort::sortFew(Range range, Positions part, TextAt textAt, Ends& ends) {
  auto const rest = [&](auto position) { return std::string_view{textAt(position)}.substr(range.depth); };
  std::ranges::sort(part, [&](auto a, auto b) {
    auto const order = rest(a) <=> rest(b);
    return order == 0 ? a < b : order < 0;
  });
  for (std::size_t k = 1; k < part.size(); ++k)
    if (rest(part[k - 1]) != rest(part[k])) ends.push_back(static_cast<std::uint32_t>(range.begin + k));
}

template <class TextAt>
void TextSort::split(Range range, Positions part, TextAt textAt, std::span<u64> keys, Ends& ends) {
  auto const rest = [&](std::size_t k) { return std::string_view{textAt(part[k])}.substr(range.depth); };
  constexpr std::size_t ahead = 8;  // steps in which memory answers
  textKeys_.clear();
  for (std::size_t k = 0; k < part.size(); ++k) {
    if (k + 2 * ahead < part.size()) __builtin_prefetch(&textAt(part[k + 2 * ahead]));
    if (k + ahead < part.size()) __builtin_prefetch(textAt(part[k + ahead]).data() + range.depth);
    textKeys_.add(rest(k));
  }
  textKeys_.weigh();
  if (!textKeys_.differ()) return passShared(range, part, textAt);
  for (std::size_t k = 0; k < part.size(); ++k) keys[part[k]] = textKeys_.of(k);
  runs_.clear();
  keySort_.sort(part, keys, runs_);
  for (std::size_t begin = 0; std::size_t const end : runs_) {
    if (end != part.size()) ends.push_back(static_cast<std::uint32_t>(range.begin + end));
    if (end - begin > 1 && rest(begin).size() >= textKeys_.bytes())
      waiting_.push_back({range.begin + begin, range.begin + end, range.depth + textKeys_.bytes()});
    begin = end;
  }
}

// Keys tell nothing of texts that agree in all that goes into one: they wait for what comes after all that they share.
template <class TextAt>
void TextSort::passShared(Range range, Positions part, TextAt textAt) {
  auto shared = std::string_view{textAt(part.front())}.substr(range.depth);
  if (shared.size() < textKeys_.bytes()) return;  // all are equal
  std::string const* last = &textAt(part.front());
  for (auto const position : part) {
    if (std::exchange(last, &textAt(position)) == &textAt(position)) continue;
    auto const rest = std::string_view{textAt(position)}.substr(range.depth);
    shared = {shared.begin(), std::ranges::mismatch(shared, rest).in1};
  }
  waiting_.push_back({range.begin, range.end, range.depth + shared.size()});
}

}  // namespace casebook
