#pragma once

#include <casebook/variant.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>
#include <vector>

namespace casebook {

/// Groups positions by their keys, as long as distinct keys are few: then it is these that are sorted. Keeps its
/// memory.
class FewValues {
 public:
  static constexpr std::size_t most = 1024;

  using Positions = std::span<std::uint32_t>;
  using Keys = std::span<u64 const>;

  /// Counts the keys of these positions; false when there are too many.
  [[nodiscard]] bool collect(Positions positions, Keys keys);

  /// Puts the positions that were collected into the order of their values, those of one value as they stood, and
  /// appends to `ends` where each value ends. `less` compares the values of two keys; keys of which neither is less
  /// stand for one value.
  template <class Less>
  void arrange(Positions positions, Less less, std::vector<std::uint32_t>& ends);

 private:
  static constexpr int slotBits = 12;
  static constexpr std::size_t slots = std::size_t{1} << slotBits;
  static_assert(slots >= 2 * most);

  struct Counted {
    u64 key;
    std::uint32_t count;
    std::uint32_t value;  // its number in their order
  };
  using Number = std::uint16_t;

  [[nodiscard]] std::optional<Number> numberOf(u64 key);
  void move(Positions positions, std::span<std::uint32_t const> ends);

  std::vector<Number> table_;    // numbers of keys, counted from 1
  std::vector<Counted> keys_;    // in the order in which they were met
  std::vector<Number> numbers_;  // of the key at each position
  std::vector<std::uint32_t> arranged_;
};

template <class Less>
void FewValues::arrange(Positions positions, Less less, std::vector<std::uint32_t>& ends) {
  std::vector<Number> order(keys_.size());
  std::iota(order.begin(), order.end(), Number{0});
  std::ranges::sort(order, less, [this](Number number) { return keys_[number].key; });
  auto const before = ends.size();
  std::uint32_t end = 0;
  for (std::size_t k = 0; k < order.size(); ++k) {
    auto& counted = keys_[order[k]];
    end += counted.count;
    if (k == 0 || less(keys_[order[k - 1]].key, counted.key)) ends.push_back(end);
    else ends.back() = end;
    counted.value = static_cast<std::uint32_t>(ends.size() - before - 1);
  }
  move(positions, std::span{ends}.subspan(before));
}

}  // namespace casebook
