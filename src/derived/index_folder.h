#pragma once

#include "derived/case_changes.h"
#include "derived/value_index.h"

namespace casebook {

/// Makes changes to indices, in one pass over both. Keeps its memory from one to the next.
class IndexFolder {
 public:
  /// When it throws, the index is lost.
  void fold(ValueIndex& index, ChangeRun const& changes);

 private:
  ValueIndex::Runs runs_;
};

}  // namespace casebook
