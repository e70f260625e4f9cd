#pragma once

#include <casebook/variant.h>

#include <cstdint>
#include <string>
#include <vector>

namespace casebook {

/// One property changed in a transaction.
struct ChangeItem {
  Variant oldValue;        ///< before the first change of this property in the transaction
  Variant newValue;        ///< after the latest
  u64 index = 0;           ///< for tags of a group: the position of the tag last added or removed; else 0
  u64 uid = 0;             ///< the changed entity; 0 for a property of the project
  std::uint32_t code = 0;  ///< the property, as in Journal::Code
};

/// What happened to each kind of entity, as identifiers in ascending order.
struct TransactionRecordGroup {
  std::vector<ChangeItem> projectChanges;  ///< filled in `modified` only
  std::vector<u64> variables;
  std::vector<u64> records;
  std::vector<u64> variableRegexs;
  std::vector<u64> pathRegexs;
  std::vector<u64> tagGroups;
  std::vector<u64> auxFiles;
  std::vector<std::string> removedTags;  ///< filled in `removed` only
};

/// What a transaction changed, as the change signals report it. An entity stands in one group at the most: a removed
/// one only in `removed`, a new one only in `added`. In `modified` it stands once for each changed property.
struct TransactionRecord {
  TransactionRecordGroup removed;
  TransactionRecordGroup added;
  TransactionRecordGroup modified;
  u64 valuesChanged = 0;  ///< not 0 when any cell was written
};

}  // namespace casebook
