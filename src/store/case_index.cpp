#include "store/case_index.h"

#include <algorithm>

namespace casebook {

// An empty table is looked at again each time.
u64 CaseIndex::find(u64 caseId) {
  if (!answers_) refresh();
  answers_ = !records_.empty();
  auto const found = records_.find(caseId);
  return found == records_.end() ? 0 : found->second;
}

void CaseIndex::clear() noexcept {
  expire();
  records_.clear();
  lastRecord_ = 0;
}

// Where nothing changed but that records came behind the others, these are taken in.
void CaseIndex::refresh() {
  auto const changedAt = std::max(store_.caseId->touched.changedAt(), store_.touched.movedAt());
  if (changedAt > refreshedAt_) clear();
  if (records_.empty()) records_.reserve(store_.records.size());
  for (auto const& record : store_.records.after(lastRecord_)) {
    records_.emplace(store_.caseId->values[record.row].longValue(), record.id);
    lastRecord_ = record.id;
  }
  refreshedAt_ = store_.touched.now();
}

}  // namespace casebook
