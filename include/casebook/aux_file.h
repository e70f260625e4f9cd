#pragma once

#include <casebook/locked_handle.h>

#include <string>
#include <vector>

namespace casebook {

class Record;

/// A locked handle to one file attached to a record. Reads ask Project::project(), changes go to the project of the
/// transaction. The order of the virtual operations is part of the interface.
class CASEBOOK_EXPORT AuxFile : public LockedHandle<AuxFile> {
 public:
  AuxFile(u64 uid, NoLockRequired tag) noexcept : LockedHandle{uid, tag} {}
  AuxFile(AuxFile const&) = default;
  AuxFile& operator=(AuxFile const&) = default;

  virtual ~AuxFile();
  /// The record that the file belongs to.
  [[nodiscard]] virtual Record record() const;
  [[nodiscard]] virtual std::vector<std::string> tags() const;
  [[nodiscard]] virtual bool isImageFile() const;
  [[nodiscard]] virtual bool is3DXFile() const;
  [[nodiscard]] virtual bool hasTag(std::string const& tag) const;
  [[nodiscard]] virtual WeakPtr<AuxFile> getWeakPtr() const;

  /// The path as it was given.
  [[nodiscard]] std::string rawFilePath() const;
  /// The path joined to the project's root path, unless it is absolute.
  [[nodiscard]] std::string filePath() const;

  void erase(Transaction& transaction);

 private:
  friend struct HandleAccess;
  explicit AuxFile(u64 uid) : LockedHandle{uid} {}
};

extern template CASEBOOK_EXPORT AuxFile WeakPtr<AuxFile>::lock() const;
extern template CASEBOOK_EXPORT AuxFile WeakPtr<AuxFile>::lock(Transaction& transaction) const;

}  // namespace casebook
