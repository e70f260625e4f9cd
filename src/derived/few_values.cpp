#include "derived/few_values.h"

namespace casebook {

bool FewValues::collect(Positions positions, Keys keys) {
  table_.assign(slots, 0);
  keys_.clear();
  if (numbers_.size() < positions.size()) numbers_.resize(positions.size());
  auto place = numbers_.begin();
  for (auto const position : positions) {
    auto const number = numberOf(keys[position]);
    if (!number) return false;
    *place++ = *number;
  }
  return true;
}

auto FewValues::numberOf(u64 key) -> std::optional<Number> {
  constexpr u64 scatter = 0x9e37'79b9'7f4a'7c15;
  for (std::size_t slot = (key * scatter) >> (64 - slotBits);; slot = (slot + 1) % slots) {
    auto& entry = table_[slot];
    if (entry == 0) {
      if (keys_.size() == most) return std::nullopt;
      keys_.push_back({key, 0, 0});
      entry = static_cast<Number>(keys_.size());
    }
    auto const number = static_cast<Number>(entry - 1);
    if (keys_[number].key != key) continue;
    ++keys_[number].count;
    return number;
  }
}

/// To where their values begin and on.
void FewValues::move(Positions positions, std::span<std::uint32_t const> ends) {
  std::vector<std::uint32_t> places{0};
  places.insert(places.end(), ends.begin(), ends.end());
  if (arranged_.size() < positions.size()) arranged_.resize(positions.size());
  for (std::size_t k = 0; k < positions.size(); ++k) arranged_[places[keys_[numbers_[k]].value]++] = positions[k];
  std::copy_n(arranged_.begin(), positions.size(), positions.begin());
}

}  // namespace casebook
