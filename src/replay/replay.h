#pragma once

#include <casebook/journal.h>

#include "auxtags/aux_files.h"
#include "auxtags/rules.h"
#include "auxtags/tag_groups.h"
#include "serialization/number_format.h"
#include "store/table.h"
#include "transactions/deletion.h"

#include <unordered_map>

namespace casebook {

/// Applies stored blocks to the table, command by command, forwards or backwards.
///
/// 1. It writes what the journal says, below the tests that guard a host's call.
/// 2. What it changes is recorded like any other change, so that the replay is a transaction that can be replayed.
/// 3. A removal happens at its command's place in the walk; an insertion is recorded with all that it inserts.
/// 4. Rows of records are closed and opened once for a run of commands on records and files.
/// 5. A command that does not fit the table is refused before it changes anything.
class Replay {
 public:
  /// All are borrowed.
  Replay(Store& store, ChangeSink& sink, Table& table, AuxFiles& auxFiles, TagGroups& tagGroups,
         VariableRules& variableRules, PathRules& pathRules, Deletion& deletion);

  void run(Journal::Transaction const& block, Journal::Direction direction);

 private:
  /// One command on its way through a processor.
  struct UndoData {
    SimpleDeserializer reader;
    bool inverse;        ///< the effect of the command is to be reversed
    std::uint32_t code;  ///< without Journal::Inverse
  };
  using Processor = void (Replay::*)(UndoData&);

  void storeCommandProcessors();
  void walk(Journal::Bytes block, bool backwards);
  void process(Journal::Command const& command, bool backwards);
  [[nodiscard]] Variant const* cellAt(Journal::Command const& command) const noexcept;
  [[nodiscard]] std::string const* textAt(Journal::Command const& command) const noexcept;

  void processVariable(UndoData& data);
  void processRecord(UndoData& data);
  void processRecordWithRow(UndoData& data);
  void processAuxFile(UndoData& data);
  void processVariableRegex(UndoData& data);
  void processPathRegex(UndoData& data);
  void processTagGroup(UndoData& data);
  void processSetValueCommand(UndoData& data);
  void processSetVariableStaticCommand(UndoData& data);
  void processChangeItemCommand(UndoData& data);

  [[nodiscard]] bool applyToVariable(u64 uid, std::uint32_t code, Variant const& value);
  [[nodiscard]] bool applyToRecord(u64 uid, std::uint32_t code, Variant const& value);
  void applyTag(u64 group, u64 index, std::string const& tag, bool remove);

  void requireFree(u64 uid) const;
  template <class Entity>
  void remove(u64 uid);
  template <class Entity, class Owner>
  void insertOrRemove(UndoData& data, Owner& owner);

  Store& store_;
  ChangeSink& sink_;
  Table& table_;
  AuxFiles& auxFiles_;
  TagGroups& tagGroups_;
  VariableRules& variableRules_;
  PathRules& pathRules_;
  Deletion& deletion_;
  [[nodiscard]] Processor processorOf(std::uint32_t code);

  std::unordered_map<std::uint32_t, Processor> processors_{11};
  std::uint32_t lastCode_ = 0;  // commands of one code come in long runs
  Processor lastProcessor_ = &Replay::processChangeItemCommand;
};

}  // namespace casebook
