#pragma once

#include "study.h"

#ifndef SQLITE_ENABLE_SESSION
#error "compile with SQLITE_ENABLE_SESSION and SQLITE_ENABLE_PREUPDATE_HOOK, as the library is"
#endif
#include <sqlite3.h>

#include <memory>
#include <span>
#include <string>

/// SQLite at its fastest: one connection, in memory, no locks, no journal of its own, no promises to a disk.
namespace casebook::bench::sqlite {

template <auto destroy>
struct Deleter {
  void operator()(auto* object) const noexcept { destroy(object); }
};

/// A prepared statement.
class Statement {
 public:
  Statement(sqlite3* database, std::string const& sql);

  void bind(int parameter, Variant const& value);
  void bind(int parameter, double value) { sqlite3_bind_double(statement_.get(), parameter, value); }
  void bind(int parameter, u64 value) {
    sqlite3_bind_int64(statement_.get(), parameter, static_cast<sqlite3_int64>(value));
  }
  /// True while there is a row. Throws std::runtime_error.
  bool step();
  void reset() noexcept { sqlite3_reset(statement_.get()); }
  void run() {
    while (step()) continue;
    reset();
  }

  [[nodiscard]] int columns() noexcept { return sqlite3_column_count(statement_.get()); }
  [[nodiscard]] double number(int column) noexcept { return sqlite3_column_double(statement_.get(), column); }
  [[nodiscard]] u64 integer(int column) noexcept {
    return static_cast<u64>(sqlite3_column_int64(statement_.get(), column));
  }
  void addTo(Checksum& checksum, int column, u64 row) noexcept;

 private:
  std::unique_ptr<sqlite3_stmt, Deleter<sqlite3_finalize>> statement_;
};

class Database {
 public:
  Database();

  void execute(std::string const& sql);
  [[nodiscard]] Statement prepare(std::string const& sql) { return {handle(), sql}; }
  /// Fills a table of as many columns as the sheet has.
  void fill(std::string const& table, Sheet const& sheet);
  /// Makes an index on each of the study's first columns but the case identifiers.
  void indexColumns(std::string const& table, std::size_t count);
  /// Of all cells of a table, its rows by its first column.
  [[nodiscard]] u64 checksum(std::string const& table);
  [[nodiscard]] sqlite3* handle() const noexcept { return handle_.get(); }

 private:
  std::unique_ptr<sqlite3, Deleter<sqlite3_close>> handle_;
};

/// "c1 REAL, c2 REAL, ...": the study's columns but the case identifiers, up to the `count`th of all.
[[nodiscard]] std::string columnDefinitions(std::size_t count = studyColumns().size());
/// "id, c1, c2, ...": the first `count` columns.
[[nodiscard]] std::string columnNames(std::size_t count);
/// "c1 = excluded.c1, ...".
[[nodiscard]] std::string columnAssignments();

/// What was done to a table while a session was open.
class Changeset {
 public:
  Changeset() = default;
  Changeset(void* bytes, int size) : bytes_{bytes}, size_{size} {}

  [[nodiscard]] int size() const noexcept { return size_; }
  void undo(Database& database) const { apply(database, SQLITE_CHANGESETAPPLY_INVERT); }
  void redo(Database& database) const { apply(database, 0); }

 private:
  void apply(Database& database, int flags) const;

  std::unique_ptr<void, Deleter<sqlite3_free>> bytes_;
  int size_ = 0;
};

/// A transaction over one table that a session follows.
class RecordedTransaction {
 public:
  RecordedTransaction(Database& database, char const* table);

  [[nodiscard]] Changeset commit();

 private:
  Database& database_;
  std::unique_ptr<sqlite3_session, Deleter<sqlite3session_delete>> session_;
};

}  // namespace casebook::bench::sqlite
