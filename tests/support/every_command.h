#pragma once

#include "support/current_project.h"

#include <functional>

namespace casebook::test {

inline void setX(Project& p, Variant const& value) {
  p.setValue(Variable{3, NoLockRequired{}}, Record{2, NoLockRequired{}}, value);
}

inline void setEveryProperty(Project& p) {
  p.setVariableDataType(3, Variant::String), p.setVariableType(3, VariableType::Calculated);
  p.setVariableNature(3, VariableNature{0xFFFFFFFF}), p.setVariableDescription(3, "what it is");
  p.setVariableName(3, "y"), p.setVariableExpression(3, "1+1"), p.setVariableDefaultValue(3, "none");
}

inline void addVariableRule(Project& p) {
  u64 const rule = p.addVariableRegex("*.dat", Variable{3, NoLockRequired{}}).id();
  p.setVariableRegexExpression(rule, "?"), p.setVariableRegexTarget(rule, 4);
}

/// Transactions of a new project: they and their undoing give commands of every kind.
inline std::function<void(Project&)> const everyCommand[] = {
    [](auto& p) { p.setFriendlyName("Zo\u00EB"); },
    [](auto& p) { p.setDescription("d"), p.setRootPath("/root"), p.setDescription("e"); },
    [](auto& p) { p.addRecord(); },
    [](auto& p) { p.addVariable("x", VariableNature::Independent, Variant::FloatingPoint, 1.5); },
    [](auto& p) { p.addCalcVariable("c", VariableNature{7}, "x*2"); },
    [](auto& p) { setX(p, {}), setX(p, Variant::nan()); },
    setEveryProperty,
    [](auto& p) { p.activate(2, false); },
    [](auto& p) { p.activate(2, true), p.activate(2, false); },
    [](auto& p) { p.setRow(2, {Variant{77u, Variant::UnsignedInteger}, "z", -0.0, "", "beyond"}); },
    [](auto& p) { p.addAuxFile(2, "a\\b.png", "front"), p.addAuxFile(2, "a\\b.png", "front"), p.addRecord(); },
    addVariableRule,
    [](auto& p) { p.addPathRegex("*.png", "t"), p.setPathRegexExpression(9, ""), p.setPathRegexTarget(9, "u"); },
    [](auto& p) { p.addTagGroup("G"), p.setTagGroupName(10, ""); },
    [](auto& p) { p.addTag(10, "front"), p.insertTag(10, "b", 0), p.addTag(10, "front"); },
    [](auto& p) { p.removeTag(10, "front"); },
    [](auto& p) { p.addVariable("w", VariableNature{0}, Variant::String, "p"); },
    [](auto& p) { p.eraseTagGroup(10), p.erasePathRegex(9), p.eraseVariableRegex(8), p.eraseVariable(11); },
    [](auto& p) { p.eraseRecord(7), p.eraseRecord(2); },
};

}  // namespace casebook::test
