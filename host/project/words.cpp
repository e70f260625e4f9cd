#include "project/words.h"

#include "text/json_text.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace casebook::cli {

std::string typeWord(VariableDataType type) {
  switch (type) {
    case Variant::Null: return "none";
    case Variant::UnsignedInteger: return "integer";
    case Variant::FloatingPoint: return "number";
    case Variant::String: return "text";
  }
  return fmt::format("type {}", static_cast<unsigned>(type));
}

std::optional<VariableDataType> readType(std::string_view word) {
  for (auto type : {Variant::UnsignedInteger, Variant::FloatingPoint, Variant::String})
    if (typeWord(type) == word) return type;
  return {};
}

std::string natureWord(VariableNature nature) {
  switch (nature) {
    case VariableNature::Unspecified: return "none";
    case VariableNature::Independent: return "independent";
  }
  return fmt::format("{}", static_cast<std::uint32_t>(nature));
}

std::optional<VariableNature> readNature(std::string_view word) {
  for (auto nature : {VariableNature::Unspecified, VariableNature::Independent})
    if (natureWord(nature) == word) return nature;
  auto const number = readWholeNumber(word);
  return number ? std::optional{static_cast<VariableNature>(*number)} : std::nullopt;
}

std::string_view kindWord(VariableType type) {
  switch (type) {
    case VariableType::Ordinary: return "ordinary";
    case VariableType::Calculated: return "calculated";
    case VariableType::CaseStatus: return "case status";
    case VariableType::CaseIdentifier: return "case identifier";
  }
  return "unknown";
}

bool isMissing(Variant const& value) {
  return value.type() == Variant::String ? value.stringValue().empty() : std::isnan(value.doubleValue());
}

std::string jsonCell(Variant const& value) {
  switch (value.type()) {
    case Variant::Null: return "null";
    case Variant::String: return jsonText(value.stringValue()).dump();
    case Variant::UnsignedInteger: return value.toString();
    case Variant::FloatingPoint: break;
  }
  return std::isfinite(value.doubleValue()) ? value.toString() : fmt::format("\"{}\"", value.toString());
}

std::string valueWords(Variant const& value) {
  if (value.isNull()) return "null";
  return value.type() == Variant::String ? inQuotes(value.stringValue()) : value.toString();
}

CellReading readCell(std::string_view text, VariableDataType type) {
  if (type == Variant::String) return {Variant{std::string{text}}, {}};
  if (text.empty()) return {Variant{}, {}};
  if (type == Variant::FloatingPoint) {
    NumberReading const number = readAnyNumber(text);
    if (number.value) return {Variant{*number.value}, {}};
    return {{}, std::string{number.fault}};
  }
  if (type == Variant::UnsignedInteger) {
    auto const number = readWholeNumber(text);
    if (number) return {Variant{*number, Variant::UnsignedInteger}, {}};
    return {{}, "is not a whole number from 0 to 4294967295"};
  }
  return {{}, "cannot be held by a variable that has no type"};
}

Variant emptyCell(VariableDataType type) { return type == Variant::String ? Variant{""} : Variant{}; }

}  // namespace casebook::cli
