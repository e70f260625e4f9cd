#include "derived/case_ids.h"

#include "store/row_moves.h"

#include <algorithm>
#include <numeric>
#include <ranges>

namespace casebook {

CaseIds::CaseIds(std::vector<u64> ascending) : ids_{std::make_shared<std::vector<u64>>(std::move(ascending))} {}

/// Of the first that is not below.
std::size_t CaseIds::placeOf(u64 id) const noexcept {
  return *std::ranges::partition_point(std::views::iota(std::size_t{0}, size()),
                                       [&](std::size_t place) { return (*ids_)[rankAt(place)] < id; });
}

void CaseIds::rankAll(std::span<u64 const> ascending, std::vector<std::uint32_t>& ranks) {
  auto const known = size();
  std::vector<u64> unknown;
  std::vector<std::uint32_t> places;
  ranks.clear();
  for (u64 const id : ascending) {
    auto const place = placeOf(id);
    bool const isKnown = place < known && (*ids_)[rankAt(place)] == id;
    ranks.push_back(isKnown ? rankAt(place) : static_cast<std::uint32_t>(known + unknown.size()));
    if (isKnown) continue;
    places.push_back(static_cast<std::uint32_t>(place + unknown.size()));
    unknown.push_back(id);
  }
  if (unknown.empty()) return;
  ids_->insert(ids_->end(), unknown.begin(), unknown.end());
  if (order_.empty() && places.front() == known) return;
  if (order_.empty()) {
    order_.resize(known);
    std::iota(order_.begin(), order_.end(), std::uint32_t{0});
  }
  RowShift{{}, places}.apply(order_);
  auto rank = static_cast<std::uint32_t>(known);
  for (auto const place : places) order_[place] = rank++;
}

}  // namespace casebook
