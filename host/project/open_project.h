#pragma once

#include "console/console.h"

#include <casebook/file.h>
#include <casebook/project.h>

#include <filesystem>
#include <memory>

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

  /// Warns of an incomplete tail. What keeps the file from being opened passes as ProjectFile throws it.
  OpenProject(std::filesystem::path const& path, For purpose, Console& console);

  [[nodiscard]] Project& project() const noexcept { return *project_; }
  [[nodiscard]] ProjectFile& file() noexcept { return file_; }

 private:
  CurrentProject project_;
  ProjectFile file_;
};

}  // namespace casebook::cli
