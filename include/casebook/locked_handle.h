#pragma once

#include <casebook/export.h>
#include <casebook/weak_ptr.h>

namespace casebook {

struct HandleAccess;

/// Tells a handle's constructor that the entity's lock count was raised already.
struct NoLockRequired {};

/// The life of a locked handle to an entity of kind `T`: it holds the entity's UID and keeps its lock count raised in
/// Project::project(), the current project. UID 0 is the invalid handle, which counts nowhere.
///
/// A handle may outlive its entity and its project: then the destructor does nothing.
template <class T>
class CASEBOOK_EXPORT LockedHandle {
 public:
  [[nodiscard]] bool valid() const noexcept { return uid_ != 0; }
  [[nodiscard]] friend bool operator==(LockedHandle const& a, LockedHandle const& b) noexcept {
    return a.uid_ == b.uid_;
  }

 protected:
  explicit LockedHandle(u64 uid);
  LockedHandle(u64 uid, NoLockRequired) noexcept : uid_{uid} {}

  /// Throws varnel::ExceptionBase("Attempted to create or copy an invalid data entity", false) when the entity is
  /// gone.
  LockedHandle(LockedHandle const& other);

  /// Gives up the old entity, then takes the new one. Throws, before anything changes,
  /// varnel::ExceptionBase("Attempted to unlock an unknown data entity", true) when the old entity is gone or the
  /// target is invalid, and as copying does when the new one is gone.
  LockedHandle& operator=(LockedHandle const& other);

  ~LockedHandle();

  [[nodiscard]] u64 uid() const noexcept { return uid_; }

 private:
  u64 uid_;
};

}  // namespace casebook
