#pragma once

#include <casebook/export.h>
#include <casebook/variable_enums.h>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace casebook {

/// Describes one column of an imported table.
struct ColumnInfo {
  std::string name;
  VariableNature nature = VariableNature::Unspecified;
  VariableDataType dataType = Variant::Null;
};

enum class MergeMethod : std::uint32_t {
  Append = 0,                 ///< every input row becomes a new record
  ByCaseId = 1,               ///< rows overwrite the records of equal "Case ID"; the others are dropped
  ByIndependentVariables = 2  ///< rows overwrite the records of equal independent values; the others are appended
};

/// The working state of a prepared merge. Hosts never see inside it.
struct CASEBOOK_EXPORT MergeState {
  MergeState() = default;
  MergeState(MergeState const&) = delete;
  MergeState& operator=(MergeState const&) = delete;
  virtual ~MergeState();
};

/// A merge that Project::merge_prep prepared. Copies share the working state.
struct CASEBOOK_EXPORT MergeInfo {
  MergeInfo();

  MergeMethod method = MergeMethod::Append;  ///< set by the host before Project::merge
  u64 matchCount = 0;                        ///< input rows that would match by independent values
  boost::shared_ptr<MergeState> state;
};

}  // namespace casebook
