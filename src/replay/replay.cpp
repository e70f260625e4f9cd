#include "replay/replay.h"

#include "platform/unavailable.h"
#include "store/property.h"
#include "transactions/payload.h"

namespace casebook {

namespace {

constexpr u64 firstInvalidUid = u64{1} << 63;

[[noreturn]] void refuse(char const* why) { throw varnel::ExceptionBase{why, true}; }

enum class CodeKind : std::uint32_t { Project = 1, Variable, Record, AuxFile, VariableRegex, PathRegex, TagGroup };

CodeKind kindOfCode(std::uint32_t code) { return static_cast<CodeKind>(code >> 12); }

}  // namespace

Replay::Replay(Store& store, ChangeSink& sink, Table& table, AuxFiles& auxFiles, TagGroups& tagGroups,
               VariableRules& variableRules, PathRules& pathRules)
    : store_{store},
      sink_{sink},
      table_{table},
      auxFiles_{auxFiles},
      tagGroups_{tagGroups},
      variableRules_{variableRules},
      pathRules_{pathRules} {
  storeCommandProcessors();
}

void Replay::storeCommandProcessors() {
  processors_ = {
      {Journal::VariableCreated, &Replay::processVariable},
      {Journal::CellSet, &Replay::processSetValue},
      {Journal::VariableMadeStatic, &Replay::processUnavailable},
      {Journal::RecordCreated, &Replay::processRecord},
      {Journal::RecordInserted, &Replay::processUnavailable},
      {Journal::AuxFileCreated, &Replay::processAuxFile},
      {Journal::VariableRegexCreated, &Replay::processVariableRegex},
      {Journal::PathRegexCreated, &Replay::processPathRegex},
      {Journal::TagGroupCreated, &Replay::processTagGroup},
  };
}

void Replay::run(Journal::Transaction const& block, Journal::Direction direction) {
  if (direction != Journal::Direction::Forwards) refuseUnavailable("Undo");
  for (auto const& command : block.commands()) process(command, direction);
}

void Replay::process(Journal::Command const& command, Journal::Direction direction) {
  bool const backwards = direction != Journal::Direction::Forwards;
  bool const stored = (command.code & Journal::Inverse) != 0;
  UndoData data{{command.payload.data(), command.payload.size()},
                backwards != stored,
                command.code & ~std::uint32_t{Journal::Inverse}};
  auto const found = processors_.find(data.code);
  (this->*(found == processors_.end() ? &Replay::processChangeItem : found->second))(data);
}

/// The entity of an insertion: its UID must be one that was handed out and is free.
template <class Entity>
Entity Replay::readNew(UndoData& data) const {
  if (data.inverse) refuseUnavailable("The replay of an erasure");
  auto entity = readPayload<Entity>(data.reader);
  if (entity.id == 0 || entity.id >= firstInvalidUid) refuse("A journal command holds an invalid identifier.");
  if (store_.map<Entity>().find(entity.id)) refuse("A journal command inserts a data entity that is there already.");
  return entity;
}

void Replay::processVariable(UndoData& data) {
  auto variable = readNew<DataVariable>(data);
  if (variable.values.size() != table_.rowCount()) refuse("A journal command holds a column of the wrong length.");
  table_.insertVariable(std::move(variable));
}

void Replay::processRecord(UndoData& data) { table_.insertRecord(readNew<DataRecord>(data).id); }

void Replay::processAuxFile(UndoData& data) { auxFiles_.insert(readNew<DataAuxFile>(data)); }

void Replay::processVariableRegex(UndoData& data) { variableRules_.insert(readNew<DataVariableRegex>(data)); }

void Replay::processPathRegex(UndoData& data) { pathRules_.insert(readNew<DataPathRegex>(data)); }

void Replay::processTagGroup(UndoData& data) { tagGroups_.insert(readNew<DataTagGroup>(data)); }

void Replay::processUnavailable(UndoData&) { refuseUnavailable("The replay of this journal command"); }

void Replay::processSetValue(UndoData& data) {
  auto const cell = readPayload<CellPayload>(data.reader);
  auto& variable = store_.variables.at(cell.variable);
  table_.setCell(variable, store_.records.at(cell.record), data.inverse ? cell.oldValue : cell.newValue);
}

void Replay::processChangeItem(UndoData& data) {
  auto const applies = [&](ChangeItem const& item, Variant const& value) {
    switch (kindOfCode(data.code)) {
      case CodeKind::Project: return setPropertyByCode(sink_, store_.texts, data.code, value);
      case CodeKind::Variable: return applyToVariable(item.uid, data.code, value);
      case CodeKind::Record: return applyToRecord(item.uid, data.code, value);
      case CodeKind::VariableRegex: return applyToVariableRegex(item.uid, data.code, value);
      case CodeKind::PathRegex: return applyToPathRegex(item.uid, data.code, value);
      case CodeKind::TagGroup:
        if (data.code != Journal::TagAdded) return applyToTagGroup(item.uid, data.code, value);
        applyTag(item.uid, item.index, item.newValue.stringValue(), data.inverse);
        return true;
      case CodeKind::AuxFile: break;
    }
    return false;
  };
  if (!Journal::isChangeItem(data.code)) refuseUnknownCommand();
  auto const item = readPayload<ChangeItem>(data.reader);
  if (!applies(item, data.inverse ? item.oldValue : item.newValue)) refuseUnknownCommand();
}

bool Replay::applyToVariable(u64 uid, std::uint32_t code, Variant const& value) {
  auto& variable = store_.variables.at(uid);
  if (code != Journal::VariableTypeSet) return setPropertyByCode(sink_, variable, code, value);
  table_.setVariableType(variable, fromItemValue<VariableType>(value));
  return true;
}

bool Replay::applyToRecord(u64 uid, std::uint32_t code, Variant const& value) {
  if (code != Journal::RecordStatusSet) return false;
  if (!store_.caseStatus) refuse("A journal command sets a case status, and there is no Case Status variable.");
  table_.setStatus(store_.records.at(uid), value);
  return true;
}

bool Replay::applyToVariableRegex(u64 uid, std::uint32_t code, Variant const& value) {
  if (code != Journal::VariableRegexExpressionSet)
    return setPropertyByCode(sink_, store_.variableRegexs.at(uid), code, value);
  variableRules_.setExpression(uid, value.stringValue());
  return true;
}

bool Replay::applyToPathRegex(u64 uid, std::uint32_t code, Variant const& value) {
  if (code != Journal::PathRegexExpressionSet) return setPropertyByCode(sink_, store_.pathRegexs.at(uid), code, value);
  pathRules_.setExpression(uid, value.stringValue());
  return true;
}

bool Replay::applyToTagGroup(u64 uid, std::uint32_t code, Variant const& value) {
  return setPropertyByCode(sink_, store_.tagGroups.at(uid), code, value);
}

void Replay::applyTag(u64 group, u64 index, std::string const& tag, bool remove) {
  if (!remove) return tagGroups_.insertTag(group, tag, index);
  if (index >= store_.tagGroups.at(group).tags.size())
    refuse("A journal command removes a tag beyond the end of its group.");
  tagGroups_.removeTagAt(group, index);
}

}  // namespace casebook
