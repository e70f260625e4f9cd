#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace casebook::cli {

/// A number that was read from a text, or what keeps it from being one.
struct NumberReading {
  std::optional<double> value;
  std::string_view fault;  ///< completes "the text ...", as in "has leading zeros"; empty with a value
};

/// Reads a decimal number of which the double keeps every digit:
///
///   number   = ["-"] ( whole ["." [digits]] | "." digits ) [exponent]
///   whole    = "0" | nonzero [digits]
///   exponent = ("e" | "E") ["+" | "-"] digits
///
/// with at most 17 significant digits, and not beyond 2^53 when it is written as a whole number. Everything else is
/// a fault: "nan", "inf", hexadecimal, a leading "+", blanks. Does not ask the locale.
[[nodiscard]] NumberReading readNumber(std::string_view text);

/// The same, and "nan", "inf" and "-inf".
[[nodiscard]] NumberReading readAnyNumber(std::string_view text);

/// A whole number below 2^32, without sign or leading zeros.
[[nodiscard]] std::optional<std::uint32_t> readWholeNumber(std::string_view text);

/// "1 case", "344 cases".
[[nodiscard]] std::string counted(std::size_t n, std::string_view noun);

}  // namespace casebook::cli
