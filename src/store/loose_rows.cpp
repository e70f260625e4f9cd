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

void LooseRows::reserveRemoval() { reserveOneMore(gone_); }

void LooseRows::remove(DataRecord const& record) noexcept {
  if (added_.erase(record.id) == 0) gone_.push_back(record.row);
  lowestUid_ = std::min(lowestUid_, record.id);
}

std::vector<Variant> const* LooseRows::find(u64 record) const noexcept {
  auto const found = added_.find(record);
  return found == added_.end() ? nullptr : &found->second;
}

/// The records from the first that came or went, in the order of their rows to be.
std::vector<LooseRows::Source> LooseRows::sourcesOfTail(Store& store) {
  std::vector<Source> sources;
  auto loose = added_.begin();
  for (auto& record : store.records.after(lowestUid_ - 1)) {
    bool const isLoose = loose != added_.end() && loose->first == record.id;
    sources.push_back({&record, isLoose ? &(loose++)->second : nullptr});
  }
  return sources;
}

u64 LooseRows::firstRow(std::vector<Source> const& tail, u64 columnLength) const noexcept {
  auto const settled = std::ranges::find(tail, nullptr, &Source::loose);
  u64 const first = settled == tail.end() ? columnLength : settled->record->row;
  return gone_.empty() ? first : std::min(first, std::ranges::min(gone_));
}

void LooseRows::settle(Store& store) {
  if (empty()) return;
  auto const tail = sourcesOfTail(store);
  u64 const first = firstRow(tail, store.caseId->values.size());
  std::vector<Variant> cells;
  cells.reserve(tail.size());
  for (auto& variable : store.variables.all()) reserveFor(variable.values, first + tail.size());

  // From here on nothing can throw.
  std::size_t column = 0;
  for (auto& variable : store.variables.all()) {
    auto& values = variable.values;
    cells.clear();
    for (auto const& [record, loose] : tail) cells.push_back(std::move(loose ? (*loose)[column] : values[record->row]));
    values.resize(first);
    values.insert(values.end(), std::move_iterator{cells.begin()}, std::move_iterator{cells.end()});
    ++column;
  }
  u64 row = first;
  for (auto const& source : tail) source.record->row = row++;
  clear();
}

}  // namespace casebook
