// Lock counts of the six kinds of entity.

#include <casebook/aux_file.h>
#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/regex.h>
#include <casebook/tag_group.h>

#include "project/components.h"
#include "store/locks.h"

namespace casebook {

namespace {

template <class Handle, class Entity>
Handle lock(EntityMap<Entity> const& map, u64 uid) {
  return {tryLock(map, uid) ? uid : 0, NoLockRequired{}};
}

}  // namespace

AuxFile Project::lockAuxFile(u64 uid) { return lock<AuxFile>(components_->store.auxFiles, uid); }
Record Project::lockRecord(u64 uid) { return lock<Record>(components_->store.records, uid); }
Regex<std::string> Project::lockRegexTag(u64 uid) {
  return lock<Regex<std::string>>(components_->store.pathRegexs, uid);
}
Regex<Variable> Project::lockRegexVar(u64 uid) { return lock<Regex<Variable>>(components_->store.variableRegexs, uid); }
TagGroup Project::lockTagGroup(u64 uid) { return lock<TagGroup>(components_->store.tagGroups, uid); }
Variable Project::lockVariable(u64 uid) { return lock<Variable>(components_->store.variables, uid); }

void Project::addRefAuxFile(u64 uid) const { addRef(components_->store.auxFiles, uid); }
void Project::addRefRecord(u64 uid) const { addRef(components_->store.records, uid); }
void Project::addRefRegexTag(u64 uid) const { addRef(components_->store.pathRegexs, uid); }
void Project::addRefRegexVar(u64 uid) const { addRef(components_->store.variableRegexs, uid); }
void Project::addRefTagGroup(u64 uid) const { addRef(components_->store.tagGroups, uid); }
void Project::addRefVariable(u64 uid) const { addRef(components_->store.variables, uid); }

void Project::unlockAuxFile(u64 uid) const { unlock(components_->store.auxFiles, uid); }
void Project::unlockRecord(u64 uid) const { unlock(components_->store.records, uid); }
void Project::unlockRegexTag(u64 uid) const { unlock(components_->store.pathRegexs, uid); }
void Project::unlockRegexVar(u64 uid) const { unlock(components_->store.variableRegexs, uid); }
void Project::unlockTagGroup(u64 uid) const { unlock(components_->store.tagGroups, uid); }
void Project::unlockVariable(u64 uid) const { unlock(components_->store.variables, uid); }

}  // namespace casebook
