// What handles of all kinds share: locks, counts and the transaction's project.

#include <casebook/aux_file.h>
#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/regex.h>
#include <casebook/tag_group.h>
#include <casebook/transaction.h>

namespace casebook {

namespace {

using Count = void (Project::*)(u64) const;

/// The project's operations for one kind of handle.
template <class Handle>
struct Counts {
  Handle (Project::*lock)(u64);
  Count acquire;  ///< by construction from a UID
  Count addRef;
  Count unlock;
};

template <class Handle>
constexpr Counts<Handle> counts{};
template <>
constexpr Counts<AuxFile> counts<AuxFile>{&Project::lockAuxFile, &Project::addRefAuxFile, &Project::addRefAuxFile,
                                          &Project::unlockAuxFile};
template <>
constexpr Counts<Record> counts<Record>{&Project::lockRecord, &Project::addRefRecord, &Project::addRefRecord,
                                        &Project::unlockRecord};
template <>
constexpr Counts<Regex<std::string>> counts<Regex<std::string>>{&Project::lockRegexTag, &Project::addRefRegexTag,
                                                                &Project::addRefRegexTag, &Project::unlockRegexTag};
template <>
constexpr Counts<Regex<Variable>> counts<Regex<Variable>>{&Project::lockRegexVar, &Project::addRefRegexVar,
                                                          &Project::addRefRegexVar, &Project::unlockRegexVar};
// Kept on purpose: a group is acquired by UID through the records.
template <>
constexpr Counts<TagGroup> counts<TagGroup>{&Project::lockTagGroup, &Project::addRefRecord, &Project::addRefTagGroup,
                                            &Project::unlockTagGroup};
template <>
constexpr Counts<Variable> counts<Variable>{&Project::lockVariable, &Project::addRefVariable, &Project::addRefVariable,
                                            &Project::unlockVariable};

void count(Count operation, u64 uid) { (Project::project().*operation)(uid); }

}  // namespace

template <class T, class Id>
T WeakPtr<T, Id>::lock() const {
  return (currentProject().*counts<T>.lock)(id_);
}

template <class T, class Id>
T WeakPtr<T, Id>::lock(Transaction& transaction) const {
  return (transaction.project().*counts<T>.lock)(id_);
}

template <class T>
LockedHandle<T>::LockedHandle(u64 uid) : uid_{uid} {
  count(counts<T>.acquire, uid_);
}

template <class T>
LockedHandle<T>::LockedHandle(LockedHandle const& other) : uid_{other.uid_} {
  count(counts<T>.addRef, uid_);
}

// The old entity is given up only when the new one is there to be taken; of two that are gone the old one is told.
template <class T>
LockedHandle<T>& LockedHandle<T>::operator=(LockedHandle const& other) {
  T const next = WeakPtr<T>{other.uid_}.lock();
  if (next.valid() || !other.valid() || !WeakPtr<T>{uid_}.lock().valid()) count(counts<T>.unlock, uid_);
  count(counts<T>.addRef, other.uid_);
  uid_ = other.uid_;
  return *this;
}

// Never makes a project: where there is none, nothing is counted.
template <class T>
LockedHandle<T>::~LockedHandle() {
  if (uid_ == 0 || !projectPtr) return;
  try {
    (projectPtr->*counts<T>.unlock)(uid_);
  } catch (...) {
    // The entity is gone, and its count with it.
  }
}

template AuxFile WeakPtr<AuxFile>::lock() const;
template AuxFile WeakPtr<AuxFile>::lock(Transaction&) const;
template Record WeakPtr<Record>::lock() const;
template Record WeakPtr<Record>::lock(Transaction&) const;
template Regex<std::string> WeakPtr<Regex<std::string>>::lock() const;
template Regex<std::string> WeakPtr<Regex<std::string>>::lock(Transaction&) const;
template Regex<Variable> WeakPtr<Regex<Variable>>::lock() const;
template Regex<Variable> WeakPtr<Regex<Variable>>::lock(Transaction&) const;
template TagGroup WeakPtr<TagGroup>::lock() const;
template TagGroup WeakPtr<TagGroup>::lock(Transaction&) const;
template Variable WeakPtr<Variable>::lock() const;
template Variable WeakPtr<Variable>::lock(Transaction&) const;

template class LockedHandle<AuxFile>;
template class LockedHandle<Record>;
template class LockedHandle<Regex<std::string>>;
template class LockedHandle<Regex<Variable>>;
template class LockedHandle<TagGroup>;
template class LockedHandle<Variable>;

}  // namespace casebook
