#include "replay/restore.h"

#include "store/property.h"

#include <new>
#include <string>

namespace casebook {

namespace {

template <class Entity>
bool haveSameProperties(Entity const& a, Entity const& b) {
  auto const same = [&](auto const&... row) { return ((a.*row.member == b.*row.member) && ...); };
  return std::apply(same, properties::of<Entity>);
}

}  // namespace

// Where no UID was given out there is nothing but "Case ID" and the texts.
bool isFresh(Store const& store) {
  return store.nextUid == 2 && haveSameProperties(*store.caseId, Table::newCaseId()) &&
         haveSameProperties(store.texts, ProjectTexts{});
}

void restoreBlocks(Store& store, Recorder& recorder, Replay& replay, std::span<Journal::Transaction const> blocks,
                   u64 nextUid) {
  Recorder::Mute const mute{recorder};
  u64 number = 0;
  for (auto const& block : blocks) {
    ++number;
    try {
      replay.run(block, Journal::Direction::Forwards);
    } catch (std::bad_alloc const&) {
      throw;
    } catch (std::exception const& error) {
      throw Journal::RestoreError{number, error.what()};
    }
    store.formerStatusVariables.clear();
  }
  store.nextUid = std::max(store.nextUid, nextUid);
}

}  // namespace casebook
