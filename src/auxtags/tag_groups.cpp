#include "auxtags/tag_groups.h"

#include "platform/growth.h"
#include "store/property.h"

#include <algorithm>

namespace casebook {

namespace {

auto placeOf(std::vector<std::string>& tags, u64 index) { return tags.begin() + static_cast<std::ptrdiff_t>(index); }

PropertyChange tagChange(DataTagGroup const& group, std::uint32_t code, std::string const& tag, u64 index) {
  return {EntityKind::TagGroup, group.id, code, Variant{}, Variant{tag}, index};
}

}  // namespace

DataTagGroup const* TagGroups::find(std::string const& name) const {
  auto const groups = store_.tagGroups.all();
  auto const found = std::ranges::find(groups, name, &DataTagGroup::name);
  return found == groups.end() ? nullptr : &*found;
}

void TagGroups::refuseTakenName(std::string const& name) const {
  if (find(name)) throw varnel::ExceptionBase{"Duplicate tag group names are not allowed.", false};
}

DataTagGroup& TagGroups::insert(DataTagGroup group) { return create(store_, sink_, std::move(group)); }

DataTagGroup& TagGroups::add(std::string const& name) {
  refuseTakenName(name);
  DataTagGroup group{store_.assignUid()};
  group.name = name;
  return insert(std::move(group));
}

void TagGroups::setName(u64 uid, std::string const& name) {
  refuseTakenName(name);
  auto& group = store_.tagGroups.at(uid);
  setProperty(sink_, group, properties::tagGroupName, name);
}

void TagGroups::addTag(u64 uid, std::string const& tag) { insertTag(uid, tag, store_.tagGroups.at(uid).tags.size()); }

void TagGroups::insertTag(u64 uid, std::string const& tag, u64 index) {
  auto& group = store_.tagGroups.at(uid);
  if (index > group.tags.size())
    throw varnel::ExceptionBase{"Attempted to insert a tag beyond the end of its group.", true};
  std::string added = tag;  // which may be one of the group's own
  reserveOneMore(group.tags);
  sink_.take(tagChange(group, Journal::TagAdded, added, index));
  group.tags.insert(placeOf(group.tags, index), std::move(added));
}

void TagGroups::removeTag(u64 uid, std::string const& tag) {
  auto const& tags = store_.tagGroups.at(uid).tags;
  auto const found = std::ranges::find(tags, tag);
  if (found == tags.end()) throw varnel::ExceptionBase{"Attempted to remove a tag that is not in its group.", true};
  removeTagAt(uid, static_cast<u64>(found - tags.begin()));
}

void TagGroups::removeTagAt(u64 uid, u64 index) {
  auto& group = store_.tagGroups.at(uid);
  sink_.take(tagChange(group, Journal::TagRemoved, group.tags[index], index));
  group.tags.erase(placeOf(group.tags, index));
}

}  // namespace casebook
