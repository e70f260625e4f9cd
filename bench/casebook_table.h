#pragma once

#include "stopwatch.h"
#include "study.h"

#include <casebook/casebook.h>

#include <memory>
#include <vector>

namespace casebook::bench {

/// What the columns are to a project.
[[nodiscard]] std::vector<ColumnInfo> descriptionsOf(std::vector<StudyColumn> const& columns);

/// A collection without files, which a merge needs.
[[nodiscard]] boost::shared_ptr<AuxFileCollectionInterface const> noFiles();

/// A project that is the current one as long as the object lives, with a host that hears every signal and keeps the
/// journal's last block.
class CasebookTable {
 public:
  using Block = std::vector<unsigned char>;

  CasebookTable();
  /// Filled with the first columns of the study's table.
  explicit CasebookTable(Sheet const& sheet);
  CasebookTable(CasebookTable const&) = delete;
  CasebookTable& operator=(CasebookTable const&) = delete;

  [[nodiscard]] Project* operator->() const noexcept { return project_.get(); }
  [[nodiscard]] Project& project() const noexcept { return *project_; }

  /// Runs `work` as one transaction; returns the seconds from its start until nothing is left to be done.
  template <class Work>
  double transaction(Work work) {
    started_ = {};
    auto open = project_->startTransaction();
    work();
    open.commit();
    return started_.seconds();
  }
  void disconnectJournal() { journal_.disconnect(); }
  /// The seconds from the start of the last transaction until the host had taken its block.
  [[nodiscard]] double untilJournalled() const noexcept { return untilJournalled_; }

  [[nodiscard]] Block const& block() const noexcept { return block_; }
  /// Checks the block's CRC, as a host does, and replays it as one transaction. Returns as `transaction` does, and
  /// tells in `replayed` when the replay alone was done.
  double replay(Block const& block, Journal::Direction direction, double* replayed = nullptr);
  double undoLast() { return replay(Block{block_}, Journal::Direction::Backwards); }

  /// Handles to the columns and rows, in their order.
  [[nodiscard]] std::vector<Variable> variables() const;
  [[nodiscard]] std::vector<Record> records() const;

  /// Of the first `columns`.
  [[nodiscard]] u64 checksum(std::size_t columns = studyColumns().size()) const;

 private:
  std::unique_ptr<Project> const project_;
  Stopwatch started_;
  double untilJournalled_ = 0;
  Block block_;
  Connection journal_;
  u64 cellChangesHeard_ = 0;
};

}  // namespace casebook::bench
