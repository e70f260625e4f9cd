#include "derived/number_range.h"

#include <casebook/exception_base.h>

#include <limits>

namespace casebook {

namespace {

class Range {
 public:
  /// NaN, which nulls and texts are as numbers, changes nothing.
  void take(double number) noexcept {
    if (number < least_) least_ = number;
    if (number > most_) most_ = number;
  }

  [[nodiscard]] std::pair<double, double> bounds() const noexcept {
    if (least_ == highest && most_ == -highest) return {Variant::nan().doubleValue(), Variant::nan().doubleValue()};
    return {least_, most_};
  }

 private:
  static constexpr double highest = std::numeric_limits<double>::max();

  double least_ = highest;
  double most_ = -highest;
};

// Whatever is no number counts as 0, and all conversions keep the order.
std::pair<double, double> wholeRange(KeptIndex& index) {
  Range range;
  for (auto const kind : {ValueKind::Null, ValueKind::NotANumber, ValueKind::Text})
    if (index.has(kind)) range.take(0.0);
  for (auto const kind : {ValueKind::Whole, ValueKind::Number}) {
    if (!index.has(kind)) continue;
    range.take(static_cast<double>(index.least(kind).longValue()));
    range.take(static_cast<double>(index.most(kind).longValue()));
  }
  return range.bounds();
}

std::optional<std::pair<double, double>> rangeOfNumbers(KeptIndex& index) {
  if (index.hasNegativeZero() && index.has(ValueKind::Whole)) return std::nullopt;
  Range range;
  for (auto const kind : {ValueKind::Whole, ValueKind::Number}) {
    if (!index.has(kind)) continue;
    range.take(index.least(kind).doubleValue());
    range.take(index.most(kind).doubleValue());
  }
  return range.bounds();
}

}  // namespace

std::optional<std::pair<double, double>> numberRange(KeptIndex& index, VariableDataType dataType) {
  if (dataType == Variant::UnsignedInteger) return wholeRange(index);
  if (dataType == Variant::FloatingPoint) return rangeOfNumbers(index);
  return std::nullopt;
}

std::pair<double, double> numberRange(DataVariable const& variable) {
  Range range;
  if (variable.dataType == Variant::UnsignedInteger) {
    for (auto const& value : variable.values) range.take(static_cast<double>(value.longValue()));
  } else if (variable.dataType == Variant::FloatingPoint) {
    for (auto const& value : variable.values) range.take(value.doubleValue());
  } else {
    throw varnel::ExceptionBase{"variableRange called on a non-numeric variable", true};
  }
  return range.bounds();
}

}  // namespace casebook
