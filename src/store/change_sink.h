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

/// A property is about to change from `before` to `after`.
struct PropertyChange {
  EntityKind kind;
  u64 uid;
  std::uint32_t code;
  Variant before;
  Variant after;
  u64 index = 0;
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

using Change =
    std::variant<PropertyChange, CellChange, StatusChange, Creation<DataVariable>, Creation<DataRecord>,
                 Creation<DataAuxFile>, Creation<DataTagGroup>, Creation<DataVariableRegex>, Creation<DataPathRegex>>;

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

/// Puts a new entity, its UID assigned, into its map and tells the sink.
template <class Entity>
Entity& create(Store& store, ChangeSink& sink, Entity entity) {
  auto& map = store.map<Entity>();
  auto& created = map.insert(std::move(entity));
  try {
    sink.take(Creation<Entity>{created});
  } catch (...) {
    map.erase(created.id);
    throw;
  }
  return created;
}

}  // namespace casebook
