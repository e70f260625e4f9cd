#pragma once

#include "derived/case_changes.h"
#include "derived/index_folder.h"

#include <set>

namespace casebook {

/// The index of a column that is kept up to date: an index as it was once made, and the changes since. Now and then
/// these are folded into a new one, which costs less than a microsecond for each when they are a fixed share of the
/// column.
class KeptIndex {
 public:
  /// Takes the place of what was kept: an index of this column as it stands.
  void assign(ValueIndex index, std::vector<Variant> const& column) noexcept;

  /// A case, which had `before` or is new, has `now`.
  void change(std::uint32_t rank, Variant const& before, Variant const& now);
  void add(std::uint32_t rank, Variant const& value);
  /// After changes: looks which zero is the first where that is in doubt.
  void settleZero(std::vector<Variant> const& column) noexcept;

  /// Whether there are too many changes, also where those that were undone do not count.
  [[nodiscard]] bool isToBeFolded();
  /// When it throws, what is kept is lost.
  void fold(IndexFolder& folder);

  // Questions may put the changes in order.
  [[nodiscard]] u64 count(Variant const& value);
  [[nodiscard]] std::set<u64> caseIds(Variant const& value);
  [[nodiscard]] std::vector<Variant> values();
  /// Whether any case has a value of this kind.
  [[nodiscard]] bool has(ValueKind kind) const noexcept { return cells_[static_cast<std::size_t>(kind)] != 0; }
  /// The smallest and the largest value of a kind that it has, which is no missing one. Takes more than some searches
  /// only where the values beyond have gone since the last folding.
  [[nodiscard]] Variant least(ValueKind kind);
  [[nodiscard]] Variant most(ValueKind kind);

  /// Whether zeros of both signs may be in the column.
  [[nodiscard]] bool hasNegativeZero() const noexcept { return negativeZeros_; }

 private:
  [[nodiscard]] u64 casesOf(Variant const& value) const noexcept;
  [[nodiscard]] u64 casesAt(std::size_t place) const noexcept;
  [[nodiscard]] std::size_t& cellsOf(Variant const& value) noexcept {
    return cells_[static_cast<std::size_t>(keyOf(value).kind)];
  }
  void noteZero(Variant const& value) noexcept;

  ValueIndex index_;
  CaseChanges changes_;
  std::array<std::size_t, valueKinds> cells_{};  // by kind
  bool negativeZeros_ = false;
  bool zeroInDoubt_ = false;
};

}  // namespace casebook
