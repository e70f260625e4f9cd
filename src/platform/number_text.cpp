#include "platform/number_text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace casebook {

namespace {

std::chars_format formatFor(double value) {
  double const magnitude = std::abs(value);
  bool const plain = magnitude >= 1e-5 && magnitude < 1e15;
  return plain ? std::chars_format::fixed : std::chars_format::scientific;
}

}  // namespace

std::string numberText(double value) {
  if (std::isnan(value)) return "nan";
  if (value == 0.0) return "0";
  std::array<char, 32> buffer;  // at most 17 digits, a sign, a point, an exponent or four leading zeros
  auto const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, formatFor(value)).ptr;
  return {buffer.data(), end};
}

}  // namespace casebook
