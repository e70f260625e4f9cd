#include "derived/case_order.h"

#include "derived/key_sort.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <utility>

namespace casebook {

namespace {

std::vector<u64> identifiersOf(std::vector<Variant> const& caseIdColumn) {
  std::vector<u64> ids;
  ids.reserve(caseIdColumn.size());
  for (auto const& value : caseIdColumn) ids.push_back(value.longValue());
  return ids;
}

void sortDistinct(std::vector<std::uint32_t>& ranks) {
  std::ranges::sort(ranks);
  auto const repeated = std::ranges::unique(ranks);
  ranks.erase(repeated.begin(), repeated.end());
}

bool hasTwins(std::vector<std::uint32_t> ranks) {
  std::ranges::sort(ranks);
  return std::ranges::adjacent_find(ranks) != ranks.end();
}

}  // namespace

CaseOrder::CaseOrder(std::vector<Variant> const& caseIdColumn)
    : size_{caseIdColumn.size()}, ids_{sort(identifiersOf(caseIdColumn))} {
  arrange();
}

/// Gives the distinct identifiers, ascending.
std::vector<u64> CaseOrder::sort(std::vector<u64> idsByRow) {
  if (std::ranges::adjacent_find(idsByRow, std::greater_equal{}) == idsByRow.end()) return idsByRow;
  isPlain_ = false;
  std::vector<std::uint32_t> rows(size_);
  std::iota(rows.begin(), rows.end(), std::uint32_t{0});
  std::vector<std::uint32_t> ends;
  KeySort{}.sort(rows, idsByRow, ends);
  std::vector<u64> ids;
  ids.reserve(ends.size());
  rowsOfCase_.reserve(ends.size());
  rankOfRow_.resize(size_);
  for (std::uint32_t begin = 0; auto const end : ends) {
    for (auto const row : std::span{rows}.subspan(begin, end - begin))
      rankOfRow_[row] = static_cast<std::uint32_t>(ids.size());
    ids.push_back(idsByRow[rows[begin]]);
    rowsOfCase_.push_back(end - begin);
    begin = end;
  }
  return ids;
}

void CaseOrder::arrange() {
  rowsByRank_.clear();
  if (std::ranges::is_sorted(rankOfRow_)) return;
  std::vector<std::uint32_t> places(ids_.size());
  std::exclusive_scan(rowsOfCase_.begin(), rowsOfCase_.end(), places.begin(), std::uint32_t{0});
  rowsByRank_.resize(size_);
  for (std::uint32_t row = 0; row < size_; ++row) rowsByRank_[places[rankOfRow_[row]]++] = row;
}

void CaseOrder::Changes::clear() noexcept {
  gone.clear();
  rows.clear();
  anyTwins = false;
}

bool CaseOrder::follow(std::vector<Variant> const& caseIdColumn, RowChanges const& rows, FirstWrites const& writes) {
  constexpr std::size_t alwaysKept = 256;
  changes_.clear();
  if (lost_ > std::max(alwaysKept, size_ / 4)) return false;
  listUnranked(caseIdColumn, rows, writes);
  if (rows.gone.empty() && unranked_.empty()) return true;
  if (staysPlain(rows)) return append(), true;
  moveRows(rows, caseIdColumn.size());
  rankRows();
  if (!addCompany()) return false;
  changes_.anyTwins = hasTwins(ranksBefore()) || hasTwins(ranksNow());
  return true;
}

/// Those that came, and those whose identifiers are others now.
void CaseOrder::listUnranked(std::vector<Variant> const& caseIdColumn, RowChanges const& rows,
                             FirstWrites const& writes) {
  auto const id = [&](u64 row) { return caseIdColumn[row].longValue(); };
  unranked_.clear();
  for (auto const* const cell : writes.all())
    if (!rows.isNew(cell->row) && cell->before.longValue() != id(cell->row))
      unranked_.push_back({id(cell->row), cell->row, false});
  rows.forNew(caseIdColumn.size(),
              [&](u64 row) { unranked_.push_back({id(row), static_cast<std::uint32_t>(row), true}); });
}

/// Whether there is nothing but rows behind the others, each with an identifier above all before it.
bool CaseOrder::staysPlain(RowChanges const& rows) const {
  bool const appended = rows.gone.empty() && unranked_.front().isNew && unranked_.front().row == size_;
  auto const& known = *ids_.byRank();
  return isPlain_ && appended && (known.empty() || unranked_.front().id > known.back()) &&
         std::ranges::adjacent_find(unranked_, std::greater_equal{}, &Unranked::id) == unranked_.end();
}

void CaseOrder::append() {
  std::vector<u64> ids;
  for (auto const& unranked : unranked_) {
    ids.push_back(unranked.id);
    changes_.rows.push_back({unranked.row, noCase, unranked.row});
  }
  std::vector<std::uint32_t> ranks;
  ids_.rankAll(ids, ranks);
  size_ += ids.size();
}

void CaseOrder::writeOut() {
  if (!std::exchange(isPlain_, false)) return;
  rankOfRow_.resize(size_);
  std::iota(rankOfRow_.begin(), rankOfRow_.end(), std::uint32_t{0});
  rowsOfCase_.assign(size_, 1);
}

void CaseOrder::moveRows(RowChanges const& rows, std::size_t rowCount) {
  writeOut();
  std::vector<std::uint32_t> gone;
  for (auto const& [row, place, record] : rows.gone) {
    gone.push_back(row);
    changes_.gone.push_back({rankOfRow_[row], place});
    leave(rankOfRow_[row]);
  }
  RowShift{gone, rows.came}.apply(rankOfRow_);
  rankOfRow_.resize(rowCount);
  size_ = rowCount;
}

void CaseOrder::rankRows() {
  std::ranges::sort(unranked_, {}, [](Unranked const& row) { return std::pair{row.id, row.row}; });
  std::vector<u64> ids;
  for (auto const& unranked : unranked_)
    if (ids.empty() || ids.back() != unranked.id) ids.push_back(unranked.id);
  std::vector<std::uint32_t> ranks;
  ids_.rankAll(ids, ranks);
  lost_ += ids_.size() - rowsOfCase_.size();
  rowsOfCase_.resize(ids_.size());
  auto rank = ranks.begin();
  for (std::size_t k = 0; k < unranked_.size(); ++k) {
    auto const& [id, row, isNew] = unranked_[k];
    if (k > 0 && unranked_[k - 1].id != id) ++rank;
    auto const before = isNew ? noCase : rankOfRow_[row];
    if (!isNew) leave(before);
    join(*rank, row, before);
  }
  std::ranges::sort(changes_.rows, {}, &Regrouped::row);
}

void CaseOrder::join(std::uint32_t rank, std::uint32_t row, std::uint32_t before) {
  if (rowsOfCase_[rank]++ == 0) --lost_;
  rankOfRow_[row] = rank;
  changes_.rows.push_back({row, before, rank});
}

void CaseOrder::leave(std::uint32_t rank) noexcept {
  if (--rowsOfCase_[rank] == 0) ++lost_;
}

/// Lists the rows that stayed in cases that lost or got others; false when they are too many.
bool CaseOrder::addCompany() {
  constexpr std::size_t alwaysListed = 16;
  constexpr std::size_t leastShare = 16;
  auto touched = ranksBefore();
  auto joined = ranksNow();
  touched.insert(touched.end(), joined.begin(), joined.end());
  sortDistinct(touched);
  std::ranges::sort(joined);
  std::size_t company = 0;
  std::erase_if(touched, [&](auto const rank) {
    auto const others = rowsOfCase_[rank] - std::ranges::equal_range(joined, rank).size();
    company += others;
    return others == 0;
  });
  if (company > std::max(alwaysListed, size_ / leastShare)) return false;
  std::vector<Regrouped> rows;
  forRowsOf(touched, [&](std::uint32_t row, std::uint32_t rank) {
    if (!changes_.concern(row)) rows.push_back({row, rank, rank});
  });
  changes_.rows.insert(changes_.rows.end(), rows.begin(), rows.end());
  std::ranges::sort(changes_.rows, {}, &Regrouped::row);
  return true;
}

std::vector<std::uint32_t> CaseOrder::ranksBefore() const {
  std::vector<std::uint32_t> ranks;
  ranks.reserve(changes_.gone.size() + changes_.rows.size());
  for (auto const& gone : changes_.gone) ranks.push_back(gone.rank);
  for (auto const& row : changes_.rows)
    if (row.before != noCase) ranks.push_back(row.before);
  return ranks;
}

std::vector<std::uint32_t> CaseOrder::ranksNow() const {
  std::vector<std::uint32_t> ranks;
  ranks.reserve(changes_.rows.size());
  for (auto const& row : changes_.rows) ranks.push_back(row.now);
  return ranks;
}

}  // namespace casebook
