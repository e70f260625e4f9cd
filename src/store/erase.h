#pragma once

#include "store/change_sink.h"

#include <algorithm>

namespace casebook {

inline void leaveOthers(Store& store, DataVariable const& variable) noexcept {
  store.touched.noteGone(variable.id);
  if (store.statusVariable == &variable) store.statusVariable = nullptr;
}

inline void leaveOthers(Store& store, DataAuxFile const& file) noexcept {
  if (auto* const record = store.records.find(file.record)) std::erase(record->auxFiles, file.id);
}

template <class Entity>
void leaveOthers(Store&, Entity const&) noexcept {}

/// Tells the sink, then takes the entity out of its map and of what names it. Records leave through the table.
template <class Entity>
  requires(!std::is_same_v<Entity, DataRecord>)
void erase(Store& store, ChangeSink& sink, Entity const& entity) {
  sink.take(Erasure<Entity>{entity});
  leaveOthers(store, entity);
  store.map<Entity>().erase(entity.id);
}

}  // namespace casebook
