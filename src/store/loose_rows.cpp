#include "store/loose_rows.h"

#include <algorithm>

namespace casebook {

std::vector<Variant> const& LooseRows::add(u64 record, std::vector<Variant> cells) {
  auto const added = added_.emplace(record, std::move(cells)).first;
  lowestUid_ = std::min(lowestUid_, record);
  return added->second;
}

void LooseRows::reserveForAdd(Store& store) {
  std::size_t const rows = store.records.size() + 1;
  reserveFor(came_, added_.size() + 1);
  reserveFor(loose_, added_.size() + 1);
  reserveFor(store.recordOfRow, rows);
  for (auto& variable : store.variables.all()) reserveFor(variable.values, rows);
}

void LooseRows::clear() noexcept {
  added_.clear();
  gone_.clear();
  came_.clear();
  loose_.clear();
  lowestUid_ = std::numeric_limits<u64>::max();
}

void LooseRows::remove(RecordRow record) noexcept {
  if (added_.erase(record.uid) == 0) gone_.push_back(record.row);
  lowestUid_ = std::min(lowestUid_, record.uid);
}

std::vector<Variant> const* LooseRows::find(u64 record) const noexcept {
  auto const found = added_.find(record);
  return found == added_.end() ? nullptr : &found->second;
}

// All memory was taken by `reserve`.
void LooseRows::settle(Store& store) noexcept {
  if (gone_.empty() && added_.empty()) return clear();
  std::ranges::sort(gone_);
  findOpened(store.recordOfRow);
  RowShift const shift{gone_, came_};
  if (gone_.empty() && came_.front() == store.recordOfRow.size()) store.touched.noteAppended();
  else store.touched.noteMoves(store.variables, shift, store.recordOfRow);
  moveColumns(store, shift);
  numberRecords(store);
  clear();
}

/// The rows that the records are to have that came.
void LooseRows::findOpened(std::span<u64 const> recordOfRow) noexcept {
  for (auto& row : added_) {
    auto const before = std::ranges::lower_bound(recordOfRow, row.first) - recordOfRow.begin();
    auto const closed = std::ranges::lower_bound(gone_, before) - gone_.begin();
    came_.push_back(static_cast<std::uint32_t>(static_cast<std::size_t>(before - closed) + came_.size()));
    loose_.push_back(&row);
  }
}

void LooseRows::numberRecords(Store& store) const noexcept {
  auto const& records = store.recordOfRow;
  auto const first = std::ranges::lower_bound(records, lowestUid_) - records.begin();
  for (auto row = static_cast<std::uint32_t>(first); row < records.size(); ++row)
    store.rowOfRecord.assign(records[row], row);
}

void LooseRows::moveColumns(Store& store, RowShift const& shift) noexcept {
  for (auto& variable : store.variables.all()) shift.apply(variable.values);
  shift.apply(store.recordOfRow);
  for (std::size_t first = 0; first < came_.size(); first += rowsAtATime) fillRows(store, first);
  for (auto& variable : store.variables.all()) fitRoom(variable.values);
}

// Cells lie together by row here and by column there: some rows at a time stay in the cache.
void LooseRows::fillRows(Store& store, std::size_t first) noexcept {
  auto const last = std::min(first + rowsAtATime, came_.size());
  for (auto k = first; k < last; ++k) store.recordOfRow[came_[k]] = loose_[k]->first;
  std::size_t column = 0;
  for (auto& variable : store.variables.all()) {
    for (auto k = first; k < last; ++k) variable.values[came_[k]] = variable.texts.shared(loose_[k]->second[column]);
    ++column;
  }
}

}  // namespace casebook
