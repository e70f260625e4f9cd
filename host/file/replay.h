#pragma once

#include "attempt.h"
#include "frame_log.h"

#include <casebook/journal.h>
#include <casebook/project.h>

#include <span>

namespace casebook {

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

/// Replays a block in a transaction of its own.
void replay(Project& project, std::span<unsigned char const> block, Project::Direction direction);

/// Undoes what left the project last, as these entries, the last of them first. Throws what a replay throws, and
/// ("A slot changed the project while an edit was taken back.", false) for a slot that edits meanwhile.
void takeBack(Project& project, std::span<Entry const> entries);

}  // namespace casebook
