#include "derived/key_sort.h"

#include <algorithm>
#include <array>
#include <bit>
#include <ranges>
#include <utility>

namespace casebook {

namespace {

constexpr u64 positionMask = 0xffff'ffff;

// Two digits of 11 bits are distributed; what they leave in one place is sorted by comparing.
constexpr int digitBits = 11;
constexpr int highDigit = 64 - digitBits;
constexpr int lowDigit = highDigit - digitBits;
constexpr std::size_t leastToDistribute = 1500;

constexpr std::size_t digitOf(u64 word, int digit) noexcept { return (word >> digit) % (u64{1} << digitBits); }

using Histogram = std::array<std::uint32_t, std::size_t{1} << digitBits>;

void makePlaces(Histogram& counts) noexcept {
  std::uint32_t sum = 0;
  for (auto& count : counts) sum += std::exchange(count, sum);
}

void moveByDigit(std::span<u64 const> from, std::span<u64> to, Histogram& places, int digit) noexcept {
  for (u64 const word : from) to[places[digitOf(word, digit)]++] = word;
}

/// Calls `visit` with each run of two or more elements that have the same projection.
template <class Project, class Visit>
void forRuns(std::span<u64> words, Project project, Visit visit) {
  for (auto begin = words.begin(); begin != words.end();) {
    auto end = begin + 1;
    while (end != words.end() && project(*end) == project(*begin)) ++end;
    if (end - begin > 1) visit(std::span{begin, end});
    begin = end;
  }
}

void insertionSort(std::span<u64> words) noexcept {
  for (std::size_t i = 1; i < words.size(); ++i) {
    u64 const word = words[i];
    std::size_t place = i;
    for (; place > 0 && words[place - 1] > word; --place) words[place] = words[place - 1];
    words[place] = word;
  }
}

void sortFew(std::span<u64> words) noexcept {
  constexpr std::size_t few = 24;
  if (words.size() <= few) insertionSort(words);
  else std::ranges::sort(words);
}

}  // namespace

// The leading 32 bits of what the keys are above the lowest are packed above the position, so that one word is moved
// for each; what they leave equal is sorted by the rest of the keys, which is then packed whole.
void KeySort::sort(std::span<u64> positions, std::span<u64 const> keys) {
  auto const key = [&](u64 position) { return keys[position]; };
  if (std::ranges::is_sorted(positions, {}, key)) return;
  auto const [low, high] = std::ranges::minmax(positions | std::views::transform(key));
  int const shift = std::countl_zero(high - low);
  for (u64& position : positions) position |= ((keys[position] - low) << shift) & ~positionMask;
  sortWords(positions);
  if (shift < 32) {
    forRuns(
        positions, [](u64 word) { return word & ~positionMask; },
        [&](std::span<u64> run) {
          for (u64& word : run) word &= positionMask;
          sort(run, keys);
        });
  }
  for (u64& word : positions) word &= positionMask;
}

void KeySort::sortWords(std::span<u64> words) {
  if (words.size() < leastToDistribute) {
    sortFew(words);
    return;
  }
  distribute(words);
  forRuns(words, [](u64 word) { return word >> lowDigit; }, sortFew);
}

void KeySort::distribute(std::span<u64> words) {
  Histogram low{};
  Histogram high{};
  for (u64 const word : words) {
    ++low[digitOf(word, lowDigit)];
    ++high[digitOf(word, highDigit)];
  }
  makePlaces(low);
  makePlaces(high);
  if (spare_.size() < words.size()) spare_.resize(words.size());
  auto const spare = std::span{spare_}.first(words.size());
  moveByDigit(words, spare, low, lowDigit);
  moveByDigit(spare, words, high, highDigit);
}

}  // namespace casebook
