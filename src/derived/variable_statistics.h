#pragma once

#include "derived/index_builder.h"
#include "store/store.h"

#include <boost/unordered_map.hpp>

#include <memory>

namespace casebook {

/// What the cells of each variable were when they were last looked at: the distinct values, and the cases that hold
/// each value.
///
/// 1. Answers describe the last `recompute`, or the first question since the last `clear` where it left no entry. A
///    write to a cell changes none of them.
/// 2. Distinct values and cases are two entries: what is asked first at different times was seen at different times.
/// 3. An entry answers for its variable even when that is gone; without one, an unknown variable throws
///    ("Attempted to look up unknown data entity", true).
class VariableStatistics {
 public:
  /// The store is borrowed.
  explicit VariableStatistics(Store const& store) : store_{store} {}

  void clear() noexcept;

  /// Renews all entries, of large tables on several threads. What fails for one variable passes when the others are
  /// done, the first such error; its entry stays and is empty.
  void recompute();

  /// Ascending, without null and NaN.
  [[nodiscard]] std::vector<Variant> uniqueValues(u64 variable);
  [[nodiscard]] std::set<u64> caseIDs(u64 variable, Variant const& value);
  /// The number of those case identifiers.
  [[nodiscard]] u64 valueCount(u64 variable, Variant const& value);

 private:
  /// Each is null until it is asked for. After `recompute` the values are those in the index.
  struct Entry {
    std::shared_ptr<ValueIndex const> index;
    std::shared_ptr<DistinctValues const> values;
  };

  [[nodiscard]] Entry& entryOf(u64 variable);
  [[nodiscard]] ValueIndex const& indexOf(u64 variable);
  [[nodiscard]] ValueIndex built(u64 variable) const;
  ValueIndex& enterEmpty(u64 variable);

  Store const& store_;
  boost::unordered_map<u64, Entry> entries_;
  IndexBuilder builder_;  // of small tables
};

}  // namespace casebook
