#include "replay/replay.h"

#include "platform/first_error.h"
#include "store/property.h"
#include "transactions/payload.h"

#include <cstring>
#include <optional>

namespace casebook {

namespace {

constexpr u64 firstInvalidUid = u64{1} << 62;  // which leaves room for those that come after

[[noreturn]] void refuse(char const* why) { throw varnel::ExceptionBase{why, true}; }

enum class CodeKind : std::uint32_t { Project = 1, Variable, Record, AuxFile, VariableRegex, PathRegex, TagGroup };

CodeKind kindOfCode(std::uint32_t code) { return static_cast<CodeKind>(code >> 12); }

constexpr std::uint32_t withoutInverse(std::uint32_t code) { return code & ~std::uint32_t{Journal::Inverse}; }

/// What a CellSet names, whatever its values are: the last two numbers of its payload.
struct CellName {
  u64 record;
  u64 variable;
};

std::optional<CellName> cellOf(Journal::Command const& command) noexcept {
  CellName cell{};
  if (command.code != Journal::CellSet || command.payload.size() < sizeof cell) return std::nullopt;
  std::memcpy(&cell, command.payload.last(sizeof cell).data(), sizeof cell);
  return cell;
}

/// Commands that leave every column as it is, while rows of records are loose.
bool leavesColumns(std::uint32_t code) {
  return code == Journal::RecordCreated || code == Journal::RecordInserted || code == Journal::AuxFileCreated;
}

}  // namespace

Replay::Replay(Store& store, ChangeSink& sink, Table& table, AuxFiles& auxFiles, TagGroups& tagGroups,
               VariableRules& variableRules, PathRules& pathRules, Deletion& deletion)
    : store_{store},
      sink_{sink},
      table_{table},
      auxFiles_{auxFiles},
      tagGroups_{tagGroups},
      variableRules_{variableRules},
      pathRules_{pathRules},
      deletion_{deletion} {
  storeCommandProcessors();
}

void Replay::storeCommandProcessors() {
  processors_ = {
      {Journal::VariableCreated, &Replay::processVariable},
      {Journal::CellSet, &Replay::processSetValueCommand},
      {Journal::VariableMadeStatic, &Replay::processSetVariableStaticCommand},
      {Journal::RecordCreated, &Replay::processRecord},
      {Journal::RecordInserted, &Replay::processRecordWithRow},
      {Journal::AuxFileCreated, &Replay::processAuxFile},
      {Journal::VariableRegexCreated, &Replay::processVariableRegex},
      {Journal::PathRegexCreated, &Replay::processPathRegex},
      {Journal::TagGroupCreated, &Replay::processTagGroup},
  };
}

// Every column has a cell for each record when a host sees the table again, also after a refusal.
void Replay::run(Journal::Transaction const& block, Journal::Direction direction) {
  FirstError error;
  error.guard([&] { walk(block.bytes(), direction != Journal::Direction::Forwards); });
  table_.settleRows();
  error.rethrow();
  deletion_.performDelayedErasures();
}

// Cells are written all over the table: what a command will need is asked of the memory some commands ahead.
void Replay::walk(Journal::Bytes block, bool backwards) {
  constexpr std::size_t aheadOfCell = 16;
  constexpr std::size_t aheadOfText = 8;
  CommandList const commands{block};
  auto const count = commands.size();
  auto const at = [&](std::size_t k) { return commands[backwards ? count - 1 - k : k]; };
  for (std::size_t k = 0; k < count; ++k) {
    if (k + aheadOfCell < count) __builtin_prefetch(cellAt(at(k + aheadOfCell)));
    if (k + aheadOfText < count) __builtin_prefetch(textAt(at(k + aheadOfText)));
    process(at(k), backwards);
  }
}

/// The cell that a command writes; null for other commands, and where there is none.
Variant const* Replay::cellAt(Journal::Command const& command) const noexcept {
  auto const cell = cellOf(command);
  if (!cell) return nullptr;
  auto const* const variable = store_.variables.find(cell->variable);
  auto const row = store_.rowOfRecord.find(cell->record);
  return variable && row < variable->values.size() ? &variable->values[row] : nullptr;
}

/// The text that such a cell holds.
std::string const* Replay::textAt(Journal::Command const& command) const noexcept {
  auto const* const cell = cellAt(command);
  return cell && cell->type() == Variant::String ? &cell->stringValue() : nullptr;
}

void Replay::process(Journal::Command const& command, bool backwards) {
  bool const inverseStored = (command.code & Journal::Inverse) != 0;
  UndoData data{
      {command.payload.data(), command.payload.size()}, backwards != inverseStored, withoutInverse(command.code)};
  if (!leavesColumns(data.code)) table_.settleRows();
  (this->*processorOf(data.code))(data);
}

auto Replay::processorOf(std::uint32_t code) -> Processor {
  if (code == lastCode_) return lastProcessor_;
  auto const found = processors_.find(code);
  lastCode_ = code;
  return lastProcessor_ = found == processors_.end() ? &Replay::processChangeItemCommand : found->second;
}

/// An entity that is to be inserted brings a UID that can have been handed out and that nothing holds.
void Replay::requireFree(u64 uid) const {
  if (uid == 0 || uid >= firstInvalidUid) refuse("A journal command holds an invalid identifier.");
  if (store_.holds(uid)) refuse("A journal command inserts a data entity that is there already.");
}

template <class Entity>
void Replay::remove(u64 uid) {
  deletion_.removeNow(store_.map<Entity>().at(uid));
}

template <class Entity, class Owner>
void Replay::insertOrRemove(UndoData& data, Owner& owner) {
  auto entity = readPayload<Entity>(data.reader);
  if (data.inverse) return remove<Entity>(entity.id);
  requireFree(entity.id);
  owner.insert(std::move(entity));
}

void Replay::processVariable(UndoData& data) {
  auto variable = readPayload<DataVariable>(data.reader);
  if (data.inverse) {
    if (variable.id == store_.caseId->id) refuse("Cannot delete Case ID variable");
    return remove<DataVariable>(variable.id);
  }
  requireFree(variable.id);
  if (variable.values.size() != table_.rowCount()) refuse("A journal command holds a column of the wrong length.");
  table_.insertVariable(std::move(variable));
}

void Replay::processRecord(UndoData& data) {
  u64 const uid = readPayload<DataRecord>(data.reader).id;
  if (data.inverse) return remove<DataRecord>(uid);
  requireFree(uid);
  table_.insertRecord(uid, table_.newRow());
}

void Replay::processRecordWithRow(UndoData& data) {
  auto record = readPayload<RecordRowPayload>(data.reader);
  if (data.inverse) return remove<DataRecord>(record.uid);
  requireFree(record.uid);
  if (record.row.size() != store_.variables.size()) refuse("A journal command holds a row of the wrong length.");
  table_.insertRecord(record.uid, std::move(record.row));
}

void Replay::processAuxFile(UndoData& data) { insertOrRemove<DataAuxFile>(data, auxFiles_); }

void Replay::processVariableRegex(UndoData& data) { insertOrRemove<DataVariableRegex>(data, variableRules_); }

void Replay::processPathRegex(UndoData& data) { insertOrRemove<DataPathRegex>(data, pathRules_); }

void Replay::processTagGroup(UndoData& data) { insertOrRemove<DataTagGroup>(data, tagGroups_); }

// What the command names stands behind its values.
void Replay::processSetValueCommand(UndoData& data) {
  auto in = data.reader;
  for (int value = 0; value < 2; ++value) skipValue(in);
  auto const record = readNumber<u64>(in);
  auto& variable = store_.variables.at(readNumber<u64>(in));
  if (!data.inverse) skipValue(data.reader);
  table_.setCell(variable, store_.rowOf(record), readValue(data.reader, variable.texts));
}

void Replay::processSetVariableStaticCommand(UndoData& data) {
  auto column = readPayload<StaticVariablePayload>(data.reader);
  auto& variable = store_.variables.at(column.uid);
  if (column.values.size() != table_.rowCount()) refuse("A journal command holds a column of the wrong length.");
  if (data.inverse) table_.makeCalculated(variable);
  else table_.makeStatic(variable, std::move(column.values));
}

void Replay::processChangeItemCommand(UndoData& data) {
  auto const apply = [&](ChangeItem const& item, Variant const& value) {
    switch (kindOfCode(data.code)) {
      case CodeKind::Project: return setPropertyByCode(sink_, store_.texts, data.code, value);
      case CodeKind::Variable: return applyToVariable(item.uid, data.code, value);
      case CodeKind::Record: return applyToRecord(item.uid, data.code, value);
      case CodeKind::VariableRegex:
        return setPropertyByCode(sink_, store_.variableRegexs.at(item.uid), data.code, value);
      case CodeKind::PathRegex: return setPropertyByCode(sink_, store_.pathRegexs.at(item.uid), data.code, value);
      case CodeKind::TagGroup:
        if (data.code != Journal::TagAdded)
          return setPropertyByCode(sink_, store_.tagGroups.at(item.uid), data.code, value);
        applyTag(item.uid, item.index, item.newValue.stringValue(), data.inverse);
        return true;
      case CodeKind::AuxFile: break;
    }
    return false;
  };
  if (!Journal::isChangeItem(data.code)) refuseUnknownCommand();
  auto const item = readPayload<ChangeItem>(data.reader);
  if (!apply(item, data.inverse ? item.oldValue : item.newValue)) refuseUnknownCommand();
}

bool Replay::applyToVariable(u64 uid, std::uint32_t code, Variant const& value) {
  auto& variable = store_.variables.at(uid);
  if (code != Journal::VariableTypeSet) return setPropertyByCode(sink_, variable, code, value);
  table_.replayVariableType(variable, fromItemValue<VariableType>(value));
  return true;
}

bool Replay::applyToRecord(u64 uid, std::uint32_t code, Variant const& value) {
  if (code != Journal::RecordStatusSet) return false;
  if (!store_.statusVariable) refuse("A journal command sets a case status, and there is no Case Status variable.");
  table_.setStatus(store_.rowOf(uid), value);
  return true;
}

void Replay::applyTag(u64 group, u64 index, std::string const& tag, bool remove) {
  if (!remove) return tagGroups_.insertTag(group, tag, index);
  if (index >= store_.tagGroups.at(group).tags.size())
    refuse("A journal command removes a tag beyond the end of its group.");
  tagGroups_.removeTagAt(group, index);
}

}  // namespace casebook
