#pragma once

#include "store/store.h"

#include <limits>
#include <map>
#include <vector>

namespace casebook {

/// Rows of records that came or went, while the columns still stand as they stood before. One pass over what lies
/// behind the first such row brings all columns up to date, however many records there are.
class LooseRows {
 public:
  /// Takes all memory that one more record that comes or goes will need, up to `settle`. Before `add` and `remove`.
  void reserve(Store& store);
  /// A record came, with these cells.
  std::vector<Variant> const& add(u64 record, std::vector<Variant> cells);
  /// A record went, a loose one or one with a row in the columns.
  void remove(DataRecord const& record) noexcept;

  /// The cells of a record that came; null for one with a row in the columns.
  [[nodiscard]] std::vector<Variant> const* find(u64 record) const noexcept;

  void settle(Store& store) noexcept;
  void clear() noexcept;

 private:
  /// Where the cells of a row come from: a loose row, or else a place in the columns.
  struct Source {
    DataRecord* record;
    std::vector<Variant>* loose;
  };

  [[nodiscard]] bool empty() const noexcept { return gone_.empty() && added_.empty(); }
  void findTail(Store& store) noexcept;
  [[nodiscard]] u64 firstRow(u64 columnLength) const noexcept;

  std::map<u64, std::vector<Variant>> added_;
  std::vector<u64> gone_;
  u64 lowestUid_ = std::numeric_limits<u64>::max();
  std::vector<Source> tail_;    // the records from the first that came or went, in the order of their rows to be
  std::vector<Variant> cells_;  // theirs, of one column after the other
};

}  // namespace casebook
