#pragma once

#include "derived/value_key.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <vector>

namespace casebook {

/// A case, by the rank of its identifier, gets a value (1) or loses it (-1).
struct CaseChange {
  Variant value;
  std::uint32_t rank;
  std::int32_t sign;
};

/// Changes by value, then by rank, no two of the same value and rank: what came back to where it was is gone.
class ChangeRun {
 public:
  ChangeRun() = default;
  /// In the order in which they happened: what a case gets it did not have, and what it loses it had.
  explicit ChangeRun(std::vector<CaseChange> const& changes);

  /// Both, as one; one is what happened right after the other.
  [[nodiscard]] static ChangeRun merged(ChangeRun const& a, ChangeRun const& b);

  [[nodiscard]] std::size_t size() const noexcept { return changes_.size(); }
  [[nodiscard]] bool empty() const noexcept { return changes_.empty(); }
  void clear() noexcept;
  [[nodiscard]] std::span<CaseChange const> all() const noexcept { return changes_; }
  [[nodiscard]] std::span<CaseChange const> of(Variant const& value) const noexcept;
  [[nodiscard]] std::span<CaseChange const> ofKind(ValueKind kind) const noexcept;
  /// How many more cases have the value.
  [[nodiscard]] std::int64_t total(Variant const& value) const noexcept { return total(of(value)); }
  /// The same of a part of `all()`.
  [[nodiscard]] std::int64_t total(std::span<CaseChange const> part) const noexcept;

 private:
  void append(CaseChange change);

  std::vector<CaseChange> changes_;
  std::vector<std::int32_t> sums_;  // of the signs up to each change: those of one value are counted at once
};

/// The changes of the first value of some that are sorted, which are not none.
[[nodiscard]] std::span<CaseChange const> leadingValue(std::span<CaseChange const> sorted) noexcept;

/// The changes since a column was indexed, in runs of which each is many times longer than the one before and older:
/// a change is moved a few times, however many there are, and every run is quickly searched.
class CaseChanges {
 public:
  void add(CaseChange change) { recent_.push_back(std::move(change)); }

  /// An upper bound.
  [[nodiscard]] std::size_t size() const noexcept;
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }
  void clear() noexcept;

  /// Before questions: leaves few changes outside the runs. When it throws, nothing has changed.
  void arrange();
  /// All as one run, which lasts until the next change. When it throws, changes are lost.
  [[nodiscard]] ChangeRun const& asOneRun();

  [[nodiscard]] std::int64_t total(Variant const& value) const noexcept;

  /// Calls `visit` with the changes of the value, in the order of time for each case.
  template <class Visit>
  void forCases(Variant const& value, Visit visit) const {
    for (auto run = runs_.rbegin(); run != runs_.rend(); ++run)
      for (auto const& change : run->of(value)) visit(change);
    for (auto const& change : recent_)
      if (compareValues(change.value, value) == 0) visit(change);
  }

  struct Total {
    Variant const* value;
    std::int64_t cases;
  };
  /// The values that changes speak of, ascending, and how many more cases have each.
  [[nodiscard]] std::vector<Total> totals() const;

  enum class Direction : std::uint8_t { Up, Down };

  /// Calls `visit` with the values of one kind that cases got, in each run from the smallest up or from the largest
  /// down until it returns false.
  template <class Visit>
  void forGained(ValueKind kind, Direction direction, Visit visit) const;

 private:
  static constexpr std::size_t mostRecent = 32;
  static constexpr std::size_t growth = 8;

  std::vector<CaseChange> recent_;  // in the order of time
  std::vector<ChangeRun> runs_;
};

template <class Visit>
void CaseChanges::forGained(ValueKind kind, Direction direction, Visit visit) const {
  auto const offer = [&](CaseChange const& change) { return change.sign < 0 || visit(change.value); };
  for (auto const& run : runs_) {
    auto const part = run.ofKind(kind);
    if (direction == Direction::Up) (void)std::ranges::all_of(part, offer);
    else (void)std::all_of(part.rbegin(), part.rend(), offer);
  }
  for (auto const& change : recent_)
    if (keyOf(change.value).kind == kind) offer(change);
}

}  // namespace casebook
