#include "replay/restore.h"

#include "store/property.h"

#include <algorithm>
#include <new>
#include <string>

namespace casebook {

namespace {

template <class Entity>
bool haveSameProperties(Entity const& a, Entity const& b) {
  auto const same = [&](auto const&... row) { return ((a.*row.member == b.*row.member) && ...); };
  return std::apply(same, properties::of<Entity>);
}

// Whether a variable ceases to be calculated, with the column as it was calculated last: the block does not hold it.
bool keepsCalculated(Journal::Transaction const& block) {
  return std::ranges::any_of(block.commands(), [](Journal::Command const& command) {
    return command.code == Journal::VariableTypeSet &&
           std::get<Variant>(Journal::fields(command).front().value).longValue() ==
               static_cast<u64>(VariableType::Calculated);
  });
}

}  // namespace

// Where no UID was given out there is nothing but "Case ID" and the texts.
bool isFresh(Store const& store) {
  return store.nextUid == 2 && haveSameProperties(*store.caseId, Table::newCaseId()) &&
         haveSameProperties(store.texts, ProjectTexts{});
}

void restoreBlocks(Store& store, Recorder& recorder, Calculation& calculation, Replay& replay,
                   std::span<Journal::Transaction const> blocks, u64 nextUid) {
  Recorder::Mute const mute{recorder};
  u64 number = 0;
  for (auto const& block : blocks) {
    ++number;
    try {
      if (keepsCalculated(block)) calculation.calculateWhatCompiles();
      replay.run(block, Journal::Direction::Forwards);
    } catch (std::bad_alloc const&) {
      throw;
    } catch (std::exception const& error) {
      throw Journal::RestoreError{number, error.what()};
    }
    store.formerStatusVariables.clear();
  }
  calculation.calculateWhatCompiles();
  store.nextUid = std::max(store.nextUid, nextUid);
}

}  // namespace casebook
