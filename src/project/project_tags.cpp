// Around the table: files, tag groups, rules, merging.

#include <casebook/aux_file.h>
#include <casebook/aux_file_collection.h>
#include <casebook/loader_description_depot.h>
#include <casebook/merge.h>
#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/regex.h>
#include <casebook/tag_group.h>

#include "project/components.h"
#include "project/lists.h"
#include "store/property.h"

#include <algorithm>

namespace casebook {

using AuxFileList = std::vector<WeakPtr<AuxFile>>;

namespace {

/// The record's files, each as often as the count of it says; an unknown record has none.
template <class Count>
AuxFileList filesOf(Components const& parts, u64 record, Count const& countOf) {
  AuxFileList list;
  if (!parts.store.records.find(record)) return list;
  for (auto const* file : parts.auxFiles.ofRecord(record))
    list.insert(list.end(), countOf(*file), WeakPtr<AuxFile>{file->id});
  return list;
}

std::size_t countTags(FileTags& fileTags, DataAuxFile const& file, std::set<std::string> const& tags) {
  auto const carries = [&](std::string const& tag) { return fileTags.hasTag(file, tag); };
  return static_cast<std::size_t>(std::ranges::count_if(tags, carries));
}

bool isImage(DataAuxFile const& file) { return fileMatchesWildcards(file.path, imageExtensions()); }

FileExtensions loadableExtensions() { return LoaderDescriptionDepot::getInstance().extensions(); }

}  // namespace

std::vector<WeakPtr<Regex<Variable>>> Project::variableRegexs() const {
  return listOf<Regex<Variable>>(components_->store.variableRegexs);
}
std::vector<WeakPtr<Regex<std::string>>> Project::pathRegexs() const {
  return listOf<Regex<std::string>>(components_->store.pathRegexs);
}
std::vector<WeakPtr<TagGroup>> Project::tagGroups() const { return listOf<TagGroup>(components_->store.tagGroups); }

FileExtensions const& Project::imageExtensions() { return casebook::imageExtensions(); }

AuxFileList Project::auxFiles(u64 record, std::set<std::string> const& tags) {
  return filesOf(*components_, record, [&](auto const& file) { return countTags(components_->fileTags, file, tags); });
}
AuxFileList Project::auxFiles(u64 record) {
  AuxFileList list;
  for (auto const* file : components_->auxFiles.ofRecord(record)) list.emplace_back(file->id);
  return list;
}
AuxFileList Project::auxFiles(std::string const& tag) {
  auto const files = components_->fileTags.filesWith(tag);
  AuxFileList list;
  for (u64 const uid : files) list.emplace_back(uid);
  return list;
}
AuxFileList Project::auxFiles() { return listOf<AuxFile>(components_->store.auxFiles); }
AuxFileList Project::auxFilesImage(u64 record) { return filesOf(*components_, record, isImage); }
AuxFileList Project::auxFiles3DX(u64 record) {
  auto const extensions = loadableExtensions();
  return filesOf(*components_, record, [&](auto const& file) { return fileMatchesWildcards(file.path, extensions); });
}
AuxFileList Project::auxFilesNonImage(u64 record, std::set<std::string> const& tags) {
  return filesOf(*components_, record,
                 [&](auto const& file) { return isImage(file) ? 0 : countTags(components_->fileTags, file, tags); });
}

WeakPtr<AuxFile> Project::addAuxFile(u64 record, std::string const& path, std::string const& tag) {
  return WeakPtr<AuxFile>{components_->auxFiles.add(record, path, tag).id};
}
std::string Project::auxFilePath(u64 auxFile) const {
  return components_->auxFiles.fullPath(components_->store.auxFiles.at(auxFile));
}
WeakPtr<Record> Project::auxFileRecord(u64 auxFile) {
  return WeakPtr<Record>{components_->store.auxFiles.at(auxFile).record};
}
std::string Project::auxFileRawPath(u64 auxFile) const { return components_->store.auxFiles.at(auxFile).path; }
std::vector<std::string> Project::auxFileTags(u64 auxFile) { return components_->fileTags.tagsOf(auxFile); }
bool Project::auxFileHasImageExtension(u64 auxFile) const { return isImage(components_->store.auxFiles.at(auxFile)); }
bool Project::auxFileHas3DXExtension(u64 auxFile) const {
  return fileMatchesWildcards(components_->store.auxFiles.at(auxFile).path, loadableExtensions());
}
bool Project::auxFileHasTag(u64 auxFile, std::string const& tag) const {
  return components_->fileTags.hasTag(components_->store.auxFiles.at(auxFile), tag);
}
void Project::eraseAuxFile(u64 auxFile) { components_->deletion.request<DataAuxFile>(auxFile); }

WeakPtr<TagGroup> Project::addTagGroup(std::string const& name) {
  return WeakPtr<TagGroup>{components_->tagGroups.add(name).id};
}
WeakPtr<TagGroup> Project::tagGroup(std::string const& name) {
  return firstNamed<TagGroup>(components_->store.tagGroups, name);
}
std::string const& Project::tagGroupName(u64 tagGroup) const { return components_->store.tagGroups.at(tagGroup).name; }
void Project::setTagGroupName(u64 tagGroup, std::string const& name) { components_->tagGroups.setName(tagGroup, name); }
std::vector<std::string> const& Project::tags(u64 tagGroup) const {
  return components_->store.tagGroups.at(tagGroup).tags;
}
void Project::addTag(u64 tagGroup, std::string const& tag) { components_->tagGroups.addTag(tagGroup, tag); }
void Project::insertTag(u64 tagGroup, std::string const& tag, u64 index) {
  components_->tagGroups.insertTag(tagGroup, tag, index);
}
void Project::removeTag(u64 tagGroup, std::string const& tag) { components_->tagGroups.removeTag(tagGroup, tag); }
std::set<std::string> Project::tags() { return components_->fileTags.tags(); }
std::vector<std::string> Project::imageTags() {
  auto const tags = components_->fileTags.imageTags();
  return {tags.begin(), tags.end()};
}
void Project::removeTags(std::set<std::string> const& tags) { components_->tagRemoval.removeTags(tags); }
void Project::eraseTagGroup(u64 tagGroup) { components_->deletion.request<DataTagGroup>(tagGroup); }

WeakPtr<Regex<Variable>> Project::addVariableRegex(std::string const& expression, Variable const& target) {
  u64 const variable = components_->store.variables.at(target.getWeakPtr().id()).id;
  return WeakPtr<Regex<Variable>>{components_->variableRules.add(expression, variable).id};
}
std::string Project::variableRegexExpression(u64 rule) const {
  return components_->store.variableRegexs.at(rule).expression;
}
WeakPtr<Variable> Project::variableRegexTarget(u64 rule) const {
  return WeakPtr<Variable>{components_->store.variableRegexs.at(rule).target};
}
void Project::setVariableRegexExpression(u64 rule, std::string const& expression) {
  components_->variableRules.setExpression(rule, expression);
}
void Project::setVariableRegexTarget(u64 rule, u64 variable) {
  components_->variableRules.setTarget(rule, components_->store.variables.at(variable).id);
}
void Project::eraseVariableRegex(u64 rule) { components_->deletion.request<DataVariableRegex>(rule); }

WeakPtr<Regex<std::string>> Project::addPathRegex(std::string const& expression, std::string const& target) {
  return WeakPtr<Regex<std::string>>{components_->pathRules.add(expression, target).id};
}
std::string Project::pathRegexExpression(u64 rule) const { return components_->store.pathRegexs.at(rule).expression; }
std::string Project::pathRegexTarget(u64 rule) const { return components_->store.pathRegexs.at(rule).target; }
void Project::setPathRegexExpression(u64 rule, std::string const& expression) {
  components_->pathRules.setExpression(rule, expression);
}
void Project::setPathRegexTarget(u64 rule, std::string const& tag) { components_->pathRules.setTarget(rule, tag); }
void Project::erasePathRegex(u64 rule) { components_->deletion.request<DataPathRegex>(rule); }

void Project::merge(MergeInfo info, boost::shared_ptr<AuxFileCollectionInterface const> const& auxFiles) {
  components_->merge.merge(info, auxFiles);
}
void Project::merge(std::vector<std::vector<Variant>> const& table, std::vector<ColumnInfo> const& descriptions,
                    MergeMethod method, boost::shared_ptr<AuxFileCollectionInterface const> const& auxFiles) {
  components_->merge.merge(table, descriptions, method, auxFiles);
}
MergeInfo Project::merge_prep(std::vector<std::vector<Variant>> const& table,
                              std::vector<ColumnInfo> const& descriptions) const {
  return components_->merge.prepare(table, descriptions);
}

}  // namespace casebook
