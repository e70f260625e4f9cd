#pragma once

#include "support/current_project.h"

#include <functional>
#include <sstream>

namespace casebook::test {

inline void print(std::ostream& out, char sign, TransactionRecordGroup const& group) {
  for (auto const& item : group.projectChanges)
    out << ' ' << sign << std::hex << item.code << std::dec << '(' << item.oldValue.toString() << '>'
        << item.newValue.toString() << ')';
  std::pair<char, std::vector<u64> const*> const lists[] = {{'v', &group.variables},      {'r', &group.records},
                                                            {'V', &group.variableRegexs}, {'P', &group.pathRegexs},
                                                            {'g', &group.tagGroups},      {'f', &group.auxFiles}};
  for (auto const& [kind, uids] : lists)
    for (u64 const uid : *uids) out << ' ' << sign << kind << uid;
  for (auto const& tag : group.removedTags) out << ' ' << sign << tag;
}

/// `-`, `+` and `~` for removed, added and modified, the kind of entity and the UID: " +v2 ~r3 values".
inline std::string textOf(TransactionRecord const& record) {
  std::ostringstream out;
  print(out, '-', record.removed);
  print(out, '+', record.added);
  print(out, '~', record.modified);
  if (record.valuesChanged) out << " values";
  return out.str();
}

inline std::string textOf(Journal::TransactionWriter& block) {
  std::ostringstream out;
  auto const bytes = block.finalize();
  for (auto const& command : Journal::Transaction{bytes, 0}.commands()) out << ' ' << std::hex << command.code;
  return out.str();
}

using Lines = std::vector<std::string>;

/// Hears every signal of a project, one line for each.
class Listener {
 public:
  explicit Listener(Project& project)
      : connections_{
            project.connectProjectChangePre([this](auto const& record) { lines_.push_back("pre" + textOf(record)); }),
            project.connectProjectChange([this](auto const& record) { lines_.push_back("change" + textOf(record)); }),
            project.connectProjectJournal([this](auto& block) { lines_.push_back("journal" + textOf(block)); }),
            project.connectProjectReset([this] { lines_.emplace_back("reset"); })} {}
  Listener(Listener const&) = delete;
  Listener& operator=(Listener const&) = delete;

  [[nodiscard]] Lines const& heard() const { return lines_; }
  /// What was heard since the last call.
  Lines take() { return std::exchange(lines_, {}); }

 private:
  Lines lines_;
  std::array<ScopedConnection, 4> connections_;
};

enum class SignalKind { Pre, Change, Journal, Reset };

/// The same slot at any of the signals.
inline Connection connect(Project& project, SignalKind signal, std::function<void()> const& slot) {
  switch (signal) {
    case SignalKind::Pre: return project.connectProjectChangePre([slot](auto const&) { slot(); });
    case SignalKind::Change: return project.connectProjectChange([slot](auto const&) { slot(); });
    case SignalKind::Journal: return project.connectProjectJournal([slot](auto&) { slot(); });
    case SignalKind::Reset: return project.connectProjectReset(slot);
  }
  return {};
}

}  // namespace casebook::test
