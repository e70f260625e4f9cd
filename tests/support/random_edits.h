#pragma once

#include "support/current_project.h"

#include <boost/smart_ptr/make_shared.hpp>

#include <algorithm>
#include <bitset>
#include <limits>

namespace casebook::test {

inline Variant someValue(std::uint32_t type, std::uint32_t n) {
  constexpr double numbers[] = {0.0, -0.0, 1.5, -1e300, std::numeric_limits<double>::quiet_NaN()};
  switch (type % 4) {
    case 0: return {};
    case 1: return Variant::ofWord(n % 3 == 0 ? ~u64{n} : n, Variant::UnsignedInteger);
    case 2: return numbers[n % 5];
    default: return std::string(n % 40, static_cast<char>(n));
  }
}

/// The entities that a transaction touched, by their UIDs modulo the size, for it must not allocate.
using Touched = std::bitset<256>;

/// What a random edit is made on: few entities, those that the same transaction touched rather than others, whether
/// or not they await their erasure, and now and then one that is not there. All is drawn from one word; it runs out,
/// and then, as from the word 0, all numbers are 0.
class Choice {
 public:
  Choice(Project& project, Touched& touched, u64 word) : project_{project}, touched_{touched}, word_{word} {}

  /// A number below `bound`.
  std::uint32_t operator()(std::uint32_t bound) {
    auto const number = static_cast<std::uint32_t>(word_ % bound);
    word_ /= bound;
    return number;
  }
  char const* oneOf(std::initializer_list<char const*> texts) {
    return texts.begin()[(*this)(static_cast<std::uint32_t>(texts.size()))];
  }
  Variant value(std::uint32_t type) { return someValue(type, (*this)(40)); }
  Variant value() { return value((*this)(4)); }

  u64 record() { return uidOf(project_.records()); }
  u64 variable() { return uidOf(project_.variables()); }
  u64 file() { return uidOf(project_.auxFiles()); }
  u64 group() { return uidOf(project_.tagGroups()); }
  u64 pathRule() { return uidOf(project_.pathRegexs()); }
  u64 variableRule() { return uidOf(project_.variableRegexs()); }

  template <class Handle>
  void touch(WeakPtr<Handle> entity) {
    touched_.set(entity.id() % touched_.size());
  }

 private:
  template <class Handle>
  u64 uidOf(std::vector<WeakPtr<Handle>> all) {
    if ((*this)(24) == 23) return (*this)(64);
    if ((*this)(4) != 0) preferTouched(all);
    u64 const uid = all.empty() ? 0 : all[(*this)(8) % all.size()].id();
    touched_.set(uid % touched_.size());
    return uid;
  }

  template <class Handle>
  void preferTouched(std::vector<WeakPtr<Handle>>& all) const {
    auto const isTouched = [&](auto entity) { return touched_[entity.id() % touched_.size()]; };
    if (std::ranges::any_of(all, isTouched)) std::erase_if(all, std::not_fn(isTouched));
  }

  Project& project_;
  Touched& touched_;
  u64 word_;
};

/// Keeps the entities few: whether an edit that adds one is refused.
inline bool isFull(Project& p) {
  return p.records().size() + p.variables().size() + p.auxFiles().size() >= 16 ||
         p.tagGroups().size() + p.pathRegexs().size() + p.variableRegexs().size() >= 9;
}

inline std::string someTag(Choice& c) { return c.oneOf({"t", "u", "v", "w"}); }

/// A file for every row, of one tag.
class SomeFiles : public AuxFileCollectionInterface {
 public:
  bool empty() const override { return false; }
  std::set<std::string> tags() const override { return {"t"}; }
  std::vector<std::string> files(u64 row, std::string const&) const override {
    if (row % 2 == 0) return {};
    return {"a.png"};
  }
  u64 size() const override { return 2; }
};

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

inline void mergeRows(Project& p, Choice& c) {
  auto const method = MergeMethod{c(3)};
  std::vector<ColumnInfo> columns;
  if (method == MergeMethod::ByCaseId) columns.push_back({"Case ID", {}, Variant::UnsignedInteger});
  for (auto const name : {"a", "b"}) {
    auto const known = p.variable(name);
    if (c(3) == 0) continue;
    if (known) columns.push_back({name, p.variableNature(known.id()), p.variableDataType(known.id())});
    else columns.push_back({name, VariableNature{c(3)}, Variant::Type{c(4)}});
  }
  std::vector<std::vector<Variant>> table;
  std::size_t const rows = 1 + c(3);
  for (auto const& column : columns)
    for (table.emplace_back(); table.back().size() < rows;)
      table.back().push_back(c(4) == 0 ? Variant{} : someValue(column.dataType, c(5)));
  p.merge(table, columns, method, boost::make_shared<SomeFiles>());
}

/// One kind of edit. What it makes of the choice may be refused.
struct RandomEdit {
  char const* name;
  void (*make)(Project&, Choice&);
};

/// Every operation that changes a project. Those that add an entity come first.
inline constexpr std::size_t addingKinds = 8;
inline constexpr RandomEdit randomEdits[] = {
    {"addRecord", [](Project& p, Choice& c) { c.touch(p.addRecord()); }},
    {"addVariable",
     [](Project& p, Choice& c) {
       c.touch(p.addVariable(c.oneOf({"a", "b"}), VariableNature{c(3)}, Variant::Type{c(4)}, c.value()));
     }},
    {"addCalcVariable",
     [](Project& p, Choice& c) {
       c.touch(
           p.addCalcVariable(c.oneOf({"a", "b"}), VariableNature{c(3)}, c.oneOf({"1", "a + 1", "[Case ID] / 3", "("})));
     }},
    {"addTagGroup", [](Project& p, Choice& c) { c.touch(p.addTagGroup(c.oneOf({"g", "h", "i"}))); }},
    {"addPathRegex",
     [](Project& p, Choice& c) { c.touch(p.addPathRegex(c.oneOf({"*", "f?", "*.png", "?.?pg", "f*"}), someTag(c))); }},
    {"addVariableRegex",
     [](Project& p, Choice& c) {
       c.touch(p.addVariableRegex(c.oneOf({"*", "a?"}), Variable{c.variable(), NoLockRequired{}}));
     }},
    {"addAuxFile",
     [](Project& p, Choice& c) {
       c.touch(p.addAuxFile(c.record(), c.oneOf({"f", "a.png", "f/b.JPG", "c.jpg", "", "fa"}),
                            c.oneOf({"", "", "t", "u"})));
     }},
    {"merge", mergeRows},
    {"setValue", setTypedValue},
    {"setRow", setUntypedRow},
    {"activate", [](Project& p, Choice& c) { p.activate(c.record(), c(2) != 0); }},
    {"setDataType", [](Project& p, Choice& c) { p.setVariableDataType(c.variable(), Variant::Type{c(5)}); }},
    {"setOrdinary", [](Project& p, Choice& c) { p.setVariableType(c.variable(), VariableType::Ordinary); }},
    {"setCalculated", [](Project& p, Choice& c) { p.setVariableType(c.variable(), VariableType::Calculated); }},
    {"setOtherType", [](Project& p, Choice& c) { p.setVariableType(c.variable(), VariableType{c(4) + 2}); }},
    {"setNature", [](Project& p, Choice& c) { p.setVariableNature(c.variable(), VariableNature{c(9)}); }},
    {"setVariableText", [](Project& p, Choice& c) { p.setVariableDescription(c.variable(), c.oneOf({"", "d", "e"})); }},
    {"setVariableName", [](Project& p, Choice& c) { p.setVariableName(c.variable(), c.oneOf({"a", "b", "c"})); }},
    {"setExpression",
     [](Project& p, Choice& c) {
       p.setVariableExpression(c.variable(), c.oneOf({"2", "b * a", "coalesce(c, 5)", ")"}));
     }},
    {"setDefaultValue", [](Project& p, Choice& c) { p.setVariableDefaultValue(c.variable(), c.value()); }},
    {"setFriendlyName", [](Project& p, Choice& c) { p.setFriendlyName(c.oneOf({"", "n", "m"})); }},
    {"setDescription", [](Project& p, Choice& c) { p.setDescription(c.oneOf({"", "n", "m"})); }},
    {"setRootPath", [](Project& p, Choice& c) { p.setRootPath(c.oneOf({"", "n", "m"})); }},
    {"setTagGroupName", [](Project& p, Choice& c) { p.setTagGroupName(c.group(), c.oneOf({"g", "h", "i", "j"})); }},
    {"addTag", [](Project& p, Choice& c) { p.addTag(c.group(), someTag(c)); }},
    {"insertTag", [](Project& p, Choice& c) { p.insertTag(c.group(), someTag(c), c(3)); }},
    {"removeTag", [](Project& p, Choice& c) { p.removeTag(c.group(), someTag(c)); }},
    {"setPathPattern",
     [](Project& p, Choice& c) {
       p.setPathRegexExpression(c.pathRule(), c(8) == 7 ? std::string(5000, 'x') : c.oneOf({"", "*g", "a*", "x"}));
     }},
    {"setPathTarget", [](Project& p, Choice& c) { p.setPathRegexTarget(c.pathRule(), someTag(c)); }},
    {"removeTags", [](Project& p, Choice& c) { p.removeTags({someTag(c), someTag(c)}); }},
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

/// The kind of edit that a word stands for.
inline RandomEdit const& kindOf(u64 word) { return randomEdits[word % std::size(randomEdits)]; }

/// The edits of one open transaction.
class RandomEdits {
 public:
  explicit RandomEdits(Project& project) : project_{project} {}

  /// Makes the edit that the word stands for; false when it was refused.
  bool make(u64 word) {
    Choice choice{project_, touched_, word / std::size(randomEdits)};
    try {
      if (word % std::size(randomEdits) < addingKinds && isFull(project_)) return false;
      kindOf(word).make(project_, choice);
      return true;
    } catch (varnel::ExceptionBase const&) {
      return false;
    }
  }

 private:
  Project& project_;
  Touched touched_;
};

}  // namespace casebook::test
