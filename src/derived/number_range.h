#pragma once

#include "derived/kept_index.h"
#include "store/entities.h"

#include <optional>
#include <utility>

namespace casebook {

/// The smallest and the largest number of a column as it stands, (NaN, NaN) when it holds none. A column of whole
/// numbers is taken as such, nulls as 0; in one of numbers nulls and NaNs do not count. Throws
/// ("variableRange called on a non-numeric variable", true) for other data types.
[[nodiscard]] std::pair<double, double> numberRange(DataVariable const& variable);

/// The same from an index of the column as it stands, without a look at the cells; none for other data types, and
/// where only the cells tell the sign of zero.
[[nodiscard]] std::optional<std::pair<double, double>> numberRange(KeptIndex& index, VariableDataType dataType);

}  // namespace casebook
