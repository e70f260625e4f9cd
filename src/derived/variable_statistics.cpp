#include "derived/variable_statistics.h"

#include "derived/number_range.h"
#include "platform/parallel.h"

#include <algorithm>
#include <utility>

namespace casebook {

namespace {

// Below, the work takes about a millisecond, and starting the threads takes a good part of what they would save. To
// fold a column takes a part of what it takes to index it.
constexpr u64 leastCellsForThreads = 20'000;
constexpr u64 foldsToAnIndex = 8;

/// More rows than these are not followed one by one.
u64 mostFollowed(u64 rows) {
  constexpr u64 leastShare = 16;
  constexpr u64 alwaysFollowed = 16;
  return std::max(alwaysFollowed, rows / leastShare);
}

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
  if (!follow()) (void)refresh([this] { return renewAll(), true; });
  keptAnswer_ = true;
}

bool VariableStatistics::follow() {
  expire();
  return refresh([this] { return followRows() && (followColumns(), true); });
}

template <class ListRenewals>
bool VariableStatistics::refresh(ListRenewals listRenewals) {
  renewals_.clear();
  try {
    if (!listRenewals()) return false;
    renew();
  } catch (...) {
    clear();
    throw;
  }
  recomputedAt_ = store_.touched.now();
  return true;
}

/// Takes into the order what became of the rows; false when too much did.
bool VariableStatistics::followRows() {
  if (!order_) return false;
  auto const& caseIds = *store_.caseId;
  auto const rows = store_.touched.rowsSince(recomputedAt_, order_->size());
  auto const written = caseIds.touched.since(recomputedAt_);
  if (!rows || !written) return false;
  u64 const came = caseIds.values.size() + rows->gone.size() - order_->size();
  if (rows->gone.size() + came + written->size() > mostFollowed(order_->size())) return false;
  writes_.assign(*written);
  if (!order_->follow(caseIds.values, *rows, writes_)) order_.reset();
  return order_.has_value();
}

void VariableStatistics::followColumns() {
  dropGone();
  if (order_->changes().any()) {
    for (auto const& variable : store_.variables.all()) follow(variable);
    return;
  }
  for (u64 const uid : store_.touched.variables())
    if (auto const* const variable = store_.variables.find(uid)) follow(*variable);
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

void VariableStatistics::follow(DataVariable const& variable) {
  auto const written = variable.touched.since(recomputedAt_);
  if (written && written->empty() && !order_->changes().any()) return;
  auto& kept = kept_[variable.id];
  bool const byCell = written && followCells(variable, *written, kept);
  if (!byCell || kept.isToBeFolded()) renewals_.push_back({&variable, &kept, byCell});
}

// The first write to a cell tells what the index says of it. A case with several rows holds what any of them does: it
// is taken out of the index with all that it held and put in with all that it holds now. False: too many rows.
bool VariableStatistics::followCells(DataVariable const& variable, Written written, KeptIndex& kept) {
  writes_.assign(written);
  company_.clear();
  before_.clear();
  now_.clear();
  for (auto const* const cell : writes_.all()) {
    if (order_->changes().concern(cell->row)) continue;
    auto const rank = order_->rankOfRow(cell->row);
    if (order_->rowsOfCase(rank) == 1) kept.change(rank, cell->before, variable.values[cell->row]);
    else company_.push_back(rank);
  }
  if (!listCompany(variable.values)) return false;
  listRegrouped(variable);
  takeHeld(kept);
  kept.settleZero(variable.values);
  return true;
}

bool VariableStatistics::listCompany(std::vector<Variant> const& column) {
  std::ranges::sort(company_);
  auto const repeated = std::ranges::unique(company_);
  company_.erase(repeated.begin(), repeated.end());
  u64 rows = 0;
  for (auto const rank : company_) rows += order_->rowsOfCase(rank);
  if (rows > mostFollowed(order_->size())) return false;
  order_->forRowsOf(company_, [&](std::uint32_t row, std::uint32_t rank) {
    before_.push_back({rank, &writes_.before(row, column)});
    now_.push_back({rank, &column[row]});
  });
  return true;
}

void VariableStatistics::listRegrouped(DataVariable const& variable) {
  auto const& [gone, rows, anyTwins] = order_->changes();
  for (auto const& [rank, place] : gone) before_.push_back({rank, &variable.touched.gone()[place]});
  for (auto const& [row, before, now] : rows) {
    if (before != CaseOrder::noCase) before_.push_back({before, &writes_.before(row, variable.values)});
    now_.push_back({now, &variable.values[row]});
  }
}

void VariableStatistics::takeHeld(KeptIndex& kept) {
  auto const compare = [](Held const& a, Held const& b) {
    return a.rank != b.rank ? a.rank <=> b.rank : compareValues(*a.value, *b.value);
  };
  auto const makeDistinct = [&](std::vector<Held>& held) {
    for (auto const& [rank, value] : held) kept.noteZero(*value);
    std::ranges::sort(held, [&](Held const& a, Held const& b) { return compare(a, b) < 0; });
    auto const same = std::ranges::unique(held, [&](Held const& a, Held const& b) { return compare(a, b) == 0; });
    held.erase(same.begin(), same.end());
  };
  if (!company_.empty() || order_->changes().anyTwins) makeDistinct(before_), makeDistinct(now_);
  for (auto const& [rank, value] : before_) kept.remove(rank, *value);
  for (auto const& [rank, value] : now_) kept.add(rank, *value);
}

void VariableStatistics::renew() {
  if (!std::ranges::all_of(renewals_, &Renewal::fold)) order_->arrange();
  auto const folds = static_cast<u64>(std::ranges::count(renewals_, true, &Renewal::fold));
  u64 const cells = order_->size() * (renewals_.size() - folds) + order_->size() * folds / foldsToAnIndex;
  bool const few = cells < leastCellsForThreads;
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
  if (auto* const kept = keptFor(variable, &Entry::values)) return kept->values();
  auto& values = entryOf(variable).values.own;
  if (!values) values = std::make_shared<DistinctValues const>(built(variable).values());
  return values->all();
}

std::set<u64> VariableStatistics::caseIDs(u64 variable, Variant const& value) {
  if (auto* const kept = keptFor(variable, &Entry::cases)) return kept->caseIds(value);
  return indexOf(variable).caseIds(value);
}

u64 VariableStatistics::valueCount(u64 variable, Variant const& value) {
  if (auto* const kept = keptFor(variable, &Entry::cases)) return kept->count(value);
  return indexOf(variable).count(value);
}

std::pair<double, double> VariableStatistics::range(DataVariable const& variable) {
  auto const found = kept_.find(variable.id);
  bool const current = found != kept_.end() && isCurrent(variable);
  auto const range = current ? numberRange(found->second, variable.dataType) : std::nullopt;
  return range ? *range : numberRange(variable);
}

bool VariableStatistics::isCurrent(DataVariable const& variable) const noexcept {
  auto const changedAt =
      std::max({variable.touched.changedAt(), store_.caseId->touched.changedAt(), store_.touched.movedAt()});
  return order_ && order_->size() == variable.values.size() && changedAt <= recomputedAt_;
}

template <class Answers>
KeptIndex* VariableStatistics::keptFor(u64 variable, Answer<Answers> Entry::* question) {
  auto const found = kept_.find(variable);
  if (found == kept_.end()) return nullptr;
  if (keptAnswer_) return &found->second;
  auto& answer = entryOf(variable).*question;
  if (!answer.own) answer.isKept = answer.isKept || isCurrent(store_.variables.at(variable));
  return answer.isKept ? &found->second : nullptr;
}

ValueIndex const& VariableStatistics::indexOf(u64 variable) {
  auto& index = entryOf(variable).cases.own;
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
