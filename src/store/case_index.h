#pragma once

#include "store/store.h"

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

 private:
  void refresh();

  Store const& store_;
  boost::unordered_map<u64, u64> records_{11};
  u64 lastRecord_ = 0;    // of those that were taken in
  u64 refreshedAt_ = 0;   // in the time of the touched cells
  bool answers_ = false;  // there was a question since `expire`
};

}  // namespace casebook
