#include <casebook/aux_file.h>
#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/tag_group.h>
#include <casebook/tag_operations.h>

namespace casebook {

namespace {

// A lock lasts for one call, so that no two are held at a time.

std::vector<WeakPtr<AuxFile>> filesOfCase(u64 caseId) {
  auto const record = currentProject().recordById(caseId).lock();
  return record.valid() ? record.auxFiles() : std::vector<WeakPtr<AuxFile>>{};
}

bool isOfType(WeakPtr<AuxFile> const& file, TagOperations::AuxFileType type) {
  switch (type) {
    case TagOperations::AuxFileType::Image: return file.lock().isImageFile();
    case TagOperations::AuxFileType::NonImage: return !file.lock().isImageFile();
  }
  return false;
}

}  // namespace

std::set<std::string> TagOperations::getTagsForCases(std::set<u64> const& caseIds, AuxFileType type) {
  std::set<std::string> found;
  for (u64 const caseId : caseIds)
    for (auto const& file : filesOfCase(caseId))
      if (isOfType(file, type))
        for (auto& tag : file.lock().tags()) found.insert(std::move(tag));
  return found;
}

std::set<std::string> TagOperations::getUnusedTags(std::set<std::string> const& tags, std::set<u64> const& caseIds) {
  auto unused = tags;
  for (u64 const caseId : caseIds) {
    for (auto const& file : filesOfCase(caseId))
      for (auto const& tag : file.lock().tags()) unused.erase(tag);
    if (unused.empty()) break;
  }
  return unused;
}

TagOperations::~TagOperations() = default;

TagGroupNameIs::TagGroupNameIs(std::string const& name) : name_{name} {}

bool TagGroupNameIs::operator()(WeakPtr<TagGroup> const& group) const {
  auto const locked = group.lock();
  return locked.valid() && locked.name() == name_;
}

}  // namespace casebook
