#include "project/tags.h"

#include "console/messages.h"
#include "project/lookup.h"
#include "text/nearest.h"
#include "text/utf8.h"

#include <casebook/aux_file.h>
#include <casebook/tag_group.h>
#include <casebook/transaction.h>

#include <fmt/format.h>

#include <algorithm>

namespace casebook::cli {

bool contains(Tags const& tags, std::string const& tag) { return std::ranges::find(tags, tag) != tags.end(); }

void checkTag(std::string const& tag) {
  if (tag.empty()) throw Failure{"A tag cannot be empty."};
  checkUtf8(tag);
}

std::set<std::string> allTags(Project& project) {
  std::set<std::string> tags = project.tags();
  for (auto group : project.tagGroups())
    for (std::string const& tag : project.tags(group.id())) tags.insert(tag);
  return tags;
}

void checkTagIsThere(Project& project, std::string const& tag) {
  checkTag(tag);
  auto const tags = allTags(project);
  if (tags.contains(tag)) return;
  Tags const names{tags.begin(), tags.end()};
  throw Failure{fmt::format("There is no tag {}. {}", inQuotes(tag),
                            names.empty() ? "There are no tags yet." : suggestion(tag, names))};
}

std::string tagWords(Tags const& tags) {
  std::string words;
  for (std::string const& tag : tags) words += (words.empty() ? "" : ", ") + inQuotes(tag);
  return words;
}

// A project tells what tags its files carry, not by which of its rules: so another one is asked, in which each rule
// has a tag of its own.
std::vector<std::size_t> countMatches(Project& project, std::vector<std::string> const& patterns) {
  auto const apart = createProject();
  Transaction transaction = apart->startTransaction();
  for (std::size_t i = 0; i < patterns.size(); ++i) apart->addPathRegex(patterns[i], std::to_string(i));
  for (auto file : project.auxFiles())
    if (project.auxFileHasTag(file.id(), {}))
      apart->addAuxFile(apart->addRecord().id(), project.auxFileRawPath(file.id()), {});
  std::vector<std::size_t> counts;
  for (std::size_t i = 0; i < patterns.size(); ++i) counts.push_back(apart->auxFiles(std::to_string(i)).size());
  transaction.commit();
  return counts;
}

GroupsBefore::GroupsBefore(Project& project) {
  for (auto group : project.tagGroups()) tags_.emplace(group.id(), project.tags(group.id()));
}

void GroupsBefore::warnOfLost(Project& project, Console& console, std::set<std::string> const& expected) const {
  for (auto group : project.tagGroups()) {
    auto const before = tags_.find(group.id());
    if (before == tags_.end()) continue;
    auto const& now = project.tags(group.id());
    for (std::string const& tag : before->second)
      if (!contains(now, tag) && !expected.contains(tag))
        printWarning(console, fmt::format("Group {} has lost {}: it is not a tag of image files any more.",
                                          inQuotes(project.tagGroupName(group.id())), inQuotes(tag)));
  }
}

}  // namespace casebook::cli
