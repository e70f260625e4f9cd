#pragma once

#include <casebook/journal_codes.h>

#include "store/entities.h"
#include "store/store.h"

#include <variant>

namespace casebook {

/// The kinds of entity, in the order in which changes are kept.
enum class EntityKind : std::uint8_t { Project, Variable, Record, AuxFile, TagGroup, VariableRegex, PathRegex };
constexpr std::size_t entityKinds = 7;

/// What is listed of each kind of entity, here alone: a kind that is forgotten does not compile.
template <class Entity>
struct EntityTraits;
template <>
struct EntityTraits<ProjectTexts> {
  static constexpr auto kind = EntityKind::Project;
};
template <>
struct EntityTraits<DataVariable> {
  static constexpr auto kind = EntityKind::Variable;
  static constexpr std::uint32_t creationCode = Journal::VariableCreated;
};
template <>
struct EntityTraits<DataRecord> {
  static constexpr auto kind = EntityKind::Record;
  static constexpr std::uint32_t creationCode = Journal::RecordCreated;
};
template <>
struct EntityTraits<DataAuxFile> {
  static constexpr auto kind = EntityKind::AuxFile;
  static constexpr std::uint32_t creationCode = Journal::AuxFileCreated;
};
template <>
struct EntityTraits<DataTagGroup> {
  static constexpr auto kind = EntityKind::TagGroup;
  static constexpr std::uint32_t creationCode = Journal::TagGroupCreated;
};
template <>
struct EntityTraits<DataVariableRegex> {
  static constexpr auto kind = EntityKind::VariableRegex;
  static constexpr std::uint32_t creationCode = Journal::VariableRegexCreated;
};
template <>
struct EntityTraits<DataPathRegex> {
  static constexpr auto kind = EntityKind::PathRegex;
  static constexpr std::uint32_t creationCode = Journal::PathRegexCreated;
};

template <class Entity>
inline constexpr EntityKind kindOf = EntityTraits<Entity>::kind;
/// The command that tells of a new entity; with Journal::Inverse of one that is erased.
template <class Entity>
inline constexpr std::uint32_t creationCode = EntityTraits<Entity>::creationCode;

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

/// A cell is about to change, which happens far more often than anything else.
struct CellChange {
  DataVariable const& variable;
  u64 record;
  Variant const& before;
  Variant const& after;
};

/// A record is about to become active or inactive: a cell of the status variable changes.
struct StatusChange {
  DataVariable const& variable;
  u64 record;
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
    std::variant<PropertyChange, StatusChange, Creation<DataVariable>, Creation<DataRecord>, Creation<DataAuxFile>,
                 Creation<DataTagGroup>, Creation<DataVariableRegex>, Creation<DataPathRegex>, RecordInsertion,
                 Erasure<DataVariable>, RecordErasure, Erasure<DataAuxFile>, Erasure<DataTagGroup>,
                 Erasure<DataVariableRegex>, Erasure<DataPathRegex>, MadeStatic, MadeCalculated>;

/// Hears of every change to the store before it is final. When it throws, the change does not happen and the sink has
/// kept nothing of it.
class ChangeSink {
 public:
  virtual void take(Change const& change) = 0;
  virtual void take(CellChange const& change) = 0;

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
