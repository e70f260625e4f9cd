#include "derived/variable_statistics.h"

#include "derived/number_range.h"
#include "platform/parallel.h"

#include <algorithm>
#include <utility>

namespace casebook {

namespace {

// Below, the work takes about a millisecond, and starting the threads takes a good part of what they would save.
constexpr u64 leastCellsForThreads = 20'000;

// More new rows than this share of the old ones are not followed one by one.
constexpr u64 leastShareOfNewRows = 16;
constexpr u64 alwaysFollowed = 16;

}  // namespace

void VariableStatistics::expire() noexcept {
  entries_.clear();
  keptAnswer_ = false;
}

void VariableStatistics::clear() noexcept {
  expire();
  kept_.clear();
  order_.reset();
  builders_.clear();
  folders_.clear();
}

void VariableStatistics::recompute() {
  expire();
  try {
    renewals_.clear();
    u64 const firstNewRow = order_ ? order_->size() : 0;
    if (!followRows()) {
      renewAll();
    } else if (firstNewRow < order_->size()) {
      dropGone();
      for (auto const& variable : store_.variables.all()) follow(variable, firstNewRow);
    } else {
      dropGone();
      for (u64 const uid : store_.touched.variables())
        if (auto const* const variable = store_.variables.find(uid)) follow(*variable, firstNewRow);
    }
    renew();
  } catch (...) {
    clear();
    throw;
  }
  recomputedAt_ = store_.touched.now();
  keptAnswer_ = true;
}

/// Takes new rows into the order; false when it is not known any more.
bool VariableStatistics::followRows() {
  auto const& caseIds = *store_.caseId;
  if (!order_ || store_.touched.movedAt() > recomputedAt_) return false;
  u64 const most = std::max(alwaysFollowed, order_->size() / leastShareOfNewRows);
  if (caseIds.values.size() > order_->size() + most) return false;
  auto const written = caseIds.touched.since(recomputedAt_);
  if (!written || std::ranges::any_of(*written, [&](auto const& cell) { return cell.row < order_->size(); }))
    return false;
  return caseIds.values.size() == order_->size() || order_->extend(caseIds.values);
}

void VariableStatistics::dropGone() {
  for (u64 const uid : store_.touched.variables())
    if (!store_.variables.find(uid)) kept_.erase(uid);
}

void VariableStatistics::renewAll() {
  order_.emplace(store_.caseId->values);
  kept_.clear();
  for (auto const& variable : store_.variables.all()) renewals_.push_back({&variable, &kept_[variable.id], false});
}

void VariableStatistics::follow(DataVariable const& variable, u64 firstNewRow) {
  auto const written = variable.touched.since(recomputedAt_);
  if (written && written->empty() && firstNewRow == order_->size()) return;
  auto& kept = kept_[variable.id];
  bool const byCell = written && order_->isDistinct();
  if (byCell) followCells(variable, *written, kept, firstNewRow);
  if (!byCell || kept.isToBeFolded()) renewals_.push_back({&variable, &kept, byCell});
}

// The first write to a cell tells what the index says of it.
void VariableStatistics::followCells(DataVariable const& variable, Written written, KeptIndex& kept, u64 firstNewRow) {
  auto const rankOf = [&](u64 row) { return order_->rankOfRow(row, store_.caseId->values[row]); };
  firstWrites_.clear();
  for (auto const& cell : written)
    if (cell.row < firstNewRow) firstWrites_.push_back(&cell);
  std::ranges::sort(firstWrites_, {}, [](auto const* cell) { return std::pair{cell->row, cell}; });
  auto const repeated = std::ranges::unique(firstWrites_, {}, &TouchedColumn::Cell::row);
  firstWrites_.erase(repeated.begin(), repeated.end());
  for (auto const* const cell : firstWrites_) kept.change(rankOf(cell->row), cell->before, variable.values[cell->row]);
  for (u64 row = firstNewRow; row < order_->size(); ++row) kept.add(rankOf(row), variable.values[row]);
  kept.settleZero(variable.values);
}

void VariableStatistics::renew() {
  bool const few = order_->size() * renewals_.size() < leastCellsForThreads;
  auto const task = [&](std::size_t number) { renew(renewals_[number]); };
  if (few) runInTurn(renewals_.size(), task);
  else runInParallel(renewals_.size(), task);
  if (!few) builders_.clear();  // whose memory is several times that of the columns
}

void VariableStatistics::renew(Renewal const& renewal) {
  auto const& column = renewal.variable->values;
  if (renewal.fold) return folders_.lend([&](IndexFolder& folder) { renewal.kept->fold(folder); });
  builders_.lend([&](IndexBuilder& builder) { renewal.kept->assign(builder.build(column, *order_), column); });
}

std::vector<Variant> VariableStatistics::uniqueValues(u64 variable) {
  if (auto* const kept = keptOf(variable)) return kept->values();
  auto& values = entryOf(variable).values;
  if (!values) values = std::make_shared<DistinctValues const>(built(variable).values());
  return values->all();
}

std::set<u64> VariableStatistics::caseIDs(u64 variable, Variant const& value) {
  if (auto* const kept = keptOf(variable)) return kept->caseIds(value);
  return indexOf(variable).caseIds(value);
}

u64 VariableStatistics::valueCount(u64 variable, Variant const& value) {
  if (auto* const kept = keptOf(variable)) return kept->count(value);
  return indexOf(variable).count(value);
}

std::pair<double, double> VariableStatistics::range(DataVariable const& variable) {
  auto const found = kept_.find(variable.id);
  bool const current = found != kept_.end() && order_->size() == variable.values.size() &&
                       std::max(variable.touched.changedAt(), store_.touched.movedAt()) <= recomputedAt_;
  auto const range = current ? numberRange(found->second, variable.dataType) : std::nullopt;
  return range ? *range : numberRange(variable);
}

KeptIndex* VariableStatistics::keptOf(u64 variable) noexcept {
  auto const found = kept_.find(variable);
  return keptAnswer_ && found != kept_.end() ? &found->second : nullptr;
}

ValueIndex const& VariableStatistics::indexOf(u64 variable) {
  auto& index = entryOf(variable).index;
  if (!index) index = std::make_shared<ValueIndex const>(built(variable));
  return *index;
}

VariableStatistics::Entry& VariableStatistics::entryOf(u64 variable) {
  auto const found = entries_.find(variable);
  if (found != entries_.end()) return found->second;
  return entries_[store_.variables.at(variable).id];
}

ValueIndex VariableStatistics::built(u64 variable) const {
  CaseOrder const order{store_.caseId->values};
  return IndexBuilder{}.build(store_.variables.at(variable).values, order);
}

}  // namespace casebook
