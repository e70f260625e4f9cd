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

}  // namespace

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
