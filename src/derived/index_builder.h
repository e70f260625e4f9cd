#pragma once

#include "derived/case_order.h"
#include "derived/few_values.h"
#include "derived/text_sort.h"
#include "derived/value_index.h"

namespace casebook {

/// Builds the indices of columns, one after the other, also after one that threw. Keeps its memory in between.
class IndexBuilder {
 public:
  IndexBuilder() = default;
  IndexBuilder(IndexBuilder const&) = delete;
  IndexBuilder& operator=(IndexBuilder const&) = delete;

  /// The order is that of the table as it stands, arranged. Throws std::out_of_range("invalid vector subscript") for a
  /// column that is not as long as that of the identifiers.
  [[nodiscard]] ValueIndex build(std::vector<Variant> const& column, CaseOrder const& order);

 private:
  using Column = std::vector<Variant>;

  using Positions = std::span<std::uint32_t>;

  /// Positions on from `begin` whose values are of one kind.
  struct KindRun {
    ValueKind kind;
    std::uint32_t begin;
  };

  void divideByKind(Column const& column);
  template <class RowAt>
  void takeKeys(Column const& column, RowAt rowAt);
  template <class Visit>
  void forKindRuns(Visit visit) const;
  [[nodiscard]] Positions positionsOf(ValueKind kind) noexcept;
  std::size_t putMissing(ValueKind kind);
  void putNumbers(ValueKind kind);
  [[nodiscard]] bool haveFewKeys(Positions positions);
  [[nodiscard]] bool haveFewTexts(Positions positions);
  void putTexts(Column const& column);
  void takeTexts(Column const& column, Positions positions);
  void putRuns(Positions positions);
  void putRanks(Positions positions);

  CaseOrder const* order_ = nullptr;  // borrowed while an index is built
  KeySort keySort_;
  TextSort textSort_{keySort_};
  FewValues fewValues_;
  std::vector<u64> keys_;                             // by position
  std::vector<KindRun> kindRuns_;                     // ascending, and where they end
  std::vector<Variant> texts_;                        // by position, while they are sorted
  std::vector<std::uint32_t> positions_;              // by kind
  std::array<std::size_t, valueKinds + 1> begins_{};  // of the kinds in `positions_`, and the end
  std::vector<std::uint32_t> ends_;                   // of the distinct values in the positions of one kind
  ValueIndex::Runs runs_;
};

}  // namespace casebook
