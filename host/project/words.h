#pragma once

#include <casebook/variable_enums.h>
#include <casebook/variant.h>

#include <optional>
#include <string>
#include <string_view>

namespace casebook::cli {

constexpr std::string_view caseIdName = "Case ID";
constexpr std::string_view caseStatusName = "Case Status";
constexpr std::string_view activeWord = "Active";
constexpr std::string_view inactiveWord = "Inactive";

/// "number", "text", "integer" as they are written on the command line; "none" for the type of no values.
[[nodiscard]] std::string typeWord(VariableDataType type);
[[nodiscard]] std::optional<VariableDataType> readType(std::string_view word);

/// "none", "independent" or the number.
[[nodiscard]] std::string natureWord(VariableNature nature);
[[nodiscard]] std::optional<VariableNature> readNature(std::string_view word);

/// "ordinary", "calculated", "case status", "case identifier".
[[nodiscard]] std::string_view kindWord(VariableType type);

/// Whether a cell holds no value: null, NaN or the empty text.
[[nodiscard]] bool isMissing(Variant const& value);

/// A value in JSON: a text is what jsonText makes of it, a null is null; what JSON has no number for is "nan", "inf",
/// "-inf".
[[nodiscard]] std::string jsonCell(Variant const& value);

/// A value within a sentence: null, 3800, "MALE".
[[nodiscard]] std::string valueWords(Variant const& value);

/// A cell's value read from a text, or what keeps it from being one.
struct CellReading {
  std::optional<Variant> value;
  std::string fault;  ///< completes "the text ..."; empty with a value
};

/// The empty text is null in a column of numbers; a column of texts takes every text.
[[nodiscard]] CellReading readCell(std::string_view text, VariableDataType type);

/// What a new column of this type holds where nothing was entered.
[[nodiscard]] Variant emptyCell(VariableDataType type);

}  // namespace casebook::cli
