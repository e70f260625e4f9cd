#include "replay.h"

#include <casebook/journal.h>
#include <casebook/transaction_record.h>

#include <new>
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

u64 lengthOf(Frame const& frame) {
  using format::FrameHead;
  return FrameHead::size + frame.label.size() + frame.blockLength + FrameHead::checkSize;
}

bool isFresh(Project& project) {
  return project.transactionDepth() == 0 && !project.isEmitting() && project.empty() &&
         project.variables() == std::vector{WeakPtr<Variable>{1}} && project.variableName(1) == "Case ID" &&
         project.variableDescription(1).empty() && project.friendlyName().empty() && project.description().empty() &&
         project.rootPath().empty() && project.variableRegexs().empty() && project.pathRegexs().empty() &&
         project.tagGroups().empty() && project.auxFiles().empty();
}

/// Replays the frames of one file, one transaction each.
class Replay {
 public:
  Replay(Project& project, FrameLog const& log) : project_{project}, log_{log}, window_{log.window()} {}

  void run(Bystander& bystander, std::function<void(u64, u64)> const& progress) {
    requireSilence(bystander);
    for (auto const& frame : log_.frames()) {
      bystander.expectOne();
      apply(frame);
      requireSilence(bystander);
      if (progress) progress(frame.offset + lengthOf(frame), window_.length());
    }
  }

 private:
  void requireSilence(Bystander const& bystander) const {
    if (!bystander.heardMore()) return;
    throw varnel::ExceptionBase("A slot changed the project while " + log_.path().string() + " was replayed.", false);
  }

  void apply(Frame const& frame) {
    FrameBody const body{window_, frame, log_.path()};
    Journal::Transaction const block{body.block(), 0};
    if (!block.valid() || block.length() != body.block().size()) throw damaged(frame, "its block is not whole");
    inTransaction(project_, [&](Transaction&) { apply(frame, block); });
  }

  void apply(Frame const& frame, Journal::Transaction const& block) {
    try {
      project_.processJournalTransaction(block, Project::Direction::Forwards);
    } catch (std::bad_alloc const&) {
      throw;
    } catch (std::exception const& error) {
      throw damaged(frame, "its block cannot be replayed: " + std::string{error.what()});
    }
  }

  [[nodiscard]] DamageError damaged(Frame const& frame, std::string const& what) const {
    return damageAt(log_.path(), frame.offset, "frame " + std::to_string(frame.sequence) + ", " + what);
  }

  Project& project_;
  FrameLog const& log_;
  FileWindow window_;
};

}  // namespace

void requireFresh(Project& project, std::filesystem::path const& path) {
  if (!isFresh(project)) {
    throw varnel::ExceptionBase(path.string() + " can only be opened into a project as constructed or reset.", false);
  }
}

void replay(Project& project, FrameLog const& log, std::function<void(u64, u64)> const& progress) {
  Bystander bystander{project};
  Replay{project, log}.run(bystander, progress);
}

void restore(Project& project, FrameLog const& log) {
  Bystander bystander{project};
  project.resetProject();
  Replay{project, log}.run(bystander, {});
}

}  // namespace casebook
