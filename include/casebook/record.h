#pragma once

#include <casebook/locked_handle.h>
#include <casebook/variant.h>

#include <set>
#include <string>
#include <vector>

namespace casebook {

class AuxFile;
class Variable;

/// A locked handle to one record: a case, a row of the table. Reads ask Project::project(), changes go to the
/// project of the transaction.
class CASEBOOK_EXPORT Record : public LockedHandle<Record> {
 public:
  Record(u64 uid, NoLockRequired tag) noexcept : LockedHandle{uid, tag} {}
  Record(Record const&) = default;
  Record& operator=(Record const&) = default;
  virtual ~Record();

  [[nodiscard]] WeakPtr<Record> getWeakPtr() const noexcept { return WeakPtr<Record>{uid()}; }

  void activate(Transaction& transaction);
  void deactivate(Transaction& transaction);
  [[nodiscard]] bool isActive() const;

  /// Writes the whole row, one cell per variable in ascending UID order. See Project::setRow.
  void setData(std::vector<Variant> const& row, Transaction& transaction);
  /// Writes one cell. See Project::setValue.
  void setData(Variant const& value, Variable const& variable, Transaction& transaction);
  /// One cell; the reference lasts until the table changes.
  [[nodiscard]] Variant const& data(Variable const& variable) const;
  /// The row, one cell per variable in ascending UID order.
  [[nodiscard]] std::vector<Variant> data() const;

  [[nodiscard]] std::vector<WeakPtr<AuxFile>> auxFiles() const;
  [[nodiscard]] std::vector<WeakPtr<AuxFile>> auxFiles(std::set<std::string> const& tags) const;
  [[nodiscard]] std::vector<WeakPtr<AuxFile>> auxFilesImage() const;
  [[nodiscard]] std::vector<WeakPtr<AuxFile>> auxFiles3DX() const;
  [[nodiscard]] std::vector<WeakPtr<AuxFile>> auxFilesNonImage(std::set<std::string> const& tags) const;
  WeakPtr<AuxFile> addAuxFile(std::string const& path, Transaction& transaction, std::string const& tag = {});

  void erase(Transaction& transaction);

 private:
  friend struct HandleAccess;
  explicit Record(u64 uid) : LockedHandle{uid} {}
};

extern template CASEBOOK_EXPORT Record WeakPtr<Record>::lock() const;
extern template CASEBOOK_EXPORT Record WeakPtr<Record>::lock(Transaction& transaction) const;

}  // namespace casebook
