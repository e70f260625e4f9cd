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

  /// Warns of an incomplete tail. Throws Failure when stdout leads into the file, and what ProjectFile throws when it
  /// cannot be opened. The console is borrowed.
  OpenProject(std::filesystem::path const& path, For purpose, Console& console);

  /// Writes an edit, under a label that is cut where it is too long for a log, and notes in the console that the file
  /// has changed. Throws as ProjectFile::edit does.
  void edit(std::string_view label, std::function<void(Transaction&)> const& change);

  [[nodiscard]] Project& project() const noexcept { return *project_; }
  [[nodiscard]] ProjectFile const& file() const noexcept { return file_; }

 private:
  Console& console_;
  CurrentProject project_;
  ProjectFile file_;
};

}  // namespace casebook::cli
