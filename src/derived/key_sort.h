#pragma once

#include <casebook/variant.h>

#include <span>
#include <vector>

namespace casebook {

/// Sorts positions by their keys, equal keys by position. Keeps its memory from one sort to the next.
class KeySort {
 public:
  using Positions = std::span<std::uint32_t>;
  using Keys = std::span<u64 const>;

  /// `positions` ascend; `keys[position]` is the key of one. Appends to `ends` where each run of equal keys ends.
  void sort(Positions positions, Keys keys, std::vector<std::uint32_t>& ends);

 private:
  /// A position below the leading bits of what its key is above the lowest, so that one word is moved for both.
  using Word = u64;

  void pack(Positions positions, Keys keys, u64 low, int shift);
  void distribute(Positions positions, Keys keys, u64 low, int shift);

  std::vector<Word> words_;
  std::vector<Word> spare_;
};

}  // namespace casebook
