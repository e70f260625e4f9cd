#include "auxtags/tag_removal.h"

#include <algorithm>
#include <iterator>

namespace casebook {

namespace {

/// The groups there are now; a host may change them in its removeTag.
std::vector<u64> groupsOf(Store const& store) {
  std::vector<u64> groups;
  for (auto const& group : store.tagGroups.all()) groups.push_back(group.id);
  return groups;
}

bool lists(DataTagGroup const* group, std::string const& tag) {
  return group && std::ranges::find(group->tags, tag) != group->tags.end();
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
    for (u64 const group : groupsOf(store_))
      if (lists(store_.tagGroups.find(group), tag)) removeTag_(group, tag);
  }
  for (u64 const rule : rulesFor(store_, tags)) deletion_.request<DataPathRegex>(rule);
  for (u64 const file : files) deletion_.request<DataAuxFile>(file);
  log_.keepRemovedTags(tags);
}

void TagRemoval::updateTagGroups() {
  if (!stale_.groups()) return;
  bool anyLost = false;
  for (u64 const group : groupsOf(store_)) {
    auto const lost = lostTags(group);
    for (auto const& tag : lost) removeTag_(group, tag);
    anyLost = anyLost || !lost.empty();
  }
  if (!anyLost) stale_.settleGroups();
}

std::vector<std::string> TagRemoval::lostTags(u64 uid) {
  std::vector<std::string> lost;
  if (auto const* const group = store_.tagGroups.find(uid))
    std::ranges::copy_if(group->tags, std::back_inserter(lost),
                         [this](auto const& tag) { return !fileTags_.isImageTag(tag); });
  return lost;
}

}  // namespace casebook
