#include "store/loose_rows.h"

#include "platform/growth.h"

#include <algorithm>
#include <iterator>

namespace casebook {

std::vector<Variant> const& LooseRows::add(u64 record, std::vector<Variant> cells) {
  auto const added = added_.emplace(record, std::move(cells)).first;
  lowestUid_ = std::min(lowestUid_, record);
  return added->second;
}

void LooseRows::reserve(Store& store) {
  std::size_t const rows = store.records.size() + 1;
  reserveOneMore(gone_);
  reserveFor(tail_, rows);
  reserveFor(cells_, rows);
  for (auto& variable : store.variables.all()) reserveFor(variable.values, rows);
}

void LooseRows::clear() noexcept {
  added_.clear();
  gone_.clear();
  lowestUid_ = std::numeric_limits<u64>::max();
  tail_.clear();
  cells_.clear();
}

void LooseRows::remove(DataRecord const& record) noexcept {
  if (added_.erase(record.id) == 0) gone_.push_back(record.row);
  lowestUid_ = std::min(lowestUid_, record.id);
}

std::vector<Variant> const* LooseRows::find(u64 record) const noexcept {
  auto const found = added_.find(record);
  return found == added_.end() ? nullptr : &found->second;
}

void LooseRows::findTail(Store& store) noexcept {
  auto loose = added_.begin();
  for (auto& record : store.records.after(lowestUid_ - 1)) {
    bool const isLoose = loose != added_.end() && loose->first == record.id;
    tail_.push_back({&record, isLoose ? &(loose++)->second : nullptr});
  }
}

u64 LooseRows::firstRow(u64 columnLength) const noexcept {
  auto const settled = std::ranges::find(tail_, nullptr, &Source::loose);
  u64 const first = settled == tail_.end() ? columnLength : settled->record->row;
  return gone_.empty() ? first : std::min(first, std::ranges::min(gone_));
}

// All memory was taken by `reserve`.
void LooseRows::settle(Store& store) noexcept {
  if (empty()) return;
  findTail(store);
  u64 const length = store.caseId->values.size();
  u64 const first = firstRow(length);
  std::size_t column = 0;
  for (auto& variable : store.variables.all()) {
    auto& values = variable.values;
    cells_.clear();
    for (auto const& [record, loose] : tail_)
      cells_.push_back(loose ? variable.texts.shared((*loose)[column]) : std::move(values[record->row]));
    values.resize(first);
    values.insert(values.end(), std::move_iterator{cells_.begin()}, std::move_iterator{cells_.end()});
    ++column;
  }
  u64 row = first;
  for (auto const& source : tail_) source.record->row = row++;
  if (first < length) store.touched.noteMoved();
  else store.touched.noteAppended();
  clear();
}

}  // namespace casebook
