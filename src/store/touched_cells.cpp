#include "store/touched_cells.h"

namespace casebook {

void TouchedCells::noteMoves(EntityMap<DataVariable>& variables, RowShift const& shift,
                             std::span<u64 const> recordOfRow) noexcept try {
  if (!moves_ || followed_ > mostFollowed || !moves_->take(shift, recordOfRow)) return noteMoved();
  movedAt_ = ++now_;
  followed_ += moves_->changes().gone.size();
  for (auto& variable : variables.all())
    followed_ += variable.touched.noteShift(now_, shift, moves_->places(), variable.values);
} catch (...) {
  noteMoved();
}

// Every column keeps the cells of the rows that went.
void TouchedCells::settle(EntityMap<DataVariable>& variables) noexcept {
  if (movedAt_ > settledAt_)
    for (auto& variable : variables.all()) variable.touched.settle(now_);
  for (u64 const uid : variables_)
    if (auto* const variable = variables.find(uid)) variable->touched.settle(now_);
  variables_.clear();
  settledAt_ = now_;
  followed_ = 0;
  if (!moves_) moves_.emplace();
  moves_->restart((*variables.all().begin()).values.size());
}

}  // namespace casebook
