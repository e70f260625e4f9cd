#pragma once

#include "derived/case_ids.h"
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
  void append(Variant const& value);
  void append(Variant&& value);
  /// Where the keys of so many numbers of one kind are to be put.
  [[nodiscard]] std::span<u64> makeRoom(ValueKind kind, std::size_t count);
  /// The values at these places, whose texts are moved.
  void append(DistinctValues&& from, std::size_t begin, std::size_t end);
  void setZeroNegative(bool negative) noexcept { negativeZero_ = negative; }
  /// Room for so many texts and no more.
  void reserveTexts(std::size_t count) { texts_.reserve(count); }
  void clear() noexcept;
  /// Takes all values out of others, which keep their memory; takes no more memory than they need. From then on it is
  /// quickly searched.
  void takeFrom(DistinctValues& others);

  [[nodiscard]] std::size_t size() const noexcept { return keys_.size() + texts_.size(); }
  /// The place of a value that is held.
  [[nodiscard]] std::optional<std::size_t> find(Variant const& value) const noexcept;
  /// The place of the first value that is not below this one.
  [[nodiscard]] std::size_t placeOf(Variant const& value) const noexcept;
  /// The same where it is at `from` or behind, and probably near; values before `from` may have been moved.
  [[nodiscard]] std::size_t placeOf(Variant const& value, std::size_t from) const noexcept;
  /// The places of the values of one kind.
  [[nodiscard]] std::pair<std::size_t, std::size_t> ofKind(ValueKind kind) const noexcept;
  [[nodiscard]] Variant at(std::size_t place) const noexcept;
  /// Whether the value at this place is that one.
  [[nodiscard]] bool holds(Variant const& value, std::size_t place) const noexcept {
    return place < size() && compareValues(at(place), value) == 0;
  }
  /// The zero that stands for both.
  [[nodiscard]] Variant zero() const noexcept { return negativeZero_ ? -0.0 : 0.0; }
  [[nodiscard]] std::vector<Variant> all() const;

 private:
  [[nodiscard]] Variant number(u64 key) const noexcept;
  /// Among the places of the value's kind.
  [[nodiscard]] std::size_t placeIn(std::size_t begin, std::size_t end, Variant const& value) const noexcept;
  [[nodiscard]] std::size_t placeOfKey(std::size_t begin, std::size_t end, u64 key) const noexcept;
  [[nodiscard]] bool isBelow(std::size_t place, Variant const& value) const noexcept;

  static constexpr std::size_t stride = 32;

  std::vector<u64> keys_;   // of whole numbers, then of numbers
  std::vector<u64> steps_;  // every 32nd key where all are of one kind: these few stay in the cache
  std::size_t wholes_ = 0;
  std::vector<Variant> texts_;
  bool negativeZero_ = false;
};

/// Each value of a column and the case identifiers of the rows that hold it: it looks into no column. Empty until it is
/// assigned to. A cell of a column of distinct numbers takes 12 bytes, one of few values 4, beside the identifiers that
/// all indices of a table share.
class ValueIndex {
 public:
  /// What an index is made of: for each value the ranks of its cases, ascending and distinct.
  struct Runs {
    DistinctValues values;
    std::vector<std::uint32_t> ranks;  ///< of the nulls, of the NaNs, then of each value
    std::size_t nulls = 0;
    std::size_t nans = 0;
    std::vector<std::uint32_t> ends;  ///< where the ranks of each value end; none when each has one

    void clear() noexcept;
  };

  /// Takes the runs in, and their values out of them.
  void assign(Runs& runs, CaseIds::ByRank caseIds);

  [[nodiscard]] DistinctValues const& values() const noexcept { return values_; }
  /// For one who takes the values out before `assign`.
  [[nodiscard]] DistinctValues& values() noexcept { return values_; }
  [[nodiscard]] std::set<u64> caseIds(Variant const& value) const;
  [[nodiscard]] u64 count(Variant const& value) const noexcept { return ranksOf(value).size(); }

  void setZeroNegative(bool negative) noexcept { values_.setZeroNegative(negative); }
  [[nodiscard]] std::size_t cells() const noexcept { return ranks_.size(); }
  [[nodiscard]] std::size_t cellsOf(ValueKind kind) const noexcept;
  [[nodiscard]] std::span<std::uint32_t const> allRanks() const noexcept { return ranks_; }
  /// By rank.
  [[nodiscard]] CaseIds::ByRank const& allCaseIds() const noexcept { return caseIds_; }
  [[nodiscard]] std::span<std::uint32_t const> ranksOf(Variant const& value) const noexcept;
  [[nodiscard]] std::span<std::uint32_t const> ranksOfValue(std::size_t number) const noexcept;
  /// Where the ranks of all values below this one end.
  [[nodiscard]] std::size_t beginOf(std::size_t number) const noexcept;
  /// Every value has one case, and `Runs::ends` need not be told.
  [[nodiscard]] bool hasOneCaseEach() const noexcept { return ends_.empty(); }

 private:
  DistinctValues values_;
  std::vector<std::uint32_t> ranks_;
  std::size_t nulls_ = 0;
  std::size_t nans_ = 0;
  std::vector<std::uint32_t> ends_;  // empty when every value has one case
  CaseIds::ByRank caseIds_;
};

/// Whether the zero that the first row with one holds is -0.0.
[[nodiscard]] bool firstZeroIsNegative(std::vector<Variant> const& column) noexcept;

}  // namespace casebook
