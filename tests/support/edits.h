#pragma once

#include "support/current_project.h"

#include <limits>

namespace casebook::test {

/// One edit of any kind: the numbers choose what is edited and how, whatever the project holds.
struct Edit {
  std::uint32_t kind = 0;
  std::uint32_t a = 0;
  std::uint32_t b = 0;
  std::uint32_t c = 0;
};

inline std::ostream& operator<<(std::ostream& out, Edit const& edit) {
  return out << '{' << edit.kind << ", " << edit.a << ", " << edit.b << ", " << edit.c << '}';
}

inline Variant someValue(std::uint32_t type, std::uint32_t n) {
  constexpr double numbers[] = {0.0, -0.0, 1.5, -1e300, std::numeric_limits<double>::quiet_NaN()};
  switch (type % 4) {
    case 0: return {};
    case 1: return Variant::ofWord(n % 3 == 0 ? ~u64{n} : n, Variant::UnsignedInteger);
    case 2: return numbers[n % 5];
    default: return std::string(n % 40, static_cast<char>(n));
  }
}

inline std::string someText(std::uint32_t n) { return someValue(3, n).stringValue(); }

/// One of the list's UIDs, 0 when there is none.
template <class Handle>
u64 oneOf(std::vector<WeakPtr<Handle>> const& list, std::uint32_t n) {
  return list.empty() ? 0 : list[n % list.size()].id();
}

using EditFunction = void (*)(Project&, Edit);

inline void setProperty(Project& p, Edit e) {
  u64 const uid = oneOf(p.variables(), e.a);
  switch (e.b % 7) {
    case 0: return p.setVariableDataType(uid, Variant::Type{e.c % 4});
    case 1: return p.setVariableType(uid, VariableType{e.c % 2 * 3});
    case 2: return p.setVariableNature(uid, VariableNature{e.c});
    case 3: return p.setVariableDescription(uid, someText(e.c));
    case 4: return p.setVariableName(uid, someText(e.c));
    case 5: return p.setVariableExpression(uid, someText(e.c));
    default: return p.setVariableDefaultValue(uid, someValue(e.c, e.c / 4));
  }
}

inline void setRow(Project& p, Edit e) {
  std::vector<Variant> row;
  for (u64 i = 0; i < p.variables().size(); ++i) row.push_back(someValue(e.b++, e.c));
  p.setRow(oneOf(p.records(), e.a), row);
}

inline void activate(Project& p, Edit e) { p.activate(oneOf(p.records(), e.a), e.b % 2 == 0); }

/// Every operation that creates or changes. One that finds nothing to change throws.
inline constexpr EditFunction editKinds[] = {
    [](Project& p, Edit) { p.addRecord(); },
    [](Project& p, Edit e) {
      p.addVariable(someText(e.a), VariableNature{e.b}, Variant::Type{e.b % 4}, someValue(e.b, e.c));
    },
    [](Project& p, Edit e) { p.addCalcVariable(someText(e.a), VariableNature{e.b}, someText(e.c)); },
    [](Project& p, Edit e) { p.addTagGroup(someText(e.a)); },
    [](Project& p, Edit e) { p.addPathRegex(someText(e.a), someText(e.b)); },
    [](Project& p, Edit e) { p.addVariableRegex(someText(e.a), WeakPtr<Variable>{oneOf(p.variables(), e.b)}.lock()); },
    [](Project& p, Edit e) { p.addAuxFile(oneOf(p.records(), e.a), someText(e.b % 9), someText(e.c % 3)); },
    [](Project& p, Edit e) {
      Variable const variable{WeakPtr<Variable>{oneOf(p.variables(), e.a)}.lock()};
      p.setValue(variable, WeakPtr<Record>{oneOf(p.records(), e.b)}.lock(), someValue(variable.dataType(), e.c));
    },
    setRow,
    activate,
    setProperty,
    [](Project& p, Edit e) { p.setFriendlyName(someText(e.a)); },
    [](Project& p, Edit e) { p.setDescription(someText(e.a)); },
    [](Project& p, Edit e) { p.setRootPath(someText(e.a)); },
    [](Project& p, Edit e) { p.setTagGroupName(oneOf(p.tagGroups(), e.a), someText(e.b)); },
    [](Project& p, Edit e) { p.addTag(oneOf(p.tagGroups(), e.a), someText(e.b % 5)); },
    [](Project& p, Edit e) { p.insertTag(oneOf(p.tagGroups(), e.a), someText(e.b % 5), e.c % 3); },
    [](Project& p, Edit e) {
      u64 const group = oneOf(p.tagGroups(), e.a);
      auto const& tags = p.tags(group);
      p.removeTag(group, tags.empty() ? "none" : tags[e.b % tags.size()]);
    },
    [](Project& p, Edit e) { p.setPathRegexExpression(oneOf(p.pathRegexs(), e.a), someText(e.b)); },
    [](Project& p, Edit e) { p.setPathRegexTarget(oneOf(p.pathRegexs(), e.a), someText(e.b)); },
    [](Project& p, Edit e) { p.setVariableRegexExpression(oneOf(p.variableRegexs(), e.a), someText(e.b)); },
    [](Project& p, Edit e) { p.setVariableRegexTarget(oneOf(p.variableRegexs(), e.a), oneOf(p.variables(), e.b)); },
};

inline void make(Project& project, Edit edit) { editKinds[edit.kind % std::size(editKinds)](project, edit); }

}  // namespace casebook::test
