#pragma once

#include <casebook/variant.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>
#include <vector>

namespace casebook {

/// Groups positions by what they stand for, as long as distinct values are few: then it is these that are sorted. Keeps
/// its memory.
class FewValues {
 public:
  static constexpr std::size_t most = 1024;

  using Positions = std::span<std::uint32_t>;

  /// Counts what these positions stand for; false when there is too much. `equal` compares two positions of equal
  /// hashes.
  template <class Hash, class Equal>
  [[nodiscard]] bool collect(Positions positions, Hash hash, Equal equal);

  /// Puts the positions that were collected into the order of their values, those of one value as they stood, and
  /// appends to `ends` where each value ends. `less` compares the values at two positions; those of which neither is
  /// less are one, whether or not they were found to be equal.
  template <class Less>
  void arrange(Positions positions, Less less, std::vector<std::uint32_t>& ends);

 private:
  static constexpr int slotBits = 12;
  static constexpr std::size_t slots = std::size_t{1} << slotBits;
  static_assert(slots >= 2 * most);

  struct Counted {
    u64 hash;
    std::uint32_t first;  // position
    std::uint32_t count;
    std::uint32_t value;  // its number in their order
  };
  using Number = std::uint16_t;

  template <class Equal>
  [[nodiscard]] std::optional<Number> numberOf(u64 hash, std::uint32_t position, Equal equal);
  void move(Positions positions, std::span<std::uint32_t const> ends);

  std::vector<Number> table_;     // numbers of what is counted, from 1
  std::vector<Counted> counted_;  // in the order in which it was met
  std::vector<Number> numbers_;   // of what is at each position
  std::vector<std::uint32_t> arranged_;
};

template <class Hash, class Equal>
bool FewValues::collect(Positions positions, Hash hash, Equal equal) {
  table_.assign(slots, 0);
  counted_.clear();
  if (numbers_.size() < positions.size()) numbers_.resize(positions.size());
  auto place = numbers_.begin();
  for (auto const position : positions) {
    auto const number = numberOf(hash(position), position, equal);
    if (!number) return false;
    *place++ = *number;
  }
  return true;
}

template <class Equal>
auto FewValues::numberOf(u64 hash, std::uint32_t position, Equal equal) -> std::optional<Number> {
  constexpr u64 scatter = 0x9e37'79b9'7f4a'7c15;
  for (std::size_t slot = (hash * scatter) >> (64 - slotBits);; slot = (slot + 1) % slots) {
    auto& entry = table_[slot];
    if (entry == 0) {
      if (counted_.size() == most) return std::nullopt;
      counted_.push_back({hash, position, 0, 0});
      entry = static_cast<Number>(counted_.size());
    }
    auto const number = static_cast<Number>(entry - 1);
    auto& counted = counted_[number];
    if (counted.hash != hash || !equal(counted.first, position)) continue;
    ++counted.count;
    return number;
  }
}

template <class Less>
void FewValues::arrange(Positions positions, Less less, std::vector<std::uint32_t>& ends) {
  std::vector<Number> order(counted_.size());
  std::iota(order.begin(), order.end(), Number{0});
  std::ranges::sort(order, less, [this](Number number) { return counted_[number].first; });
  auto const before = ends.size();
  std::uint32_t end = 0;
  for (std::size_t k = 0; k < order.size(); ++k) {
    auto& counted = counted_[order[k]];
    end += counted.count;
    if (k == 0 || less(counted_[order[k - 1]].first, counted.first)) ends.push_back(end);
    else ends.back() = end;
    counted.value = static_cast<std::uint32_t>(ends.size() - before - 1);
  }
  move(positions, std::span{ends}.subspan(before));
}

}  // namespace casebook
