#include "store/case_index.h"

#include "store/first_writes.h"

namespace casebook {

// An empty table is looked at again each time.
u64 CaseIndex::find(u64 caseId) {
  if (!answers_ && !takeChanges()) takeAll();
  answers_ = !records_.empty();
  auto const found = records_.find(caseId);
  return found == records_.end() ? 0 : found->second;
}

void CaseIndex::clear() noexcept {
  expire();
  records_.clear();
  others_.clear();
  refreshedAt_.reset();
}

// What it cannot take in shows at the next question.
void CaseIndex::follow() noexcept try {
  if (!answers_ && takeChanges()) remember();
} catch (...) {
  clear();
}

void CaseIndex::takeAll() {
  clear();
  records_.reserve(store_.records.size());
  for (u64 row = 0; row < store_.recordOfRow.size(); ++row)
    add(store_.caseId->values[row].longValue(), store_.recordOfRow[row]);
  remember();
}

/// False, with nothing changed, where it is not known what changed.
bool CaseIndex::takeChanges() {
  if (!refreshedAt_) return false;
  auto const& caseIds = *store_.caseId;
  auto const rows = store_.touched.rowsSince(*refreshedAt_, rowsSeen_);
  auto const written = caseIds.touched.since(*refreshedAt_);
  if (!rows || !written) return false;
  bool const anyNew = !rows->came.empty() || rows->firstNew < store_.recordOfRow.size();
  if (rows->gone.empty() && !anyNew && written->empty()) return true;
  refreshedAt_.reset();  // when it throws, nothing is kept
  FirstWrites writes;
  writes.assign(*written);
  auto const identifier = [&](u64 row) { return caseIds.values[row].longValue(); };
  for (auto const& [row, place, record] : rows->gone) remove(caseIds.touched.gone()[place].longValue(), record);
  for (auto const* const cell : writes.all())
    if (!rows->isNew(cell->row)) remove(cell->before.longValue(), store_.recordOfRow[cell->row]);
  for (auto const* const cell : writes.all())
    if (!rows->isNew(cell->row)) add(identifier(cell->row), store_.recordOfRow[cell->row]);
  rows->forNew(store_.recordOfRow.size(), [&](u64 row) { add(identifier(row), store_.recordOfRow[row]); });
  remember();
  return true;
}

void CaseIndex::add(u64 caseId, u64 record) {
  auto const [known, isFirst] = records_.emplace(caseId, record);
  if (!isFirst) others_.emplace_hint(others_.end(), caseId, std::max(known->second, record));
  known->second = std::min(known->second, record);
}

void CaseIndex::remove(u64 caseId, u64 record) {
  auto const known = records_.find(caseId);
  if (known->second != record) return void(others_.erase({caseId, record}));
  auto const next = others_.lower_bound({caseId, 0});
  if (next == others_.end() || next->first != caseId) return void(records_.erase(known));
  known->second = next->second;
  others_.erase(next);
}

void CaseIndex::remember() noexcept {
  refreshedAt_ = store_.touched.now();
  rowsSeen_ = store_.recordOfRow.size();
}

}  // namespace casebook
