#include "transactions/deletion.h"

#include "platform/first_error.h"

namespace casebook {

namespace {

[[noreturn]] void refuse(char const* why) { throw varnel::ExceptionBase{why, true}; }

}  // namespace

template <class Entity>
void Deletion::request(u64 uid) {
  constexpr auto kind = kindOf<Entity>;
  auto* const entity = store_.map<Entity>().find(uid);
  if (log_.erased().of(kind).contains(uid) || (entity && entity->flag != 0))
    refuse("Attempted to delete the same data entity twice in a single transaction");
  if (log_.created().of(kind).contains(uid))
    refuse("Cannot add and delete the same data entity in a single transaction");
  if (std::is_same_v<Entity, DataVariable> && uid == store_.caseId->id) refuse("Cannot delete Case ID variable");
  if (!entity) refuse("Attempted to delete non-existent data entity");
  pending_.of(kind).insert(uid);
  entity->flag = 1;
}

template <class Entity>
void Deletion::removeNow(Entity& entity) {
  u64 const uid = entity.id;
  remove(entity);
  pending_.of(kindOf<Entity>).erase(uid);
}

template <class Entity>
void Deletion::performFor() {
  auto& pending = pending_.of(kindOf<Entity>);
  while (!pending.empty()) {
    // A file may have gone with its record, and a replay may have brought it back, no longer awaiting anything.
    if (auto* const entity = store_.map<Entity>().find(*pending.begin()); entity && entity->flag != 0) remove(*entity);
    pending.erase(pending.begin());
  }
}

void Deletion::performForRecords() {
  FirstError error;
  error.guard([this] { performFor<DataRecord>(); });
  table_.settleRows();
  error.rethrow();
}

void Deletion::performDelayedErasures() {
  if (!waiting()) return;
  FirstError error;
  bool const performed = error.guard([this] {
    performFor<DataVariable>();
    performFor<DataAuxFile>();
    performForRecords();
    performFor<DataTagGroup>();
    performFor<DataPathRegex>();
    performFor<DataVariableRegex>();
  });
  if (!performed) giveUp();
  error.rethrow();
}

void Deletion::giveUp() noexcept {
  giveUpFor<DataVariable>();
  giveUpFor<DataAuxFile>();
  giveUpFor<DataRecord>();
  giveUpFor<DataTagGroup>();
  giveUpFor<DataPathRegex>();
  giveUpFor<DataVariableRegex>();
  clear();
}

template <class Entity>
void Deletion::giveUpFor() noexcept {
  for (u64 const uid : pending_.of(kindOf<Entity>))
    if (auto* const entity = store_.map<Entity>().find(uid)) entity->flag = 0;
}

template void Deletion::request<DataVariable>(u64);
template void Deletion::request<DataRecord>(u64);
template void Deletion::request<DataAuxFile>(u64);
template void Deletion::request<DataTagGroup>(u64);
template void Deletion::request<DataVariableRegex>(u64);
template void Deletion::request<DataPathRegex>(u64);

template void Deletion::removeNow(DataVariable&);
template void Deletion::removeNow(DataRecord&);
template void Deletion::removeNow(DataAuxFile&);
template void Deletion::removeNow(DataTagGroup&);
template void Deletion::removeNow(DataVariableRegex&);
template void Deletion::removeNow(DataPathRegex&);

}  // namespace casebook
