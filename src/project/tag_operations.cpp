#include <casebook/project.h>
#include <casebook/tag_group.h>
#include <casebook/tag_operations.h>

#include "platform/unavailable.h"

namespace casebook {

std::set<std::string> TagOperations::getTagsForCases(std::set<u64> const&, AuxFileType) {
  refuseUnavailable("getTagsForCases");
}
std::set<std::string> TagOperations::getUnusedTags(std::set<std::string> const&, std::set<u64> const&) {
  refuseUnavailable("getUnusedTags");
}
TagOperations::~TagOperations() = default;

TagGroupNameIs::TagGroupNameIs(std::string const& name) : name_{name} {}

bool TagGroupNameIs::operator()(WeakPtr<TagGroup> const& group) const {
  auto const locked = group.lock();
  return locked.valid() && locked.name() == name_;
}

}  // namespace casebook
