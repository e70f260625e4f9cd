#pragma once

#include "store/entities.h"
#include "store/entity_map.h"
#include "store/touched_cells.h"

#include <algorithm>
#include <memory>
#include <type_traits>
#include <vector>

namespace casebook {

/// The project's own texts; they are recorded like the properties of an entity with UID 0.
struct ProjectTexts {
  static constexpr u64 id = 0;

  std::string friendlyName;
  std::string description;
  std::string rootPath;
};

/// A record and the place of its cells in every column.
struct RecordRow {
  u64 uid;
  std::uint32_t row;
};

/// The data of one project: its texts, the counter of UIDs and the six maps of entities.
///
/// 1. A UID is handed out once; the counter is above every UID that a map holds.
/// 2. Every column has one cell per record, and a record's row is its rank by UID, as `recordOfRow` and `rowOfRecord`
///    tell.
/// 3. `caseId` names a variable at all times once the table was made. `statusVariable` is the only variable of type
///    CaseStatus, or null; while it awaits its erasure there is no Case Status variable for a host.
struct Store {
  ProjectTexts texts;
  std::shared_ptr<void const> life = std::make_shared<char>();  ///< another one whenever UIDs begin anew
  u64 nextUid = 1;
  EntityMap<DataRecord> records;
  std::vector<u64> recordOfRow;  ///< their UIDs, ascending
  static constexpr std::uint32_t noRow = 0xffff'ffff;
  UidIndex<std::uint32_t, noRow>
      rowOfRecord;  ///< apart from the records: every write asks, and these stay in the cache
  EntityMap<DataVariable> variables;
  EntityMap<DataTagGroup> tagGroups;
  EntityMap<DataVariableRegex> variableRegexs;
  EntityMap<DataPathRegex> pathRegexs;
  EntityMap<DataAuxFile> auxFiles;
  TouchedCells touched;
  DataVariable* caseId = nullptr;
  DataVariable* statusVariable = nullptr;
  std::vector<u64> formerStatusVariables;  ///< those that were of type CaseStatus in the open transaction

  [[nodiscard]] bool wasStatusVariable(u64 uid) const noexcept {
    return std::ranges::find(formerStatusVariables, uid) != formerStatusVariables.end();
  }

  [[nodiscard]] DataVariable* caseStatus() const noexcept {
    return statusVariable && statusVariable->flag == 0 ? statusVariable : nullptr;
  }

  /// Throws as EntityMap::at does; the record's row is not loose.
  [[nodiscard]] RecordRow rowOf(u64 record) const {
    auto const row = rowOfRecord.find(record);
    if (row == noRow) refuseUnknownEntity();
    return {record, row};
  }

  [[nodiscard]] u64 assignUid() noexcept { return nextUid++; }

  /// Keeps rule 1 for an entity that comes with its UID.
  void raiseUid(u64 uid) noexcept { nextUid = std::max(nextUid, uid + 1); }

  /// Whether any entity has this UID.
  [[nodiscard]] bool holds(u64 uid) const noexcept {
    return records.find(uid) || variables.find(uid) || tagGroups.find(uid) || variableRegexs.find(uid) ||
           pathRegexs.find(uid) || auxFiles.find(uid);
  }

  template <class Entity, class Self>
  static auto& mapIn(Self& self) noexcept {
    if constexpr (std::is_same_v<Entity, DataRecord>) return self.records;
    else if constexpr (std::is_same_v<Entity, DataVariable>) return self.variables;
    else if constexpr (std::is_same_v<Entity, DataTagGroup>) return self.tagGroups;
    else if constexpr (std::is_same_v<Entity, DataVariableRegex>) return self.variableRegexs;
    else if constexpr (std::is_same_v<Entity, DataPathRegex>) return self.pathRegexs;
    else return self.auxFiles;
  }

  template <class Entity>
  [[nodiscard]] EntityMap<Entity>& map() noexcept {
    return mapIn<Entity>(*this);
  }
  template <class Entity>
  [[nodiscard]] EntityMap<Entity> const& map() const noexcept {
    return mapIn<Entity>(*this);
  }
};

}  // namespace casebook
