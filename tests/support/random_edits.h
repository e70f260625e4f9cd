#pragma once

#include "support/edits.h"

#include <optional>
#include <set>

namespace casebook::test {

/// Numbers drawn from one word, which it runs out of: then, as from the word 0, all are 0.
class Draw {
 public:
  explicit Draw(u64 word) : word_{word} {}

  /// A number below `bound`.
  std::uint32_t operator()(std::uint32_t bound) {
    auto const number = static_cast<std::uint32_t>(word_ % bound);
    word_ /= bound;
    return number;
  }

 private:
  u64 word_;
};

/// What a random edit is made on: few entities, those that the same transaction touched rather than others, whether
/// or not they await their erasure, and now and then one that is not there.
class Choice {
 public:
  Choice(Project& project, std::set<u64>& touched, u64 word) : project_{project}, touched_{touched}, draw_{word} {}

  std::uint32_t operator()(std::uint32_t bound) { return draw_(bound); }
  char const* oneOf(std::initializer_list<char const*> texts) {
    return texts.begin()[draw_(static_cast<std::uint32_t>(texts.size()))];
  }
  Variant value(std::uint32_t type) { return someValue(type, draw_(40)); }
  Variant value() { return value(draw_(4)); }

  u64 record() { return uidOf(project_.records()); }
  u64 variable() { return uidOf(project_.variables()); }
  u64 file() { return uidOf(project_.auxFiles()); }
  u64 group() { return uidOf(project_.tagGroups()); }
  u64 pathRule() { return uidOf(project_.pathRegexs()); }
  u64 variableRule() { return uidOf(project_.variableRegexs()); }

  template <class Handle>
  void touch(WeakPtr<Handle> entity) {
    touched_.insert(entity.id());
  }

 private:
  template <class Handle>
  u64 uidOf(std::vector<WeakPtr<Handle>> all) {
    if (draw_(24) == 23) return draw_(64);
    if (draw_(4) != 0) preferTouched(all);
    u64 const uid = test::oneOf(all, draw_(8));
    touched_.insert(uid);
    return uid;
  }

  template <class Handle>
  void preferTouched(std::vector<WeakPtr<Handle>>& all) const {
    auto const isTouched = [&](auto entity) { return touched_.contains(entity.id()); };
    if (std::ranges::any_of(all, isTouched)) std::erase_if(all, std::not_fn(isTouched));
  }

  Project& project_;
  std::set<u64>& touched_;
  Draw draw_;
};

/// Keeps the entities few: with more than `most` of them there is no room.
template <class Handle>
void requireRoom(std::vector<WeakPtr<Handle>> const& list, std::size_t most) {
  if (list.size() >= most) throw varnel::ExceptionBase{"There is no room for more.", true};
}

inline void setTypedValue(Project& p, Choice& c) {
  Variable const variable{c.variable(), NoLockRequired{}};
  Record const record{c.record(), NoLockRequired{}};
  auto const type = c(4) == 3 ? Variant::Type{c(4)} : p.variableDataType(variable.getWeakPtr().id());
  p.setValue(variable, record, c.value(type));
}

inline void setUntypedRow(Project& p, Choice& c) {
  u64 const record = c.record();
  std::vector<Variant> row;
  auto const cells = p.variables().size() - (c(16) == 15);
  for (std::uint32_t i = c(40); row.size() < cells; i += 7) row.push_back(someValue(i, i));
  p.setRow(record, row);
}

/// One kind of edit. What it makes of the choice may be refused.
struct RandomEdit {
  char const* name;
  void (*make)(Project&, Choice&);
};

/// Every operation that changes a project.
inline constexpr RandomEdit randomEdits[] = {
    {"addRecord",
     [](Project& p, Choice& c) {
       requireRoom(p.records(), 6);
       c.touch(p.addRecord());
     }},
    {"addVariable",
     [](Project& p, Choice& c) {
       requireRoom(p.variables(), 6);
       c.touch(p.addVariable(c.oneOf({"a", "b"}), VariableNature{c(3)}, Variant::Type{c(4)}, c.value()));
     }},
    {"addCalcVariable",
     [](Project& p, Choice& c) {
       requireRoom(p.variables(), 6);
       c.touch(p.addCalcVariable(c.oneOf({"a", "b"}), VariableNature{c(3)}, c.oneOf({"1", "a", "("})));
     }},
    {"addTagGroup",
     [](Project& p, Choice& c) {
       requireRoom(p.tagGroups(), 3);
       c.touch(p.addTagGroup(c.oneOf({"g", "h", "i"})));
     }},
    {"addPathRegex",
     [](Project& p, Choice& c) {
       requireRoom(p.pathRegexs(), 3);
       c.touch(p.addPathRegex(c.oneOf({"*", "f?"}), c.oneOf({"t", "u"})));
     }},
    {"addVariableRegex",
     [](Project& p, Choice& c) {
       requireRoom(p.variableRegexs(), 3);
       c.touch(p.addVariableRegex(c.oneOf({"*", "a?"}), Variable{c.variable(), NoLockRequired{}}));
     }},
    {"addAuxFile",
     [](Project& p, Choice& c) {
       requireRoom(p.auxFiles(), 8);
       c.touch(p.addAuxFile(c.record(), c.oneOf({"f", "g", ""}), c.oneOf({"", "t"})));
     }},
    {"setValue", setTypedValue},
    {"setRow", setUntypedRow},
    {"activate", [](Project& p, Choice& c) { p.activate(c.record(), true); }},
    {"deactivate", [](Project& p, Choice& c) { p.activate(c.record(), false); }},
    {"setDataType", [](Project& p, Choice& c) { p.setVariableDataType(c.variable(), Variant::Type{c(5)}); }},
    {"setOrdinary", [](Project& p, Choice& c) { p.setVariableType(c.variable(), VariableType::Ordinary); }},
    {"setCalculated", [](Project& p, Choice& c) { p.setVariableType(c.variable(), VariableType::Calculated); }},
    {"setOtherType", [](Project& p, Choice& c) { p.setVariableType(c.variable(), VariableType{c(4) + 2}); }},
    {"setNature", [](Project& p, Choice& c) { p.setVariableNature(c.variable(), VariableNature{c(9)}); }},
    {"setVariableText", [](Project& p, Choice& c) { p.setVariableDescription(c.variable(), c.oneOf({"", "d", "e"})); }},
    {"setVariableName", [](Project& p, Choice& c) { p.setVariableName(c.variable(), c.oneOf({"a", "b", "c"})); }},
    {"setExpression", [](Project& p, Choice& c) { p.setVariableExpression(c.variable(), c.oneOf({"2", "b", ")"})); }},
    {"setDefaultValue", [](Project& p, Choice& c) { p.setVariableDefaultValue(c.variable(), c.value()); }},
    {"setFriendlyName", [](Project& p, Choice& c) { p.setFriendlyName(someText(c(5))); }},
    {"setDescription", [](Project& p, Choice& c) { p.setDescription(someText(c(5))); }},
    {"setRootPath", [](Project& p, Choice& c) { p.setRootPath(someText(c(5))); }},
    {"setTagGroupName", [](Project& p, Choice& c) { p.setTagGroupName(c.group(), c.oneOf({"g", "h", "i", "j"})); }},
    {"addTag", [](Project& p, Choice& c) { p.addTag(c.group(), c.oneOf({"t", "u"})); }},
    {"insertTag", [](Project& p, Choice& c) { p.insertTag(c.group(), c.oneOf({"t", "u"}), c(3)); }},
    {"removeTag", [](Project& p, Choice& c) { p.removeTag(c.group(), c.oneOf({"t", "u"})); }},
    {"setPathPattern",
     [](Project& p, Choice& c) { p.setPathRegexExpression(c.pathRule(), std::string(c(2) * 5000, 'x')); }},
    {"setPathTarget", [](Project& p, Choice& c) { p.setPathRegexTarget(c.pathRule(), c.oneOf({"t", "u"})); }},
    {"setVariablePattern",
     [](Project& p, Choice& c) { p.setVariableRegexExpression(c.variableRule(), c.oneOf({"*", "(", ""})); }},
    {"setVariableTarget", [](Project& p, Choice& c) { p.setVariableRegexTarget(c.variableRule(), c.variable()); }},
    {"eraseRecord", [](Project& p, Choice& c) { p.eraseRecord(c.record()); }},
    {"eraseVariable", [](Project& p, Choice& c) { p.eraseVariable(c.variable()); }},
    {"eraseAuxFile", [](Project& p, Choice& c) { p.eraseAuxFile(c.file()); }},
    {"eraseTagGroup", [](Project& p, Choice& c) { p.eraseTagGroup(c.group()); }},
    {"erasePathRegex", [](Project& p, Choice& c) { p.erasePathRegex(c.pathRule()); }},
    {"eraseVariableRegex", [](Project& p, Choice& c) { p.eraseVariableRegex(c.variableRule()); }},
};

/// The edits of one open transaction.
class RandomEdits {
 public:
  explicit RandomEdits(Project& project) : project_{project} {}

  /// Makes the edit that the word stands for. Gives its place among `randomEdits`, nothing when it was refused.
  std::optional<std::size_t> make(u64 word) {
    auto const kinds = std::size(randomEdits);
    Choice choice{project_, touched_, word / kinds};
    try {
      randomEdits[word % kinds].make(project_, choice);
      return word % kinds;
    } catch (varnel::ExceptionBase const&) {
      return std::nullopt;
    }
  }

 private:
  Project& project_;
  std::set<u64> touched_;
};

}  // namespace casebook::test
