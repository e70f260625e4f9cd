#pragma once

#include <casebook/variable_enums.h>
#include <casebook/variant.h>

#include "platform/known_texts.h"
#include "store/touched_column.h"

#include <cstdint>
#include <string>
#include <vector>

namespace casebook {

/// What every entity has. Entities are owned by value by the store; everybody else names them by UID.
struct DataBase {
  DataBase() = default;
  explicit DataBase(u64 uid) : id{uid} {}
  DataBase(DataBase const&) = default;
  DataBase(DataBase&&) = default;
  DataBase& operator=(DataBase const&) = default;
  DataBase& operator=(DataBase&&) = default;
  virtual ~DataBase() = default;

  mutable std::uint32_t lockCount = 0;  ///< live handles; a handle counts on a const project too
  u64 id = 0;
  std::uint8_t flag = 0;  ///< not 0 while the entity awaits its erasure
};

struct DataVariable : DataBase {
  using DataBase::DataBase;

  std::string name;
  std::string description;
  std::string expression;
  std::vector<Variant> values;  ///< one cell per record, at the record's row
  Variant defaultValue;
  VariableNature nature{};
  VariableDataType dataType{};
  VariableType type{};
  TouchedColumn touched;
  KnownTexts texts;  ///< which the cells share
};

struct DataRecord : DataBase {
  using DataBase::DataBase;

  std::vector<u64> auxFiles;  ///< in the order of attachment
};

struct DataAuxFile : DataBase {
  using DataBase::DataBase;

  std::string path;  ///< as given
  std::string tag;   ///< empty: the path rules give the tags
  u64 record = 0;
};

struct DataTagGroup : DataBase {
  using DataBase::DataBase;

  std::string name;
  std::vector<std::string> tags;
};

/// A rule: `Target` is the UID of a variable, or a tag.
template <class Target>
struct DataRegex : DataBase {
  using DataBase::DataBase;

  std::string expression;
  Target target{};
};

using DataVariableRegex = DataRegex<u64>;
using DataPathRegex = DataRegex<std::string>;

}  // namespace casebook
