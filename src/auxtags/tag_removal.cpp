#include "auxtags/tag_removal.h"

#include <algorithm>

namespace casebook {

namespace {

/// The groups that list the tag, ascending. They are found before any is changed: a host may do more in its removeTag.
std::vector<u64> groupsWith(Store const& store, std::string const& tag) {
  std::vector<u64> groups;
  for (auto const& group : store.tagGroups.all())
    if (std::ranges::find(group.tags, tag) != group.tags.end()) groups.push_back(group.id);
  return groups;
}

std::vector<u64> rulesFor(Store const& store, std::set<std::string> const& tags) {
  std::vector<u64> rules;
  for (auto const& rule : store.pathRegexs.all())
    if (tags.contains(rule.target)) rules.push_back(rule.id);
  return rules;
}

}  // namespace

void TagRemoval::removeTags(std::set<std::string> const& tags) {
  std::vector<u64> files;
  for (auto const& tag : tags) {
    auto const carriers = fileTags_.filesWith(tag);
    files.insert(files.end(), carriers.begin(), carriers.end());
    for (u64 const group : groupsWith(store_, tag)) removeTag_(group, tag);
  }
  for (u64 const rule : rulesFor(store_, tags)) deletion_.request<DataPathRegex>(rule);
  for (u64 const file : files) deletion_.request<DataAuxFile>(file);
  log_.keepRemovedTags(tags);
}

void TagRemoval::updateTagGroups() {
  if (!stale_.groups()) return;
  std::vector<std::pair<u64, std::string>> lost;
  for (auto const& group : store_.tagGroups.all())
    for (auto const& tag : group.tags)
      if (!fileTags_.isImageTag(tag)) lost.emplace_back(group.id, tag);
  for (auto const& [group, tag] : lost) removeTag_(group, tag);
  if (lost.empty()) stale_.settleGroups();
}

}  // namespace casebook
