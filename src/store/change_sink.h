#pragma once

#include "store/entities.h"
#include "store/store.h"

#include <variant>

namespace casebook {

/// The kinds of entity, in the order in which changes are kept.
enum class EntityKind : std::uint8_t { Project, Variable, Record, AuxFile, TagGroup, VariableRegex, PathRegex };
constexpr std::size_t entityKinds = 7;

template <class Entity>
constexpr EntityKind kindOf = EntityKind::Project;
template <>
inline constexpr EntityKind kindOf<DataVariable> = EntityKind::Variable;
template <>
inline constexpr EntityKind kindOf<DataRecord> = EntityKind::Record;
template <>
inline constexpr EntityKind kindOf<DataAuxFile> = EntityKind::AuxFile;
template <>
inline constexpr EntityKind kindOf<DataTagGroup> = EntityKind::TagGroup;
template <>
inline constexpr EntityKind kindOf<DataVariableRegex> = EntityKind::VariableRegex;
template <>
inline constexpr EntityKind kindOf<DataPathRegex> = EntityKind::PathRegex;

class Table;

/// A property is about to change from `before` to `after`.
struct PropertyChange {
  EntityKind kind;
  u64 uid;
  std::uint32_t code;
  Variant before;
  Variant after;
  u64 index = 0;
  bool startsItem = false;  ///< an item that was kept before is not brought up to date but begins anew
};

/// A cell is about to change.
struct CellChange {
  DataVariable const& variable;
  DataRecord const& record;
  Variant const& before;
  Variant const& after;
};

/// A record is about to become active or inactive: a cell of the status variable changes.
struct StatusChange {
  DataVariable const& variable;
  DataRecord const& record;
  Variant const& before;
  Variant const& after;
};

/// An entity stands in its map.
template <class Entity>
struct Creation {
  Entity const& entity;
};

/// The same for a record that comes with its row, which stands in no column yet.
struct RecordInsertion {
  DataRecord const& record;
  std::vector<Variant> const& row;
};

/// An entity is about to leave its map.
template <class Entity>
struct Erasure {
  Entity const& entity;
};

/// The same for a record. Its files have left before it; `auxFiles` is what its list held.
struct RecordErasure {
  DataRecord const& record;
  std::vector<u64> const& auxFiles;
  Table const& table;
};

/// A calculated variable is about to become an ordinary one that holds `values`.
struct MadeStatic {
  DataVariable const& variable;
  std::vector<Variant> const& values;
};

/// A variable is calculated from now on; its column still holds what it held.
struct MadeCalculated {
  DataVariable const& variable;
};

using Change =
    std::variant<PropertyChange, CellChange, StatusChange, Creation<DataVariable>, Creation<DataRecord>,
                 Creation<DataAuxFile>, Creation<DataTagGroup>, Creation<DataVariableRegex>, Creation<DataPathRegex>,
                 RecordInsertion, Erasure<DataVariable>, RecordErasure, Erasure<DataAuxFile>, Erasure<DataTagGroup>,
                 Erasure<DataVariableRegex>, Erasure<DataPathRegex>, MadeStatic, MadeCalculated>;

/// Hears of every change to the store before it is final. When it throws, the change does not happen and the sink has
/// kept nothing of it.
class ChangeSink {
 public:
  virtual void take(Change const& change) = 0;

 protected:
  ChangeSink() = default;
  ChangeSink(ChangeSink const&) = default;
  ChangeSink& operator=(ChangeSink const&) = default;
  ~ChangeSink() = default;
};

/// Puts a new entity, its UID assigned, into its map and tells the sink by what `creation` makes of it.
template <class Entity, class MakeChange>
Entity& create(Store& store, ChangeSink& sink, Entity entity, MakeChange const& creation) {
  auto& map = store.map<Entity>();
  auto& created = map.insert(std::move(entity));
  try {
    sink.take(creation(created));
  } catch (...) {
    map.erase(created.id);
    throw;
  }
  store.raiseUid(created.id);
  return created;
}

template <class Entity>
Entity& create(Store& store, ChangeSink& sink, Entity entity) {
  return create(store, sink, std::move(entity), [](Entity const& created) { return Creation<Entity>{created}; });
}

}  // namespace casebook
