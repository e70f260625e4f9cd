#pragma once

#include "derived/index_builder.h"
#include "derived/kept_index.h"
#include "derived/tool_pool.h"
#include "store/store.h"

#include <boost/unordered_map.hpp>

#include <memory>
#include <optional>

namespace casebook {

/// What the cells of each variable were when they were last looked at: the distinct values, and the cases that hold
/// each value.
///
/// 1. Answers describe the last `recompute`, or the first question since the last `expire` where there was no
///    `recompute` since. A write to a cell changes none of them.
/// 2. After `expire` distinct values and cases are two entries: what is asked first at different times was seen at
///    different times. An entry is made anew from the column unless what is kept describes it as it stands.
/// 3. An entry answers for its variable even when that is gone; without one, an unknown variable throws
///    ("Attempted to look up unknown data entity", true).
///
/// The indices that are kept up to date outlast `expire`, which only takes the word from them.
class VariableStatistics {
 public:
  /// The store is borrowed.
  explicit VariableStatistics(Store const& store) : store_{store} {}

  void expire() noexcept;
  /// The same, and gives back the memory.
  void clear() noexcept;

  /// Brings all entries up to date: where few cells were touched since the last time, and few records came and went, at
  /// a cost that depends on these alone but for a pass over the rows; other columns are indexed anew, of large tables
  /// on several threads. What fails for one variable passes when the others are done, the first such error; then it is
  /// as after `clear`.
  void recompute();

  /// As `expire`, and brings what is kept up to date as `recompute` does, where not too much has changed in the rows;
  /// else leaves it and returns false.
  bool follow();

  /// Ascending, without null and NaN.
  [[nodiscard]] std::vector<Variant> uniqueValues(u64 variable);
  [[nodiscard]] std::set<u64> caseIDs(u64 variable, Variant const& value);
  /// The number of those case identifiers.
  [[nodiscard]] u64 valueCount(u64 variable, Variant const& value);

  /// As numberRange tells it of the column as it stands.
  [[nodiscard]] std::pair<double, double> range(DataVariable const& variable);

 private:
  /// Where the answers to one kind of question are, from the first on.
  template <class Answers>
  struct Answer {
    bool isKept = false;
    std::shared_ptr<Answers const> own;  ///< otherwise
  };
  struct Entry {
    Answer<ValueIndex> cases;
    Answer<DistinctValues> values;
  };
  /// What is to be done with the index of a column.
  struct Renewal {
    DataVariable const* variable;
    KeptIndex* kept;
    bool fold;  ///< else indexed anew
  };

  /// A case and what it holds.
  struct Held {
    std::uint32_t rank;
    Variant const* value;
  };

  using Written = std::span<TouchedColumn::Cell const>;

  template <class ListRenewals>
  [[nodiscard]] bool refresh(ListRenewals listRenewals);
  [[nodiscard]] bool followRows();
  void followColumns();
  void dropGone();
  void follow(DataVariable const& variable);
  [[nodiscard]] bool followCells(DataVariable const& variable, Written written, KeptIndex& kept);
  [[nodiscard]] bool listCompany(std::vector<Variant> const& column);
  void listRegrouped(DataVariable const& variable);
  void takeHeld(KeptIndex& kept);
  void renewAll();
  void renew();
  void renew(Renewal const& renewal);

  /// Whether what is kept describes the column as it stands.
  [[nodiscard]] bool isCurrent(DataVariable const& variable) const noexcept;
  /// The kept index that answers, or null.
  template <class Answers>
  [[nodiscard]] KeptIndex* keptFor(u64 variable, Answer<Answers> Entry::* question);
  [[nodiscard]] Entry& entryOf(u64 variable);
  [[nodiscard]] ValueIndex const& indexOf(u64 variable);
  [[nodiscard]] ValueIndex built(u64 variable) const;

  Store const& store_;
  boost::unordered_map<u64, Entry> entries_;
  boost::unordered_map<u64, KeptIndex> kept_;
  std::optional<CaseOrder> order_;  // of all that is kept
  u64 recomputedAt_ = 0;            // in the time of the touched cells
  bool keptAnswer_ = false;         // no `expire` since
  std::vector<Renewal> renewals_;
  FirstWrites writes_;
  // Of the column that is being followed:
  std::vector<std::uint32_t> company_;  // ranks of cases with several rows, of which one was written
  std::vector<Held> before_;            // what cases held that gained or lost rows, or have several
  std::vector<Held> now_;
  ToolPool<IndexBuilder> builders_;
  ToolPool<IndexFolder> folders_;
};

}  // namespace casebook
