#pragma once

#include <casebook/casebook.h>

#include <array>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace casebook::test {

/// A project that is the current one while it lives.
class CurrentProject {
 public:
  explicit CurrentProject(std::unique_ptr<Project> project = createProject())
      : before_{std::exchange(projectPtr, project.get())}, project_{std::move(project)} {}
  CurrentProject(CurrentProject const&) = delete;
  CurrentProject& operator=(CurrentProject const&) = delete;
  ~CurrentProject() {
    project_.reset();
    projectPtr = before_;
  }

  [[nodiscard]] Project& operator*() const { return *project_; }
  [[nodiscard]] Project* operator->() const { return project_.get(); }

 private:
  Project* before_;
  std::unique_ptr<Project> project_;
};

/// The message of what a call throws and the flag that goes with it, "" when it returns.
template <class Call>
std::string refusalOf(Call&& call) {
  try {
    call();
    return {};
  } catch (varnel::ExceptionBase const& error) {
    return std::string{error.what()} + (error.flag() ? " (true)" : " (false)");
  }
}

inline constexpr auto unknownEntity = "Attempted to look up unknown data entity (true)";
inline constexpr auto readBeyondEnd = "Attempt to read beyond end of data block. (true)";
inline constexpr auto whileSignalling = "The project cannot be replaced while it is signalling. (true)";

using Content = std::vector<unsigned char>;

/// Stores the block of each transaction as a host does.
class BlockStore {
 public:
  explicit BlockStore(Project& project)
      : connection_{project.connectProjectJournal([this](Journal::TransactionWriter& writer) {
          auto const bytes = writer.finalize();
          blocks.emplace_back(bytes.begin(), bytes.end());
        })} {}
  BlockStore(BlockStore const&) = delete;
  BlockStore& operator=(BlockStore const&) = delete;

  std::vector<Content> blocks;

  /// The commands of all blocks; they borrow the bytes.
  [[nodiscard]] std::vector<Journal::Command> commands() const {
    std::vector<Journal::Command> all;
    for (auto const& block : blocks)
      for (auto const& command : Journal::Transaction{block, 0}.commands()) all.push_back(command);
    return all;
  }

 private:
  ScopedConnection connection_;
};

template <class Edits>
void transact(Project& project, Edits&& edits) {
  auto transaction = project.startTransaction();
  edits(project);
  transaction.commit();
}

/// Replays a block in a transaction of its own.
inline void replay(Project& project, Content const& block,
                   Journal::Direction direction = Journal::Direction::Forwards) {
  transact(project, [&](Project& p) { p.processJournalTransaction(Journal::Transaction{block, 0}, direction); });
}

/// Undoes the transaction of a block. The block is a copy, for the undoing is stored as well.
inline void undo(Project& project, Content block) { replay(project, block, Journal::Direction::Backwards); }

/// A new project of these blocks.
inline std::unique_ptr<Project> restored(std::vector<Content> const& blocks, u64 nextUid) {
  std::vector<Journal::Transaction> stored;
  for (auto const& block : blocks) stored.emplace_back(block, 0);
  auto project = createProject();
  project->restore(stored, nextUid);
  return project;
}

}  // namespace casebook::test

namespace casebook {

/// The type and every bit of the value: equal texts are the same value in every respect.
inline std::string exactly(Variant const& value) {
  auto const content = value.type() == Variant::String ? value.stringValue() : std::to_string(value.word());
  return std::to_string(value.type()) + ':' + content;
}

// For GoogleTest.
inline void PrintTo(Variant const& value, std::ostream* out) { *out << exactly(value); }

}  // namespace casebook
