#include "store/case_index.h"

namespace casebook {

u64 CaseIndex::find(u64 caseId) {
  if (records_.empty()) fill();
  auto const found = records_.find(caseId);
  return found == records_.end() ? 0 : found->second;
}

void CaseIndex::fill() {
  boost::unordered_map<u64, u64> filled;
  filled.reserve(store_.records.size());
  for (auto const& record : store_.records.all())
    filled.emplace(store_.caseId->values[record.row].longValue(), record.id);
  records_ = std::move(filled);
}

}  // namespace casebook
