#pragma once

#include <casebook/variant.h>

#include <algorithm>

namespace casebook {

/// When a checkpoint is worth its bytes: when the blocks since the last exceed 1 MiB and what the state takes, so that
/// checkpoints never make up more than half of a file. The state's size is known only once it was written out; what
/// it was the last time decides when to look again.
class CheckpointPace {
 public:
  CheckpointPace() = default;
  CheckpointPace(u64 stateLength, u64 since) : lookAgainAt_{stateLength}, since_{since} {}

  void add(u64 blockLength) noexcept { since_ += blockLength; }
  [[nodiscard]] bool isTimeToLook() const noexcept { return isWorth(lookAgainAt_); }
  [[nodiscard]] bool isWorth(u64 stateLength) const noexcept { return since_ > std::max(least, stateLength); }

  void written(u64 stateLength) noexcept {
    lookAgainAt_ = stateLength;
    since_ = 0;
  }
  void postpone(u64 stateLength) noexcept { lookAgainAt_ = stateLength; }
  /// Waits until as much again has been written.
  void failed() noexcept { lookAgainAt_ = 2 * since_; }

 private:
  static constexpr u64 least = u64{1} << 20;

  u64 lookAgainAt_ = 0;
  u64 since_ = 0;
};

}  // namespace casebook
