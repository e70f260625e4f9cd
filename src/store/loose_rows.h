#pragma once

#include "platform/growth.h"
#include "store/store.h"

#include <limits>
#include <map>
#include <vector>

namespace casebook {

/// Rows of records that came or went, while the columns still stand as they stood before. One pass over what lies
/// behind the first such row brings all columns up to date, however many records there are.
class LooseRows {
 public:
  /// Takes all memory that one more record that comes or goes will need, up to `settle`. Before `add`, and `remove`.
  void reserveForAdd(Store& store);
  void reserveForRemove() { reserveOneMore(gone_); }
  /// A record came, with these cells.
  std::vector<Variant> const& add(u64 record, std::vector<Variant> cells);
  /// A record went, a loose one or one with a row in the columns.
  void remove(RecordRow record) noexcept;

  /// The cells of a record that came; null for one with a row in the columns.
  [[nodiscard]] std::vector<Variant> const* find(u64 record) const noexcept;

  void settle(Store& store) noexcept;
  void clear() noexcept;

 private:
  static constexpr std::size_t rowsAtATime = 128;

  void findOpened(std::span<u64 const> recordOfRow) noexcept;
  void moveColumns(Store& store, RowShift const& shift) noexcept;
  void fillRows(Store& store, std::size_t first) noexcept;
  void numberRecords(Store& store) const noexcept;

  std::map<u64, std::vector<Variant>> added_;
  std::vector<std::uint32_t> gone_;
  // While `settle` runs, of the records that came: their rows to be, and what is loose.
  std::vector<std::uint32_t> came_;
  std::vector<std::map<u64, std::vector<Variant>>::value_type*> loose_;
  u64 lowestUid_ = std::numeric_limits<u64>::max();
};

}  // namespace casebook
