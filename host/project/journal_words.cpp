#include "project/journal_words.h"

#include "project/words.h"
#include "text/utf8.h"

#include <casebook/exception_base.h>

#include <fmt/format.h>

#include <algorithm>

namespace casebook::cli {

/// The fields of one command, by name.
class CommandFields {
 public:
  explicit CommandFields(Journal::Command const& command) : fields_{Journal::fields(command)} {}

  [[nodiscard]] u64 number(std::string_view name) const { return get<u64>(name); }
  [[nodiscard]] std::string const& text(std::string_view name) const { return get<std::string>(name); }
  [[nodiscard]] Variant const& value(std::string_view name) const { return get<Variant>(name); }
  [[nodiscard]] std::vector<Variant> const& values(std::string_view name) const {
    return get<std::vector<Variant>>(name);
  }
  [[nodiscard]] bool has(std::string_view name) const {
    return std::ranges::find(fields_, name, &Journal::Field::name) != fields_.end();
  }
  [[nodiscard]] u64 uid() const { return number("uid"); }

  /// What the command changed: `3750 -> 3800`, with each value put in words by `words`; the value alone where it
  /// stayed.
  template <class Words>
  [[nodiscard]] std::string change(Words const& words) const {
    if (value("oldValue") == value("newValue")) return words(value("newValue"));
    return fmt::format("{} -> {}", words(value("oldValue")), words(value("newValue")));
  }
  [[nodiscard]] std::string change() const { return change(valueWords); }

 private:
  template <class T>
  [[nodiscard]] T const& get(std::string_view name) const {
    auto const field = std::ranges::find(fields_, name, &Journal::Field::name);
    if (field == fields_.end() || !std::holds_alternative<T>(field->value))
      throw varnel::ExceptionBase{fmt::format("A journal command has no field \"{}\".", name), true};
    return std::get<T>(field->value);
  }

  std::vector<Journal::Field> fields_;
};

namespace {

constexpr u64 caseIdUid = 1;

std::string lookUp(std::map<u64, std::string> const& names, u64 uid) {
  auto const known = names.find(uid);
  return known == names.end() ? fmt::format("#{}", uid) : inQuotes(known->second);
}

std::string typeOf(Variant const& value) { return typeWord(static_cast<VariableDataType>(value.longValue())); }
std::string natureOf(Variant const& value) { return natureWord(static_cast<VariableNature>(value.longValue())); }
std::string forTag(CommandFields const& fields) {
  return fmt::format(" for the tag {}", inQuotes(fields.text("target")));
}
std::string withTag(CommandFields const& fields) {
  std::string const& tag = fields.text("tag");
  return tag.empty() ? "" : fmt::format(", with the tag {}", inQuotes(tag));
}
std::string textOf(Variant const& value) { return printable(value.stringValue()); }
std::string kindOf(Variant const& value) {
  switch (static_cast<VariableType>(value.longValue())) {
    case VariableType::Ordinary: return "ordinary";
    case VariableType::Calculated: return "calculated";
    case VariableType::CaseStatus: return "case status";
    case VariableType::CaseIdentifier: return "case identifier";
  }
  return value.toString();
}

}  // namespace

std::vector<std::string> JournalWords::describe(Journal::Bytes block) {
  std::vector<std::string> sentences;
  for (Journal::Command const& command : Journal::Transaction{block, 0}.commands())
    sentences.push_back(describe(command));
  return sentences;
}

std::string JournalWords::describe(Journal::Command const& command) {
  try {
    return describe(command.code, CommandFields{command});
  } catch (varnel::ExceptionBase const&) {
    return fmt::format("command {:#x} of {} bytes, which cannot be read here", command.code, command.payload.size());
  }
}

std::string JournalWords::describe(std::uint32_t code, CommandFields const& fields) {
  using namespace Journal;
  // The column that it carries is what the variable held until then.
  if (code == (VariableMadeStatic | Inverse)) return fmt::format("{} is computed from now on", variable(fields.uid()));
  switch (static_cast<Code>(code)) {
    case FriendlyName: return fmt::format("project name: {}", fields.change());
    case Description: return fmt::format("project description: {}", fields.change());
    case RootPath: return fmt::format("project root: {}", fields.change());

    case VariableCreated: return variableCreated(fields);
    case VariableErased: return variableErased(fields);
    case VariableNameSet: return variableRenamed(fields);
    case VariableDataTypeSet: return fmt::format("{}: type {}", variable(fields.uid()), fields.change(typeOf));
    case VariableTypeSet: return fmt::format("{}: kind {}", variable(fields.uid()), fields.change(kindOf));
    case VariableNatureSet: return fmt::format("{}: nature {}", variable(fields.uid()), fields.change(natureOf));
    case VariableDescriptionSet: return fmt::format("{}: description {}", variable(fields.uid()), fields.change());
    case VariableExpressionSet: return fmt::format("{}: expression {}", variable(fields.uid()), fields.change());
    case VariableDefaultValueSet: return fmt::format("{}: default {}", variable(fields.uid()), fields.change());
    case VariableMadeStatic: return fmt::format("{} is not computed any more", variable(fields.uid()));
    case CellSet: return cellSet(fields);

    case RecordCreated: return recordCreated(fields);
    case RecordInserted: return recordInserted(fields);
    case RecordErased: return recordErased(fields);
    case RecordStatusSet: return statusSet(fields);

    case AuxFileCreated: return fileCreated(fields);
    case AuxFileErased: return fileErased(fields);

    case VariableRegexCreated: return otherCreated("rule", fields, forVariable(fields));
    case PathRegexCreated: return otherCreated("rule", fields, forTag(fields));
    case VariableRegexErased: return otherErased("rule", fields, forVariable(fields));
    case PathRegexErased: return otherErased("rule", fields, forTag(fields));
    case VariableRegexExpressionSet:
    case PathRegexExpressionSet: return otherRenamed("rule", "changed", fields);
    case VariableRegexTargetSet:
      return fmt::format("rule {}: target {}", other(fields.uid()),
                         fields.change([this](Variant const& target) { return variable(target.longValue()); }));
    case PathRegexTargetSet: return fmt::format("rule {}: tag {}", other(fields.uid()), fields.change());

    case TagGroupCreated: return otherCreated("tag group", fields);
    case TagGroupErased: return otherErased("tag group", fields);
    case TagGroupNameSet: return otherRenamed("tag group", "renamed", fields);
    case TagAdded:
      return fmt::format("tag group {}: {} added", other(fields.uid()), valueWords(fields.value("newValue")));
    case TagRemoved:
      return fmt::format("tag group {}: {} removed", other(fields.uid()), valueWords(fields.value("newValue")));
    case Inverse: break;
  }
  return fmt::format("command {:#x}", code);
}

std::string JournalWords::variableCreated(CommandFields const& fields) {
  variables_[fields.uid()] = fields.text("name");
  auto const isCalculated = fields.number("variableType") == static_cast<u64>(VariableType::Calculated);
  std::string words = isCalculated ? fmt::format("computed as {}", inQuotes(fields.text("expression")))
                                   : typeWord(static_cast<VariableDataType>(fields.number("dataType")));
  auto const nature = static_cast<VariableNature>(fields.number("nature"));
  if (nature != VariableNature::Unspecified) words += fmt::format(", {}", natureWord(nature));
  return fmt::format("{} {} ({})", variable(fields.uid()), comes(fields.uid()), words);
}

std::string JournalWords::variableErased(CommandFields const& fields) {
  std::string words = fmt::format("{} removed", variable(fields.uid()));
  goes(fields.uid());
  variables_.erase(fields.uid());
  return words;
}

std::string JournalWords::variableRenamed(CommandFields const& fields) {
  std::string words = fmt::format("{} renamed to {}", variable(fields.uid()), valueWords(fields.value("newValue")));
  variables_[fields.uid()] = fields.value("newValue").stringValue();
  return words;
}

std::string JournalWords::cellSet(CommandFields const& fields) {
  u64 const uid = fields.number("record");
  u64 const column = fields.number("variable");
  std::string words = fmt::format("{}, {}: {}", record(uid), lookUp(variables_, column), fields.change());
  if (column == caseIdUid) caseIds_[uid] = fields.value("newValue").longValue();
  return words;
}

// The command does not say which case identifier the project gave: one more than that of the last record.
std::string JournalWords::recordCreated(CommandFields const& fields) {
  u64 const next = caseIds_.empty() ? 1 : caseIds_.rbegin()->second + 1;
  caseIds_[fields.uid()] = static_cast<std::uint32_t>(next);
  return fmt::format("{} {}", record(fields.uid()), comes(fields.uid()));
}

std::string JournalWords::recordInserted(CommandFields const& fields) {
  auto const& row = fields.values("row");
  caseIds_[fields.uid()] = row.empty() ? 0 : row.front().longValue();
  return fmt::format("{} {}", record(fields.uid()), comes(fields.uid()));
}

std::string JournalWords::recordErased(CommandFields const& fields) {
  std::string words = fmt::format("{} removed", record(fields.uid()));
  caseIds_.erase(fields.uid());
  goes(fields.uid());
  return words;
}

std::string JournalWords::fileCreated(CommandFields const& fields) {
  bool const isBack = gone_.erase(fields.uid()) > 0;
  return fmt::format("file {} attached to {}{}{}", inQuotes(fields.text("path")), record(fields.number("record")),
                     isBack ? " again" : "", withTag(fields));
}

std::string JournalWords::fileErased(CommandFields const& fields) {
  goes(fields.uid());
  return fmt::format("file {} removed from {}{}", inQuotes(fields.text("path")), record(fields.number("record")),
                     withTag(fields));
}

std::string JournalWords::statusSet(CommandFields const& fields) {
  auto const& status = fields.value("newValue");
  return status == fields.value("oldValue") ? fmt::format("{} is {}", record(fields.uid()), textOf(status))
                                            : fmt::format("{}: {}", record(fields.uid()), fields.change(textOf));
}

std::string JournalWords::otherCreated(std::string_view kind, CommandFields const& fields, std::string_view what) {
  others_[fields.uid()] = fields.text(fields.has("expression") ? "expression" : "name");
  return fmt::format("{} {}{} {}", kind, other(fields.uid()), what, comes(fields.uid()));
}

std::string JournalWords::otherErased(std::string_view kind, CommandFields const& fields, std::string_view what) {
  std::string words = fmt::format("{} {}{} removed", kind, other(fields.uid()), what);
  goes(fields.uid());
  others_.erase(fields.uid());
  return words;
}

std::string JournalWords::otherRenamed(std::string_view kind, std::string_view how, CommandFields const& fields) {
  std::string words =
      fmt::format("{} {} {} to {}", kind, other(fields.uid()), how, valueWords(fields.value("newValue")));
  others_[fields.uid()] = fields.value("newValue").stringValue();
  return words;
}

std::string JournalWords::forVariable(CommandFields const& fields) const {
  return fmt::format(" for {}", variable(fields.number("target")));
}

// A UID is never handed out twice: what brings one that went is undoing a removal, or redoing a creation.
std::string_view JournalWords::comes(u64 uid) { return gone_.erase(uid) > 0 ? "put back" : "added"; }

std::string JournalWords::variable(u64 uid) const { return fmt::format("variable {}", lookUp(variables_, uid)); }

std::string JournalWords::record(u64 uid) const {
  auto const known = caseIds_.find(uid);
  return known == caseIds_.end() ? fmt::format("case #{}", uid) : fmt::format("case {}", known->second);
}

std::string JournalWords::other(u64 uid) const { return lookUp(others_, uid); }

}  // namespace casebook::cli
