#include "derived/case_order.h"

#include "derived/key_sort.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <span>

namespace casebook {

CaseOrder::CaseOrder(std::vector<Variant> const& caseIdColumn) : size_{caseIdColumn.size()} {
  std::vector<u64> ids;
  ids.reserve(size_);
  for (auto const& value : caseIdColumn) ids.push_back(value.longValue());
  bool const ascending = std::ranges::adjacent_find(ids, std::greater_equal{}) == ids.end();
  if (!ascending) sort(ids);
  caseIds_ = std::make_shared<std::vector<u64>>(std::move(ids));
}

/// Leaves the distinct identifiers, ascending.
void CaseOrder::sort(std::vector<u64>& idsByRow) {
  std::vector<u64> rows(size_);
  std::iota(rows.begin(), rows.end(), u64{0});
  KeySort{}.sort(rows, idsByRow);
  std::vector<u64> ids;
  rows_.reserve(size_);
  ranks_.reserve(size_);
  for (auto const row : rows) {
    if (ids.empty() || ids.back() != idsByRow[row]) ids.push_back(idsByRow[row]);
    rows_.push_back(static_cast<std::uint32_t>(row));
    ranks_.push_back(static_cast<std::uint32_t>(ids.size() - 1));
  }
  idsByRow = std::vector<u64>(ids.begin(), ids.end());
}

std::uint32_t CaseOrder::rankOfRow(u64 row, Variant const& caseId) const noexcept {
  if (rows_.empty()) return static_cast<std::uint32_t>(row);
  auto const found = std::ranges::lower_bound(*caseIds_, caseId.longValue());
  return static_cast<std::uint32_t>(found - caseIds_->begin());
}

bool CaseOrder::extend(std::vector<Variant> const& caseIdColumn) {
  if (!isDistinct()) return false;
  bool const isSorted = rows_.empty();
  std::vector<u64> ids;
  for (auto const& value : std::span{caseIdColumn}.subspan(size_)) ids.push_back(value.longValue());
  bool const above = ids.empty() || caseIds_->empty() || ids.front() > caseIds_->back();
  if (!above || std::ranges::adjacent_find(ids, std::greater_equal{}) != ids.end()) return false;
  caseIds_->insert(caseIds_->end(), ids.begin(), ids.end());
  for (; size_ < caseIdColumn.size(); ++size_) {
    if (isSorted) continue;
    rows_.push_back(static_cast<std::uint32_t>(size_));
    ranks_.push_back(static_cast<std::uint32_t>(size_));
  }
  return true;
}

}  // namespace casebook
