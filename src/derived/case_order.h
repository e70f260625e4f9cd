#pragma once

#include <casebook/variant.h>

#include <memory>
#include <vector>

namespace casebook {

/// The rows of a table in the order of their case identifiers, equal ones by row, as the table stands when it is made.
/// A row's place in that order is its position; the rank of its case identifier counts the smaller ones. There are
/// fewer than 2^32 rows.
class CaseOrder {
 public:
  /// The identifiers of ranks 0, 1, ...: ascending and distinct.
  using CaseIds = std::shared_ptr<std::vector<u64> const>;

  explicit CaseOrder(std::vector<Variant> const& caseIdColumn);

  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] std::uint32_t row(std::uint32_t position) const noexcept {
    return rows_.empty() ? position : rows_[position];
  }
  [[nodiscard]] std::uint32_t rank(std::uint32_t position) const noexcept {
    return ranks_.empty() ? position : ranks_[position];
  }
  [[nodiscard]] CaseIds caseIds() const noexcept { return caseIds_; }

  [[nodiscard]] bool isDistinct() const noexcept { return caseIds_->size() == size_; }
  /// The rank of a row with this case identifier; the order is distinct.
  [[nodiscard]] std::uint32_t rankOfRow(u64 row, Variant const& caseId) const noexcept;

  /// Takes in the rows that came behind the others of the column that it was made of. Ranks stay what they are, and
  /// who has the identifiers sees them grow. False, with nothing changed, unless the order is distinct and each
  /// identifier above all before it.
  [[nodiscard]] bool extend(std::vector<Variant> const& caseIdColumn);

 private:
  void sort(std::vector<u64>& idsByRow);

  // Both are empty while identifiers ascend with the rows, as they do in nearly every table.
  std::vector<std::uint32_t> rows_;
  std::vector<std::uint32_t> ranks_;
  std::size_t size_;
  std::shared_ptr<std::vector<u64>> caseIds_;
};

}  // namespace casebook
