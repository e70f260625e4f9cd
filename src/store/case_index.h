#pragma once

#include "store/store.h"

#include <optional>
#include <set>

namespace casebook {

/// From case identifiers to records, as the table stood at the first question since `expire`. What it depends on may
/// not have changed by then: so it is kept.
class CaseIndex {
 public:
  explicit CaseIndex(Store const& store) : store_{store} {}

  /// The UID of the record, the lowest of those with this identifier; 0 when there is none.
  [[nodiscard]] u64 find(u64 caseId);
  void expire() noexcept { answers_ = false; }
  /// The same, and gives back the memory.
  void clear() noexcept;

  /// Before the touched cells are settled, which tell no more then: takes in what changed, where it is little and
  /// nobody has asked since `expire`.
  void follow() noexcept;

 private:
  [[nodiscard]] bool takeChanges();
  void takeAll();
  void remember() noexcept;
  void add(u64 caseId, u64 record);
  void remove(u64 caseId, u64 record);

  Store const& store_;
  boost::unordered_map<u64, u64> records_{11};
  std::set<std::pair<u64, u64>> others_;  // identifiers and records that share one with a record of lower UID
  std::optional<u64> refreshedAt_;        // in the time of the touched cells; none when nothing is kept
  u64 rowsSeen_ = 0;
  bool answers_ = false;  // there was a question since `expire`
};

}  // namespace casebook
