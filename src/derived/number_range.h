#pragma once

#include "store/entities.h"

#include <utility>

namespace casebook {

/// The smallest and the largest number of a column as it stands, (NaN, NaN) when it holds none. A column of whole
/// numbers is taken as such, nulls as 0; in one of numbers nulls and NaNs do not count. Throws
/// ("variableRange called on a non-numeric variable", true) for other data types.
[[nodiscard]] std::pair<double, double> numberRange(DataVariable const& variable);

}  // namespace casebook
