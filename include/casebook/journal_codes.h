#pragma once

#include <cstdint>

namespace casebook::Journal {

/// Codes of change items and commands: the kind of entity in bits 12 to 15, the property in bits 0 to 11 (1 is
/// creation). Stored in files: never renumber.
enum Code : std::uint32_t {
  FriendlyName = 0x1001,
  Description = 0x1002,
  RootPath = 0x1003,

  VariableCreated = 0x2001,
  VariableDataTypeSet = 0x2002,
  VariableTypeSet = 0x2003,
  VariableNatureSet = 0x2004,
  VariableDescriptionSet = 0x2005,
  VariableNameSet = 0x2006,
  VariableExpressionSet = 0x2007,
  VariableDefaultValueSet = 0x2008,
  CellSet = 0x2009,
  VariableMadeStatic = 0x200A,

  RecordCreated = 0x3001,
  RecordInserted = 0x3002,
  RecordStatusSet = 0x3003,

  AuxFileCreated = 0x4001,

  VariableRegexCreated = 0x5001,
  VariableRegexExpressionSet = 0x5002,
  VariableRegexTargetSet = 0x5003,

  PathRegexCreated = 0x6001,
  PathRegexExpressionSet = 0x6002,
  PathRegexTargetSet = 0x6003,

  TagGroupCreated = 0x7001,
  TagGroupNameSet = 0x7002,
  TagAdded = 0x7003,

  /// Set in the code of an erasure or removal: the command undoes what the code without it does.
  Inverse = 0x80000000,

  VariableErased = Inverse | VariableCreated,
  RecordErased = Inverse | RecordInserted,
  AuxFileErased = Inverse | AuxFileCreated,
  VariableRegexErased = Inverse | VariableRegexCreated,
  PathRegexErased = Inverse | PathRegexCreated,
  TagGroupErased = Inverse | TagGroupCreated,
  TagRemoved = Inverse | TagAdded,
};

}  // namespace casebook::Journal
