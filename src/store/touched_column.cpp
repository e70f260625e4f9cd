#include "store/touched_column.h"

#include <ranges>

namespace casebook {

std::size_t TouchedColumn::noteShift(u64 now, RowShift const& shift, std::span<std::uint32_t const> places,
                                     std::vector<Variant> const& column) noexcept try {
  if (all_) return 0;
  for (std::size_t k = 0; k < places.size(); ++k)
    if (places[k] != RowMoves::nowhere) gone_.push_back(column[shift.gone[k]]);
  std::size_t const looked = cells_.size();
  if (looked == 0) return 0;
  for (auto const& [row, before] : cells_ | std::views::reverse) {
    if (!shift.closes(row)) continue;
    auto const place = places[static_cast<std::size_t>(std::ranges::lower_bound(shift.gone, row) - shift.gone.begin())];
    if (place != RowMoves::nowhere) gone_[place] = before;
  }
  std::erase_if(cells_, [&](Cell const& cell) { return shift.closes(cell.row); });
  for (auto& cell : cells_) cell.row = shift(cell.row);
  return looked;
} catch (...) {
  noteAll(now);
  return 0;
}

}  // namespace casebook
