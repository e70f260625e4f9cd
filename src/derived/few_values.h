#pragma once

#include <casebook/variant.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>
#include <vector>

namespace casebook {

/// Groups positions by the values that they stand for, as long as distinct values are few: then it is these that are
/// sorted. Keeps its memory.
class FewValues {
 public:
  static constexpr std::size_t most = 1024;

  /// Counts the values at these positions; false when there are too many. `equal` compares those at two positions;
  /// equal ones have equal hashes.
  template <class Hash, class Equal>
  bool collect(std::span<u64 const> positions, Hash hash, Equal equal);

  /// Puts the positions that were collected into the order of their values, those of one value as they stood, and
  /// appends to `ends` where each value ends. `less` compares the values at two positions.
  template <class Less>
  void arrange(std::span<u64> positions, Less less, std::vector<std::uint32_t>& ends);

 private:
  static constexpr int slotBits = 12;
  static constexpr std::size_t slots = std::size_t{1} << slotBits;
  static_assert(slots >= 2 * most);

  struct Value {
    u64 hash;
    u64 first;  // position
    std::uint32_t count;
  };
  using Number = std::uint16_t;

  template <class Equal>
  std::optional<Number> numberOf(u64 hash, u64 position, Equal equal);

  std::vector<Number> table_;    // numbers of values, counted from 1
  std::vector<Value> values_;    // in the order in which they were met
  std::vector<Number> numbers_;  // of the value at each position
  std::vector<u64> arranged_;
};

template <class Hash, class Equal>
bool FewValues::collect(std::span<u64 const> positions, Hash hash, Equal equal) {
  table_.assign(slots, 0);
  values_.clear();
  if (numbers_.size() < positions.size()) numbers_.resize(positions.size());
  auto place = numbers_.begin();
  for (u64 const position : positions) {
    auto const number = numberOf(hash(position), position, equal);
    if (!number) return false;
    *place++ = *number;
  }
  return true;
}

template <class Equal>
auto FewValues::numberOf(u64 hash, u64 position, Equal equal) -> std::optional<Number> {
  constexpr u64 scatter = 0x9e37'79b9'7f4a'7c15;
  for (std::size_t slot = (hash * scatter) >> (64 - slotBits);; slot = (slot + 1) % slots) {
    auto& entry = table_[slot];
    if (entry == 0) {
      if (values_.size() == most) return std::nullopt;
      values_.push_back({hash, position, 0});
      entry = static_cast<Number>(values_.size());
    }
    auto const number = static_cast<Number>(entry - 1);
    auto& value = values_[number];
    if (value.hash != hash || !equal(value.first, position)) continue;
    ++value.count;
    return number;
  }
}

template <class Less>
void FewValues::arrange(std::span<u64> positions, Less less, std::vector<std::uint32_t>& ends) {
  std::vector<Number> order(values_.size());
  std::iota(order.begin(), order.end(), Number{0});
  std::ranges::sort(order, less, [this](Number number) { return values_[number].first; });

  std::vector<std::uint32_t> places(values_.size());
  std::uint32_t end = 0;
  for (auto const number : order) {
    places[number] = end;
    end += values_[number].count;
    ends.push_back(end);
  }
  if (arranged_.size() < positions.size()) arranged_.resize(positions.size());
  for (std::size_t i = 0; i < positions.size(); ++i) arranged_[places[numbers_[i]]++] = positions[i];
  std::copy_n(arranged_.begin(), positions.size(), positions.begin());
}

}  // namespace casebook
