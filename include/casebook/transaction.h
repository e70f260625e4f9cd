#pragma once

#include <casebook/export.h>

#include <cstdint>

namespace casebook {

using u64 = std::uint64_t;

class Project;

/// One level of a project's open transactions. The transaction ends with the last level: deletions are carried out,
/// signals and the journal block emitted.
///
/// It is never rolled back by itself: the destructor ends it, also while an exception passes. An exception from the
/// end of a transaction ends the process when it comes from a destructor, so hosts call `commit`, and store what the
/// journal signal gave them after it returned. It must not outlive its project.
class CASEBOOK_EXPORT Transaction {
 public:
  /// Raises the depth by one, whatever the source holds. Copying a committed transaction throws
  /// varnel::ExceptionBase("The transaction was committed already.", true).
  Transaction(Transaction const& other);

  /// Gives up what the target holds, then copies as the constructor does (a committed source throws before that).
  /// Self-assignment does both too, which may end the outermost transaction and leave a level open. Exceptions of
  /// the end of a transaction pass; the target then holds nothing.
  Transaction& operator=(Transaction const& other);

  /// Gives up the level that the object holds.
  virtual ~Transaction();

  /// The project; throws as copying does once committed.
  [[nodiscard]] virtual Project& project() const;
  [[nodiscard]] virtual Project* operator->() const;

  /// Gives up the level here, where exceptions can pass: those of slots and of the steps at the end of a
  /// transaction, of which the first is thrown when everything that was done is handed out and reported. Within a
  /// deeper level only the depth falls. A second call and the destructor do nothing.
  void commit();

 private:
  friend class Project;

  Transaction() noexcept = default;
  // The depth has been raised already; a non-zero `active` means that this object holds a level and gives it up.
  Transaction(Project& project, u64 active) noexcept : project_{&project}, active_{active} {}

  void release();

  Project* project_ = nullptr;
  u64 active_ = 0;
};

}  // namespace casebook
