#include "text/numbers.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace casebook::cli {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The parts of a text that has the form of a number.
struct Decimal {
  std::string_view whole;
  std::string_view fraction;
  bool isWhole = true;  ///< neither point nor exponent

  /// The digits from the first that is not 0 to the last that is written.
  [[nodiscard]] std::string significantDigits() const {
    std::string digits{whole};
    digits += fraction;
    return digits.erase(0, digits.find_first_not_of('0'));
  }
};

class DecimalReader {
 public:
  explicit DecimalReader(std::string_view text) : rest_{text} {}

  std::optional<Decimal> read() {
    take('-');
    Decimal result;
    result.whole = digits();
    if (take('.')) {
      result.isWhole = false;
      result.fraction = digits();
    }
    if (result.whole.empty() && result.fraction.empty()) return {};
    if (take('e') || take('E')) {
      result.isWhole = false;
      if (!take('-')) take('+');
      if (digits().empty()) return {};
    }
    return rest_.empty() ? std::optional{result} : std::nullopt;
  }

 private:
  bool take(char c) {
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  std::string_view digits() {
    std::size_t n = 0;
    while (n < rest_.size() && isDigit(rest_[n])) ++n;
    std::string_view const result = rest_.substr(0, n);
    rest_.remove_prefix(n);
    return result;
  }

  std::string_view rest_;
};

/// Whether the double, rounded to as many digits as were written, gives these digits.
bool keepsDigits(double value, std::string_view digits) {
  std::array<char, 64> buffer;
  auto const precision = static_cast<int>(digits.size()) - 1;
  auto const end =
      std::to_chars(buffer.begin(), buffer.end(), std::abs(value), std::chars_format::scientific, precision).ptr;
  std::string kept{buffer.begin(), end};
  kept.erase(kept.find('e'));
  std::erase(kept, '.');
  return kept == digits;
}

bool isBeyondExactWholeNumbers(std::string_view digits) {
  constexpr std::string_view limit = "9007199254740992";  // 2^53
  return digits.size() > limit.size() || (digits.size() == limit.size() && digits > limit);
}

NumberReading readDigits(std::string_view text, std::string_view digits) {
  double value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || !std::isfinite(value) || (value == 0 && !digits.empty()))
    return {{}, "is beyond the range of numbers"};
  // Every decimal of 15 digits survives, except among the smallest doubles.
  bool const mayLose = digits.size() > 15 || std::abs(value) < std::numeric_limits<double>::min();
  if (!digits.empty() && mayLose && !keepsDigits(value, digits)) return {{}, "has more digits than a number keeps"};
  return {value, {}};
}

}  // namespace

NumberReading readNumber(std::string_view text) {
  auto const decimal = DecimalReader{text}.read();
  if (!decimal) return {{}, "is not a number"};
  if (decimal->whole.size() > 1 && decimal->whole.front() == '0') return {{}, "has leading zeros"};
  std::string const digits = decimal->significantDigits();
  if (decimal->isWhole && isBeyondExactWholeNumbers(digits)) return {{}, "is a whole number beyond 2^53"};
  if (digits.size() > 17) return {{}, "has more than 17 significant digits"};
  return readDigits(text, digits);
}

NumberReading readAnyNumber(std::string_view text) {
  if (text == "nan") return {std::numeric_limits<double>::quiet_NaN(), {}};
  if (text == "inf") return {std::numeric_limits<double>::infinity(), {}};
  if (text == "-inf") return {-std::numeric_limits<double>::infinity(), {}};
  return readNumber(text);
}

std::optional<std::uint32_t> readWholeNumber(std::string_view text) {
  if (text.empty() || !isDigit(text.front()) || (text.size() > 1 && text.front() == '0')) return {};
  std::uint32_t value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc{} && end == text.data() + text.size() ? std::optional{value} : std::nullopt;
}

std::string counted(std::size_t n, std::string_view noun) { return fmt::format("{} {}{}", n, noun, n == 1 ? "" : "s"); }

}  // namespace casebook::cli
