#pragma once

#include "store/change_sink.h"

namespace casebook {

/// Counts what could change which variables there are, their names, types and expressions: hears of every change. A
/// note of a change that did not happen does no harm.
class VariableChanges {
 public:
  template <class Other>
  void note(Other const&) noexcept {}
  void note(Creation<DataVariable> const&) noexcept { ++count_; }
  void note(Erasure<DataVariable> const&) noexcept { ++count_; }
  void note(MadeStatic const&) noexcept { ++count_; }
  void note(MadeCalculated const&) noexcept { ++count_; }
  void note(PropertyChange const& change) noexcept { count_ += change.kind == EntityKind::Variable; }

  [[nodiscard]] u64 count() const noexcept { return count_; }

 private:
  u64 count_ = 0;
};

}  // namespace casebook
