#include "derived/case_order.h"

#include "derived/key_sort.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace casebook {

CaseOrder::CaseOrder(std::vector<Variant> const& caseIdColumn) : size_{caseIdColumn.size()} {
  std::vector<u64> ids;
  ids.reserve(size_);
  for (auto const& value : caseIdColumn) ids.push_back(value.longValue());
  bool const ascending = std::ranges::adjacent_find(ids, std::greater_equal{}) == ids.end();
  if (!ascending) sort(ids);
  caseIds_ = std::make_shared<std::vector<u64> const>(std::move(ids));
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

}  // namespace casebook
