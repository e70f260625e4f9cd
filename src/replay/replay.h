#pragma once

#include <casebook/journal.h>

#include "auxtags/aux_files.h"
#include "auxtags/rules.h"
#include "auxtags/tag_groups.h"
#include "serialization/number_format.h"
#include "store/table.h"

#include <unordered_map>

namespace casebook {

/// Applies stored blocks to the table, command by command, below the tests that guard a host's call: it writes what
/// the journal says. What it changes is recorded like any other change. A command that does not fit the table is
/// refused before it changes anything.
class Replay {
 public:
  /// All are borrowed.
  Replay(Store& store, ChangeSink& sink, Table& table, AuxFiles& auxFiles, TagGroups& tagGroups,
         VariableRules& variableRules, PathRules& pathRules);

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
  void process(Journal::Command const& command, Journal::Direction direction);

  void processVariable(UndoData& data);
  void processRecord(UndoData& data);
  void processAuxFile(UndoData& data);
  void processVariableRegex(UndoData& data);
  void processPathRegex(UndoData& data);
  void processTagGroup(UndoData& data);
  void processSetValue(UndoData& data);
  void processChangeItem(UndoData& data);
  void processUnavailable(UndoData& data);

  [[nodiscard]] bool applyToVariable(u64 uid, std::uint32_t code, Variant const& value);
  [[nodiscard]] bool applyToRecord(u64 uid, std::uint32_t code, Variant const& value);
  [[nodiscard]] bool applyToVariableRegex(u64 uid, std::uint32_t code, Variant const& value);
  [[nodiscard]] bool applyToPathRegex(u64 uid, std::uint32_t code, Variant const& value);
  [[nodiscard]] bool applyToTagGroup(u64 uid, std::uint32_t code, Variant const& value);
  void applyTag(u64 group, u64 index, std::string const& tag, bool remove);

  template <class Entity>
  Entity readNew(UndoData& data) const;

  Store& store_;
  ChangeSink& sink_;
  Table& table_;
  AuxFiles& auxFiles_;
  TagGroups& tagGroups_;
  VariableRules& variableRules_;
  PathRules& pathRules_;
  std::unordered_map<std::uint32_t, Processor> processors_{11};
};

}  // namespace casebook
