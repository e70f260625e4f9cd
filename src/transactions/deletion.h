#pragma once

#include "store/erase.h"
#include "store/table.h"
#include "transactions/change_log.h"

namespace casebook {

/// Deletions are requested while a transaction is open and carried out when it ends, so that every handle, value and
/// index keeps its meaning until then.
class Deletion {
 public:
  /// All are borrowed.
  Deletion(Store& store, ChangeSink& sink, ChangeLog const& log, Table& table)
      : store_{store}, sink_{sink}, log_{log}, table_{table} {}

  /// Enters the entity as awaiting its erasure. Throws, with true:
  ///   ("Attempted to delete the same data entity twice in a single transaction")
  ///   ("Cannot add and delete the same data entity in a single transaction")
  ///   ("Cannot delete Case ID variable")
  ///   ("Attempted to delete non-existent data entity")
  template <class Entity>
  void request(u64 uid);

  /// Takes the entity out now, whatever was requested.
  template <class Entity>
  void removeNow(Entity& entity);

  /// Takes out all that await it, kind by kind. When it throws, those left stay and no longer await it: what the host
  /// was told has failed must not happen when the next transaction ends.
  void performDelayedErasures();

  [[nodiscard]] bool waiting() const noexcept { return !pending_.empty(); }
  /// Forgets all requests, of a store that was emptied.
  void clear() noexcept { pending_.clear(); }

 private:
  template <class Entity>
  void performFor();
  void performForRecords();
  void giveUp() noexcept;
  template <class Entity>
  void giveUpFor() noexcept;
  void remove(DataRecord& record) { table_.removeRecord(record); }
  template <class Entity>
  void remove(Entity& entity) {
    erase(store_, sink_, entity);
  }

  Store& store_;
  ChangeSink& sink_;
  ChangeLog const& log_;
  Table& table_;
  UidSets pending_;
};

}  // namespace casebook
