#include "project/attachment.h"

#include "console/messages.h"
#include "text/utf8.h"

#include <casebook/record.h>
#include <casebook/variable.h>

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

namespace casebook::cli {
namespace {

namespace fs = std::filesystem;

fs::path tidy(fs::path const& path) {
  if (path.empty()) return path;
  fs::path const normal = fs::absolute(path).lexically_normal();
  return normal.has_filename() || !normal.has_relative_path() ? normal : normal.parent_path();
}

/// Without the links on the way to the file; the file itself may be one.
fs::path behindLinks(fs::path const& path) {
  if (!path.has_filename()) return path;
  std::error_code error;
  fs::path const folder = fs::weakly_canonical(path.parent_path(), error);
  return error ? path : folder / path.filename();
}

/// Empty when the place is not below the root.
fs::path below(fs::path const& root, fs::path const& place) {
  fs::path relative = place.lexically_relative(root);
  bool const isBelow = !relative.empty() && relative != "." && *relative.begin() != "..";
  return isBelow ? relative : fs::path{};
}

std::string storedIn(std::string const& root, fs::path const& place) {
  if (root.empty()) return place.string();
  fs::path relative = below(tidy(root), place);
  std::error_code error;
  if (relative.empty()) relative = below(fs::weakly_canonical(tidy(root), error), behindLinks(place));
  return relative.empty() ? place.string() : relative.string();
}

}  // namespace

fs::path placeOf(std::string const& path) {
  if (path.empty()) throw Failure{"A file needs a path."};
  fs::path const written{path};
  // What ".." means behind a link, only the disk can tell.
  bool const climbs = std::ranges::find(written, "..") != written.end() && written.filename() != "..";
  return tidy(climbs ? behindLinks(fs::absolute(written)) : written);
}

fs::path placeOf(Project& project, WeakPtr<AuxFile> file) { return tidy(project.auxFilePath(file.id())); }

FilePlace::FilePlace(Project& project, std::string const& path)
    : project_{project}, path_{placeOf(path)}, stored_{storedIn(project.rootPath(), path_)} {}

bool FilePlace::isOf(WeakPtr<AuxFile> file) const {
  return project_.auxFileRawPath(file.id()) == stored_ || placeOf(project_, file) == path_;
}

std::optional<std::string> ownTag(Project& project, WeakPtr<AuxFile> file) {
  if (project.auxFileHasTag(file.id(), {})) return {};
  return project.auxFileTags(file.id()).front();
}

std::string attachmentWords(std::string_view path, std::optional<std::string> const& ownTag) {
  return ownTag ? fmt::format("{} with the tag {}", inQuotes(path), inQuotes(*ownTag)) : inQuotes(path);
}

std::string_view kindWord(Project& project, WeakPtr<AuxFile> file) {
  if (project.auxFileHasImageExtension(file.id())) return "image";
  return project.auxFileHas3DXExtension(file.id()) ? "data" : "other";
}

u64 caseIdOf(Project& project, WeakPtr<Record> record) {
  return record.lock().data(project.getCaseIDColumn().lock()).longValue();
}

}  // namespace casebook::cli
