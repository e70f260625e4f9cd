#pragma once

#include <casebook/locked_handle.h>

#include <string>
#include <vector>

namespace casebook {

/// A locked handle to one named, ordered list of tags. Reads ask Project::project(), changes go to the project of
/// the transaction. The order of the virtual operations is part of the interface.
class CASEBOOK_EXPORT TagGroup : public LockedHandle<TagGroup> {
 public:
  TagGroup(u64 uid, NoLockRequired tag) noexcept : LockedHandle{uid, tag} {}
  TagGroup(TagGroup const&) = default;
  TagGroup& operator=(TagGroup const&) = default;

  virtual ~TagGroup();
  [[nodiscard]] virtual std::string const& name() const;
  virtual void setName(std::string const& name, Transaction& transaction);
  [[nodiscard]] virtual std::vector<std::string> const& tags() const;
  virtual void addTag(std::string const& tag, Transaction& transaction);
  virtual void removeTag(std::string const& tag, Transaction& transaction);
  virtual void insertTag(std::string const& tag, u64 index, Transaction& transaction);
  [[nodiscard]] virtual WeakPtr<TagGroup> getWeakPtr() const;

  void erase(Transaction& transaction);

 private:
  friend struct HandleAccess;
  explicit TagGroup(u64 uid) : LockedHandle{uid} {}
};

extern template CASEBOOK_EXPORT TagGroup WeakPtr<TagGroup>::lock() const;
extern template CASEBOOK_EXPORT TagGroup WeakPtr<TagGroup>::lock(Transaction& transaction) const;

}  // namespace casebook
