#pragma once

#include <casebook/journal_codes.h>

#include "store/change_sink.h"

#include <tuple>
#include <type_traits>

namespace casebook {

/// One row for each property that is a plain field: the setter, its change item and its replay all follow from it.
template <class Entity, class Value>
struct Property {
  std::uint32_t code;
  Value Entity::* member;
};

template <class Entity, class Value>
Property(std::uint32_t, Value Entity::*) -> Property<Entity, Value>;

namespace properties {

inline constexpr Property friendlyName{Journal::FriendlyName, &ProjectTexts::friendlyName};
inline constexpr Property projectDescription{Journal::Description, &ProjectTexts::description};
inline constexpr Property rootPath{Journal::RootPath, &ProjectTexts::rootPath};

inline constexpr Property variableDataType{Journal::VariableDataTypeSet, &DataVariable::dataType};
inline constexpr Property variableType{Journal::VariableTypeSet, &DataVariable::type};
inline constexpr Property variableNature{Journal::VariableNatureSet, &DataVariable::nature};
inline constexpr Property variableDescription{Journal::VariableDescriptionSet, &DataVariable::description};
inline constexpr Property variableName{Journal::VariableNameSet, &DataVariable::name};
inline constexpr Property variableExpression{Journal::VariableExpressionSet, &DataVariable::expression};
inline constexpr Property variableDefaultValue{Journal::VariableDefaultValueSet, &DataVariable::defaultValue};

inline constexpr Property variableRegexExpression{Journal::VariableRegexExpressionSet, &DataVariableRegex::expression};
inline constexpr Property variableRegexTarget{Journal::VariableRegexTargetSet, &DataVariableRegex::target};

inline constexpr Property pathRegexExpression{Journal::PathRegexExpressionSet, &DataPathRegex::expression};
inline constexpr Property pathRegexTarget{Journal::PathRegexTargetSet, &DataPathRegex::target};

inline constexpr Property tagGroupName{Journal::TagGroupNameSet, &DataTagGroup::name};

/// The rows of each kind of entity.
template <class Entity>
inline constexpr std::tuple<> of{};
template <>
inline constexpr std::tuple of<ProjectTexts>{friendlyName, projectDescription, rootPath};
template <>
inline constexpr std::tuple of<DataVariable>{variableDataType,    variableType, variableNature,
                                             variableDescription, variableName, variableExpression,
                                             variableDefaultValue};
template <>
inline constexpr std::tuple of<DataVariableRegex>{variableRegexExpression, variableRegexTarget};
template <>
inline constexpr std::tuple of<DataPathRegex>{pathRegexExpression, pathRegexTarget};
template <>
inline constexpr std::tuple of<DataTagGroup>{tagGroupName};

}  // namespace properties

/// How a property stands in a change item: numbers and UIDs as unsigned integers.
inline Variant itemValue(std::string const& text) { return Variant{text}; }
inline Variant itemValue(Variant const& value) { return value; }
template <class Number>
  requires std::is_enum_v<Number> || std::is_integral_v<Number>
Variant itemValue(Number number) {
  return Variant::ofWord(static_cast<u64>(number), Variant::UnsignedInteger);
}

/// The way back.
template <class Value>
Value fromItemValue(Variant const& value) {
  if constexpr (std::is_same_v<Value, Variant>) return value;
  else if constexpr (std::is_same_v<Value, std::string>) return value.stringValue();
  else return static_cast<Value>(value.longValue());
}

/// Tells the sink, then assigns. `value` is the caller's own copy, so that nothing can throw once the sink has heard.
template <class Entity, class Value>
void setProperty(ChangeSink& sink, Entity& entity, Property<Entity, Value> const& row,
                 std::type_identity_t<Value> value) {
  auto& field = entity.*row.member;
  sink.take(PropertyChange{kindOf<Entity>, entity.id, row.code, itemValue(field), itemValue(value)});
  field = std::move(value);
}

/// Sets the property of that code from a change item's value; false when the rows hold no such code.
template <class Entity>
bool setPropertyByCode(ChangeSink& sink, Entity& entity, std::uint32_t code, Variant const& value) {
  auto const tryRow = [&]<class Value>(Property<Entity, Value> const& row) {
    if (row.code != code) return false;
    setProperty(sink, entity, row, fromItemValue<Value>(value));
    return true;
  };
  return std::apply([&](auto const&... row) { return (tryRow(row) || ...); }, properties::of<Entity>);
}

}  // namespace casebook
