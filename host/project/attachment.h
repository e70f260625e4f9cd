#pragma once

#include <casebook/aux_file.h>
#include <casebook/project.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace casebook::cli {

/// The place on the disk that a person means by a path, which is relative to the current folder: absolute, and without
/// "." and "..". Throws Failure for the empty path.
[[nodiscard]] std::filesystem::path placeOf(std::string const& path);

/// The same of a file of the project; empty where the file has no path.
[[nodiscard]] std::filesystem::path placeOf(Project& project, WeakPtr<AuxFile> file);

/// The place of a file, and how the project refers to it.
class FilePlace {
 public:
  /// Throws as `placeOf`.
  FilePlace(Project& project, std::string const& path);

  [[nodiscard]] std::filesystem::path const& path() const noexcept { return path_; }
  /// Relative to the project's root folder when the place lies below that, else whole.
  [[nodiscard]] std::string const& stored() const noexcept { return stored_; }
  /// Whether a file of the project lies here.
  [[nodiscard]] bool isOf(WeakPtr<AuxFile> file) const;

 private:
  Project& project_;
  std::filesystem::path path_;
  std::string stored_;
};

/// What a person is told with the first files of a project that has no root folder.
constexpr std::string_view noRootHint =
    "The project has no root folder, so that paths are kept whole; casebook info FILE --root DIR sets one for the "
    "files "
    "to come.";

/// The tag that a file was attached with; none when its tags are those that rules give.
[[nodiscard]] std::optional<std::string> ownTag(Project& project, WeakPtr<AuxFile> file);

/// A file within a sentence: "a.png", or "a.png" with the tag "front".
[[nodiscard]] std::string attachmentWords(std::string_view path, std::optional<std::string> const& ownTag);

/// "image", "data" or "other".
[[nodiscard]] std::string_view kindWord(Project& project, WeakPtr<AuxFile> file);

/// The number of the case that a record is.
[[nodiscard]] u64 caseIdOf(Project& project, WeakPtr<Record> record);

}  // namespace casebook::cli
