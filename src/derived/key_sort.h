#pragma once

#include <casebook/variant.h>

#include <span>
#include <vector>

namespace casebook {

/// Sorts positions by their keys, equal keys by position. Keeps its memory from one sort to the next.
class KeySort {
 public:
  /// `positions` ascend and are below 2^32; `keys[position]` is the key of one.
  void sort(std::span<u64> positions, std::span<u64 const> keys);

 private:
  void sortWords(std::span<u64> words);
  void distribute(std::span<u64> words);

  std::vector<u64> spare_;
};

}  // namespace casebook
