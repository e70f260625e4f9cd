#pragma once

#include <casebook/variant.h>

#include <span>
#include <vector>

namespace casebook {

/// The rows of a table by what they hold in its key columns. A row can be claimed once, by a row of an imported table
/// that holds equal values in the columns beside them.
class MatchIndex {
 public:
  /// A key column, and that of the imported table. Both are borrowed and stay as they are.
  struct Key {
    std::vector<Variant> const* table;
    std::vector<Variant> const* input;
  };

  static constexpr u64 none = ~u64{0};

  /// There are fewer than 2^32 rows, and at least one key.
  explicit MatchIndex(std::vector<Key> keys);

  /// The lowest row of equal values that was not claimed yet, or `none`.
  [[nodiscard]] u64 claim(u64 inputRow) noexcept;

 private:
  using Row = std::uint32_t;
  static constexpr Row end = ~Row{0};

  /// The rows of one hash that are left, linked in ascending order.
  struct Group {
    u64 hash = 0;
    Row first = end;
    bool used = false;
  };

  void insert(Row row, u64 hash) noexcept;
  [[nodiscard]] Group& groupOf(u64 hash) noexcept;
  [[nodiscard]] bool isTrueMatch(u64 row, u64 inputRow) const noexcept;

  std::vector<Key> keys_;
  std::vector<u64> inputHashes_;
  std::vector<Row> next_;      // of the same group
  std::vector<Group> groups_;  // a power of two from 2 on, at most half of them used
  int shift_;                  // what of a hash is no place in them
};

}  // namespace casebook
