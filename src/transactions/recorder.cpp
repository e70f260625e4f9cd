#include "transactions/recorder.h"

#include "store/table.h"

#include <algorithm>

namespace casebook {

void Recorder::take(Change const& change) {
  auto const hear = [this](auto const& which) {
    staleTags_.note(which);
    variableChanges_.note(which);
    if (!muted_) record(which);
  };
  std::visit(hear, change);
}

template <class Payload>
void Recorder::journal(std::uint32_t code, Payload const& payload) {
  if (journalling()) writeCommand(block_, code, payload);
}

void Recorder::record(PropertyChange const& change) {
  log_.keepItem(change, [this](ChangeItem const& item) { journal(item.code, item); });
}

// No cell makes anything stale but what follows from touched cells.
void Recorder::take(CellChange const& change) {
  if (muted_) return;
  journal(Journal::CellSet, change);
  log_.markValuesChanged();
}

void Recorder::record(StatusChange const& change) {
  record(PropertyChange{EntityKind::Record, change.record, Journal::RecordStatusSet, change.before, change.after});
  log_.markValuesChanged();
}

template <class Entity>
void Recorder::record(Creation<Entity> const& change) {
  log_.keepCreation(kindOf<Entity>, change.entity.id, [&] { journal(creationCode<Entity>, change.entity); });
}

void Recorder::record(RecordInsertion const& change) {
  log_.keepCreation(EntityKind::Record, change.record.id, [&] {
    journal(Journal::RecordInserted, RecordRowPayload{change.record.id, change.record.auxFiles, change.row});
  });
}

template <class Entity>
void Recorder::record(Erasure<Entity> const& change) {
  log_.keepErasure(kindOf<Entity>, change.entity.id,
                   [&] { journal(creationCode<Entity> | Journal::Inverse, change.entity); });
}

void Recorder::record(RecordErasure const& change) {
  log_.keepErasure(EntityKind::Record, change.record.id, [&] {
    if (!journalling()) return;
    journal(Journal::RecordErased,
            RecordRowPayload{change.record.id, change.auxFiles, change.table.row(change.record.id)});
  });
}

void Recorder::record(MadeStatic const& change) {
  journal(Journal::VariableMadeStatic, StaticVariablePayload{change.variable.id, change.values});
  if (!std::ranges::equal(change.values, change.variable.values, &Variant::isIdentical)) log_.markValuesChanged();
}

void Recorder::record(MadeCalculated const& change) {
  journal(Journal::VariableMadeStatic | Journal::Inverse,
          StaticVariablePayload{change.variable.id, change.variable.values});
}

}  // namespace casebook
