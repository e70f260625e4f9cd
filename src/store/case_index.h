#pragma once

#include "store/store.h"

namespace casebook {

/// From case identifiers to records: filled on the first question after it was cleared, as the table stands then.
class CaseIndex {
 public:
  explicit CaseIndex(Store const& store) : store_{store} {}

  /// The UID of the record, the lowest of those with this identifier; 0 when there is none.
  [[nodiscard]] u64 find(u64 caseId);
  void clear() noexcept { records_.clear(); }

 private:
  void fill();

  Store const& store_;
  boost::unordered_map<u64, u64> records_{11};
};

}  // namespace casebook
