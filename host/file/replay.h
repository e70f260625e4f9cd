#pragma once

#include "attempt.h"
#include "frame_log.h"

#include <casebook/project.h>

#include <functional>

namespace casebook {

/// Throws ("<path> can only be opened into a project as constructed or reset.", false) for any other.
void requireFresh(Project& project, std::filesystem::path const& path);

/// Brings a project as constructed or reset to the state of the file. `progress` is told the bytes done and those
/// to do. Throws DamageError for a block that cannot be replayed, and for a slot that edits meanwhile
/// ("A slot changed the project while <path> was replayed.", false).
void replay(Project& project, FrameLog const& log, std::function<void(u64, u64)> const& progress);

/// Empties the project and replays the file.
void restore(Project& project, FrameLog const& log);

/// Runs `steps` in a transaction and commits it, also when they throw: nothing takes a transaction back. The first
/// exception passes.
template <class Steps>
void inTransaction(Project& project, Steps const& steps) {
  auto transaction = project.startTransaction();
  try {
    steps(transaction);
  } catch (...) {
    attempt([&] { transaction.commit(); });
    throw;
  }
  transaction.commit();
}

}  // namespace casebook
