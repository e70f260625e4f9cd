#pragma once

#include "derived/case_order.h"
#include "derived/value_key.h"

#include <array>
#include <optional>
#include <set>
#include <span>
#include <vector>

namespace casebook {

/// The distinct values of a column but null and NaN, ascending. Of values that equal each other that of the first row
/// stands for all: it shows in the sign of zero.
class DistinctValues {
 public:
  /// Values are appended in ascending order.
  void append(ValueKind kind, u64 key);
  void append(Variant const& text) { texts_.push_back(text); }
  void makeZeroNegative() noexcept { negativeZero_ = true; }
  /// Room for so many texts and no more.
  void reserveTexts(std::size_t count) { texts_.reserve(count); }
  void clear() noexcept;
  /// Gives the values away, in no more memory than they need, and keeps its own.
  [[nodiscard]] DistinctValues take();

  [[nodiscard]] std::size_t size() const noexcept { return keys_.size() + texts_.size(); }
  /// The number of values below this one of those that are held.
  [[nodiscard]] std::optional<std::size_t> find(Variant const& value) const noexcept;
  [[nodiscard]] std::vector<Variant> all() const;

 private:
  [[nodiscard]] Variant number(u64 key) const noexcept;

  std::vector<u64> keys_;  // of whole numbers, then of numbers
  std::size_t wholes_ = 0;
  std::vector<Variant> texts_;
  bool negativeZero_ = false;
};

/// Each value of a column and the case identifiers of the rows that hold it, as they were when it was made: it looks
/// into no column. Empty until it is assigned to. A cell of a column of distinct numbers takes 12 bytes, one of few
/// values 4, beside the identifiers that all indices of a table share.
class ValueIndex {
 public:
  /// What an index is made of: for each value the ranks of its cases, ascending and distinct.
  struct Runs {
    DistinctValues values;
    std::vector<std::uint32_t> ranks;  ///< of the nulls, of the NaNs, then of each value
    std::size_t nulls = 0;
    std::size_t nans = 0;
    std::vector<std::uint32_t> ends;  ///< where the ranks of each value end

    void clear() noexcept;
  };

  ValueIndex() = default;
  /// Takes the values out of the runs.
  ValueIndex(Runs& runs, CaseOrder::CaseIds caseIds);

  [[nodiscard]] DistinctValues const& values() const noexcept { return values_; }
  [[nodiscard]] std::set<u64> caseIds(Variant const& value) const;
  [[nodiscard]] u64 count(Variant const& value) const noexcept { return ranksOf(value).size(); }

 private:
  [[nodiscard]] std::span<std::uint32_t const> ranksOf(Variant const& value) const noexcept;
  [[nodiscard]] std::span<std::uint32_t const> ranksOfValue(std::size_t number) const noexcept;

  DistinctValues values_;
  std::vector<std::uint32_t> ranks_;
  std::size_t nulls_ = 0;
  std::size_t nans_ = 0;
  std::vector<std::uint32_t> ends_;  // empty when every value has one case
  CaseOrder::CaseIds caseIds_;
};

}  // namespace casebook
