#pragma once

#include "project/histogram.h"

#include <casebook/project.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace casebook::cli {

/// Of the values of one column that are numbers.
struct NumberSummary {
  double minimum = 0;
  double maximum = 0;
  double mean = 0;
  double median = 0;
};

/// What the cells of one variable come to. Null, NaN and the empty text are missing; everything else is a value. Cases
/// are counted as the library counts them, as case identifiers.
struct ColumnStatistics {
  struct ValueCount {
    Variant value;
    std::size_t cases = 0;
  };

  std::vector<ValueCount> counts;  ///< of each distinct value, ascending
  std::size_t cases = 0;           ///< that have a value
  std::size_t missing = 0;
  std::optional<NumberSummary> numbers;  ///< empty when no value is a number

  [[nodiscard]] static ColumnStatistics of(Project& project, u64 variable);

  /// The values that are numbers, ascending.
  [[nodiscard]] std::vector<NumberCount> numberCounts() const;
};

}  // namespace casebook::cli
