#pragma once

#include "console/console.h"

#include <casebook/file.h>
#include <casebook/project.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>

namespace casebook::cli {

/// A new project that is the current one while this lives; then the one before is current again.
class CurrentProject {
 public:
  CurrentProject();
  CurrentProject(CurrentProject const&) = delete;
  ~CurrentProject();

  [[nodiscard]] Project& operator*() const noexcept { return *project_; }

 private:
  Project* before_;
  std::unique_ptr<Project> project_;
};

/// A project's file and the project in it, open for one command. Handles must not outlive it.
class OpenProject {
 public:
  enum class For { Creating, Reading, ReadingUntilDamage, Writing };

  /// Warns of an incomplete tail and of checkpoints that were passed over. Throws Failure when stdout leads into the
  /// file, and what ProjectFile throws when it cannot be opened. The console is borrowed.
  OpenProject(std::filesystem::path const& path, For purpose, Console& console);

  /// All four name on stderr the variables that are calculated no more, and why.

  /// Writes an edit, under a label that is cut where it is too long for a log, and notes in the console that the file
  /// has changed. Throws as ProjectFile::edit does.
  void edit(std::string_view label, std::function<void(Transaction&)> const& change);

  /// Carries a change out in memory alone, so that what it does can be told. The project is of no further use.
  void rehearse(std::function<void(Transaction&)> const& change);

  /// Undoes or redoes as many transactions, and notes in the console that the file has changed. Throws as
  /// ProjectFile::undo does, and as `readHistory`.
  void undo(std::size_t steps);
  void redo(std::size_t steps);

  /// How many transactions the file holds, and how many of them are undone.
  [[nodiscard]] std::size_t transactions() const;
  [[nodiscard]] std::size_t undone() const { return transactions() - file_.undoable().size(); }

  [[nodiscard]] Project& project() const noexcept { return *project_; }
  [[nodiscard]] ProjectFile const& file() const noexcept { return file_; }

 private:
  /// `change` says whether there was anything to change.
  void carryOut(std::function<bool()> const& change);
  bool stored(bool isWritten);
  void step(std::function<void()> const& walk);

  Console& console_;
  CurrentProject project_;
  ProjectFile file_;
};

/// Reads blocks of an open file that opening it may have passed by. Damage to one of them becomes a Failure of the
/// same message, with a hint that the table can be read all the same.
void readHistory(std::function<void()> const& read);

/// Says that a checkpoint is bad, and that nothing is lost with it.
void warnOfCheckpoint(DamageError const& damage, Console& console);

}  // namespace casebook::cli
