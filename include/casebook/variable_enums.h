#pragma once

#include <casebook/variant.h>

#include <cstdint>

namespace casebook {

// Stored in files: never renumber.

/// What a variable measures in the study. Independent marks a variable on which tables can be merged; every other
/// value is the host's own, kept and returned as it is.
enum class VariableNature : std::uint32_t { Unspecified = 0, Independent = 2 };

/// Where the cells of a variable come from.
enum class VariableType : std::uint32_t { Ordinary = 0, Calculated = 1, CaseStatus = 2, CaseIdentifier = 3 };

/// The type of a variable's cells.
using VariableDataType = Variant::Type;

}  // namespace casebook
