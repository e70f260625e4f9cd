#include "replay.h"

#include <casebook/transaction_record.h>

#include <optional>
#include <tuple>

namespace casebook {

namespace {

/// Notices transactions beside those that are replayed: what slots add would be in the project and not in the file.
/// A transaction that erased entities and changed others is reported twice, the second time with the same removals.
class Bystander {
 public:
  explicit Bystander(Project& project)
      : connection_{project.connectProjectChange([this](TransactionRecord const& record) { hear(record); })} {}
  Bystander(Bystander const&) = delete;
  Bystander& operator=(Bystander const&) = delete;

  /// From here on, one transaction is expected.
  void expectOne() {
    expected_ = true;
    erased_.reset();
  }
  [[nodiscard]] bool heardMore() const noexcept { return heardMore_; }

 private:
  static bool anythingRemoved(TransactionRecordGroup const& group) {
    return !group.variables.empty() || !group.records.empty() || !group.variableRegexs.empty() ||
           !group.pathRegexs.empty() || !group.tagGroups.empty() || !group.auxFiles.empty();
  }

  static auto lists(TransactionRecordGroup const& group) {
    return std::tie(group.variables, group.records, group.variableRegexs, group.pathRegexs, group.tagGroups,
                    group.auxFiles);
  }

  void hear(TransactionRecord const& record) {
    bool const repeated = erased_ && lists(*erased_) == lists(record.removed);
    if (!expected_ && !repeated) heardMore_ = true;
    erased_.reset();
    if (expected_ && anythingRemoved(record.removed)) erased_ = record.removed;
    expected_ = false;
  }

  bool expected_ = false;
  bool heardMore_ = false;
  std::optional<TransactionRecordGroup> erased_;
  ScopedConnection connection_;
};

}  // namespace

void replay(Project& project, std::span<unsigned char const> block, Project::Direction direction) {
  inTransaction(project,
                [&](Transaction&) { project.processJournalTransaction(Journal::Transaction{block, 0}, direction); });
}

void takeBack(Project& project, std::span<Entry const> entries) {
  Bystander bystander{project};
  for (auto k = entries.size(); k-- > 0 && !bystander.heardMore();) {
    bystander.expectOne();
    replay(project, entries[k].block, Project::Direction::Backwards);
  }
  if (bystander.heardMore()) {
    throw varnel::ExceptionBase("A slot changed the project while an edit was taken back.", false);
  }
}

}  // namespace casebook
