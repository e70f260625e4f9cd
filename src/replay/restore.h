#pragma once

#include "derived/calculation.h"
#include "replay/replay.h"
#include "transactions/recorder.h"

#include <span>

namespace casebook {

/// Whether the store is that of a project as constructed or reset.
[[nodiscard]] bool isFresh(Store const& store);

/// Replays the blocks forwards into a fresh store, of which nobody hears, and raises the UID counter to `nextUid`.
/// Calculates at the end, and before a block that keeps what was calculated.
/// Throws Journal::RestoreError for a block that does not fit; the store then holds what came before.
void restoreBlocks(Store& store, Recorder& recorder, Calculation& calculation, Replay& replay,
                   std::span<Journal::Transaction const> blocks, u64 nextUid);

}  // namespace casebook
