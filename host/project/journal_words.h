#pragma once

#include <casebook/journal.h>

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

class CommandFields;

/// Says in words what the commands of a journal do. Commands name entities by UID; the names that these had when a
/// command was written are followed from block to block, so every block but those of checkpoints has to be given, from
/// the first on.
class JournalWords {
 public:
  /// A sentence for each command of the block.
  std::vector<std::string> describe(Journal::Bytes block);

 private:
  std::string describe(Journal::Command const& command);
  std::string describe(std::uint32_t code, CommandFields const& fields);

  std::string variableCreated(CommandFields const& fields);
  std::string variableErased(CommandFields const& fields);
  std::string variableRenamed(CommandFields const& fields);
  std::string cellSet(CommandFields const& fields);
  std::string recordCreated(CommandFields const& fields);
  std::string recordInserted(CommandFields const& fields);
  std::string recordErased(CommandFields const& fields);
  std::string fileCreated(CommandFields const& fields);
  std::string fileErased(CommandFields const& fields);
  std::string statusSet(CommandFields const& fields);
  std::string otherCreated(std::string_view kind, CommandFields const& fields, std::string_view what = {});
  std::string otherErased(std::string_view kind, CommandFields const& fields, std::string_view what = {});
  std::string otherRenamed(std::string_view kind, std::string_view how, CommandFields const& fields);
  [[nodiscard]] std::string forVariable(CommandFields const& fields) const;

  std::string_view comes(u64 uid);
  void goes(u64 uid) { gone_.insert(uid); }

  [[nodiscard]] std::string variable(u64 uid) const;
  [[nodiscard]] std::string record(u64 uid) const;
  [[nodiscard]] std::string other(u64 uid) const;

  std::map<u64, std::string> variables_{{1, "Case ID"}};
  std::map<u64, u64> caseIds_;         // of the records
  std::map<u64, std::string> others_;  // names of tag groups, patterns of rules
  std::set<u64> gone_;                 // what was removed and can be put back
};

}  // namespace casebook::cli
