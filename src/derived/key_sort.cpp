#include "derived/key_sort.h"

#include <algorithm>
#include <array>
#include <bit>
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

constexpr std::uint32_t positionOf(u64 word) noexcept { return static_cast<std::uint32_t>(word); }

/// Where the run ends that begins at `begin`: of elements that have the same projection.
template <class Element, class Project>
std::size_t endOfRun(std::span<Element> all, std::size_t begin, Project project) {
  std::size_t end = begin + 1;
  while (end != all.size() && project(all[end]) == project(all[begin])) ++end;
  return end;
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

struct Extent {
  u64 low;
  u64 high;
  bool ascend;
};

Extent extentOf(KeySort::Positions positions, KeySort::Keys keys) noexcept {
  Extent extent{keys[positions.front()], keys[positions.front()], true};
  u64 last = extent.low;
  for (auto const position : positions) {
    u64 const key = keys[position];
    extent.low = std::min(extent.low, key);
    extent.high = std::max(extent.high, key);
    extent.ascend &= last <= key;
    last = key;
  }
  return extent;
}

/// Sorts positions whose keys have equal leading bits; mostly they are few, or all keys are equal.
void sortTied(KeySort::Positions positions, KeySort::Keys keys) {
  if (std::ranges::is_sorted(positions, {}, [&](auto position) { return keys[position]; })) return;
  if (positions.size() < leastToDistribute)
    return (void)std::ranges::sort(positions, {}, [&](auto position) { return std::pair{keys[position], position}; });
  std::vector<std::uint32_t> ends;
  KeySort{}.sort(positions, keys, ends);
}

/// Takes in sorted words part by part: puts their positions and where each run of equal keys ends.
class Sorted {
 public:
  /// There is room for as many ends as positions. The words have the keys whole, or their leading bits.
  Sorted(KeySort::Positions positions, KeySort::Keys keys, std::uint32_t* ends, bool whole)
      : positions_{positions}, keys_{keys}, end_{ends}, whole_{whole} {}

  void put(u64 word) noexcept {
    positions_[put_++] = positionOf(word);
    *end_++ = put_;
  }
  void put(std::span<u64 const> words) {
    for (std::size_t begin = 0; begin != words.size();) {
      auto const end = endOfRun(words, begin, [](u64 word) { return word & ~positionMask; });
      if (end - begin == 1) put(words[begin]);
      else putTied(words.subspan(begin, end - begin));
      begin = end;
    }
  }
  /// The positions as they stand, which have ascending keys.
  void putAll() noexcept { putEnds(positions_); }

  [[nodiscard]] std::uint32_t* end() const noexcept { return end_; }

 private:
  void putTied(std::span<u64 const> words) {
    auto const run = positions_.subspan(put_, words.size());
    std::ranges::transform(words, run.begin(), positionOf);
    if (!whole_) {
      sortTied(run, keys_);
      return putEnds(run);
    }
    put_ += static_cast<std::uint32_t>(words.size());
    *end_++ = put_;
  }
  void putEnds(KeySort::Positions run) noexcept {
    for (std::size_t k = 0; k != run.size();) {
      k = endOfRun(run, k, [&](auto position) { return keys_[position]; });
      *end_++ = static_cast<std::uint32_t>(put_ + k);
    }
    put_ += static_cast<std::uint32_t>(run.size());
  }

  KeySort::Positions positions_;
  KeySort::Keys keys_;
  std::uint32_t* end_;
  std::uint32_t put_ = 0;
  bool whole_;
};

/// Puts words that are sorted but for the digits that were not distributed.
void putDistributed(std::span<u64> words, Sorted& sorted) {
  for (std::size_t begin = 0; begin != words.size();) {
    auto const end = endOfRun(words, begin, [](u64 word) { return word >> lowDigit; });
    auto const run = words.subspan(begin, end - begin);
    if (run.size() == 1) sorted.put(run.front());
    else sortFew(run), sorted.put(run);
    begin = end;
  }
}

}  // namespace

void KeySort::sort(Positions positions, Keys keys, std::vector<std::uint32_t>& ends) {
  if (positions.empty()) return;
  auto const before = ends.size();
  ends.resize(before + positions.size());
  auto const [low, high, ascend] = extentOf(positions, keys);
  int const shift = ascend ? 0 : std::countl_zero(high - low);
  Sorted sorted{positions, keys, &ends[before], shift >= 32};
  if (words_.size() < positions.size()) words_.resize(positions.size());
  auto const words = std::span{words_}.first(positions.size());
  if (ascend) {
    sorted.putAll();
  } else if (words.size() < leastToDistribute) {
    pack(positions, keys, low, shift);
    sortFew(words);
    sorted.put(words);
  } else {
    distribute(positions, keys, low, shift);
    putDistributed(words, sorted);
  }
  ends.resize(static_cast<std::size_t>(sorted.end() - ends.data()));
}

void KeySort::pack(Positions positions, Keys keys, u64 low, int shift) {
  auto word = words_.begin();
  for (auto const position : positions) *word++ = ((keys[position] - low) << shift & ~positionMask) | position;
}

void KeySort::distribute(Positions positions, Keys keys, u64 low, int shift) {
  Histogram lowCounts{};
  Histogram highCounts{};
  for (auto const position : positions) {
    u64 const leading = (keys[position] - low) << shift;
    ++lowCounts[digitOf(leading, lowDigit)];
    ++highCounts[digitOf(leading, highDigit)];
  }
  makePlaces(lowCounts);
  makePlaces(highCounts);
  if (spare_.size() < positions.size()) spare_.resize(positions.size());
  for (auto const position : positions) {
    u64 const leading = (keys[position] - low) << shift;
    spare_[lowCounts[digitOf(leading, lowDigit)]++] = (leading & ~positionMask) | position;
  }
  for (Word const word : std::span{spare_}.first(positions.size()))
    words_[highCounts[digitOf(word, highDigit)]++] = word;
}

}  // namespace casebook
