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

  /// A case that had `before` has `now`; it gets a value that it did not have, or loses one that it had.
  void change(std::uint32_t rank, Variant const& before, Variant const& now);
  void add(std::uint32_t rank, Variant const& value);
  void remove(std::uint32_t rank, Variant const& value);
  /// A cell held the value, or holds it: for those that are not told of above, since others have it as well.
  void noteZero(Variant const& value) noexcept;
  /// After changes: looks which zero is the first where that is in doubt.
  void settleZero(std::vector<Variant> const& column) noexcept;

  /// Whether there are too many changes; those that were undone mostly do not count.
  [[nodiscard]] bool isToBeFolded() const noexcept;
  /// When it throws, what is kept is lost.
  void fold(IndexFolder& folder);

  [[nodiscard]] u64 count(Variant const& value) const noexcept;
  [[nodiscard]] std::set<u64> caseIds(Variant const& value) const;
  [[nodiscard]] std::vector<Variant> values() const;
  /// Whether any case has a value of this kind.
  [[nodiscard]] bool has(ValueKind kind) const noexcept { return cells_[static_cast<std::size_t>(kind)] != 0; }
  /// The smallest and the largest value of a kind, Whole or Number, that it has. Values beyond that have gone since the
  /// last folding are passed over once.
  [[nodiscard]] Variant least(ValueKind kind);
  [[nodiscard]] Variant most(ValueKind kind);

  /// Whether zeros of both signs may be in the column.
  [[nodiscard]] bool hasNegativeZero() const noexcept { return negativeZeros_; }

 private:
  [[nodiscard]] bool hasCases(Variant const& value) const noexcept;
  [[nodiscard]] u64 casesAt(std::size_t place) const noexcept;
  [[nodiscard]] std::size_t& cellsOf(Variant const& value) noexcept {
    return cells_[static_cast<std::size_t>(keyOf(value).kind)];
  }
  void comeBack(Variant const& value) noexcept;
  /// Zero with the sign that stands for both.
  [[nodiscard]] Variant withSign(Variant const& value) const noexcept;

  ValueIndex index_;
  CaseChanges changes_;
  /// Known values from an end on that have no cases.
  struct Passed {
    std::size_t least = 0;
    std::size_t most = 0;
  };

  std::array<std::size_t, valueKinds> cells_{};  // by kind
  std::array<Passed, valueKinds> passed_{};
  bool negativeZeros_ = false;
  bool zeroInDoubt_ = false;
};

}  // namespace casebook
