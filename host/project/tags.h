#pragma once

#include "console/console.h"

#include <casebook/project.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace casebook::cli {

using Tags = std::vector<std::string>;

[[nodiscard]] bool contains(Tags const& tags, std::string const& tag);

/// Throws Failure unless a tag may be written so: not empty, which every file without a tag of its own carries, and
/// UTF-8.
void checkTag(std::string const& tag);

/// The tags of files, rules and groups.
[[nodiscard]] std::set<std::string> allTags(Project& project);

/// Throws Failure with the nearest tags when the project has no such tag.
void checkTagIsThere(Project& project, std::string const& tag);

/// Tags within a sentence: "front", "side".
[[nodiscard]] std::string tagWords(Tags const& tags);

/// Of each pattern, how many files it gives a tag to when a rule has it: those without a tag of their own that match.
/// Throws as Project::addPathRegex does.
[[nodiscard]] std::vector<std::size_t> countMatches(Project& project, std::vector<std::string> const& patterns);

/// The tags of all groups as they are before an edit, to be compared with what the edit leaves.
class GroupsBefore {
 public:
  explicit GroupsBefore(Project& project);

  /// Warns of each tag that a group has lost, but for those of `expected`.
  void warnOfLost(Project& project, Console& console, std::set<std::string> const& expected = {}) const;

 private:
  std::map<u64, Tags> tags_;
};

}  // namespace casebook::cli
