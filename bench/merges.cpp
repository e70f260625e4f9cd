// An imported table merged into a table of as many records: appended, matched by case identifier, matched by three key
// columns. Each round is undone by what the peer itself recorded.

#include "casebook_table.h"
#include "pandas_peer.h"
#include "plain_table.h"
#include "process_memory.h"
#include "sqlite.h"
#include "stopwatch.h"
#include "undo_stack.h"
#include "workloads.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <array>
#include <optional>
#include <stdexcept>

namespace casebook::bench {

namespace {

/// One kind of merge.
struct Kind {
  MergeMethod method;
  Incoming (*incoming)(u64 rows);
};
constexpr Kind append{MergeMethod::Append, newRows};
constexpr Kind byId{MergeMethod::ByCaseId, sameCases};
constexpr Kind byKey{MergeMethod::ByIndependentVariables, sameKeys};

/// A round of any peer: it merges and keeps what undoes it, and undoes it.
class MergePeer : public Peer {
 public:
  void round(Report& report) final {
    if (!memory_) memory_.emplace();
    memory_->restart();
    merge(report);
    report.figure("peak memory", "MB", memory_->megabytes());
    report.check("cells", checksum());
    Stopwatch const watch;
    undo();
    report.milliseconds("undo", watch.seconds());
    report.check("cells undone", checksum());
  }

 protected:
  static constexpr char const* recorded = "merged and recorded";

 private:
  virtual void merge(Report& report) = 0;
  virtual void undo() = 0;
  virtual u64 checksum() = 0;

  std::optional<PeakMemory> memory_;  // from before the first round
};

class Casebook : public MergePeer {
 public:
  Casebook(u64 records, Kind kind)
      : method_{kind.method},
        table_{studySheet(records)},
        incoming_{kind.incoming(records)},
        descriptions_{descriptionsOf(incoming_.columns)} {}

 private:
  void merge(Report& report) override {
    double const fresh = table_.transaction([&] { table_->merge(incoming_.cells, descriptions_, method_, noFiles()); });
    report.milliseconds(recorded, table_.untilJournalled());
    report.milliseconds("all fresh", fresh);
  }
  void undo() override { table_.undoLast(); }
  u64 checksum() override { return table_.checksum(); }

  MergeMethod method_;
  CasebookTable table_;
  Incoming incoming_;
  std::vector<ColumnInfo> descriptions_;
};

class Plain : public MergePeer {
 public:
  Plain(u64 records, Kind kind) : table_{studySheet(records)}, incoming_{kind.incoming(records)} {}

 protected:
  PlainTable table_;
  Incoming const incoming_;

  /// Appends the incoming rows, whose columns are all but the first.
  void append(auto const& rows) {
    u64 const first = table_.rows();
    table_.reserve(first + rows.size());
    for (u64 k = 0; k < rows.size(); ++k) table_.addRow();
    for (std::size_t column = 0; column < incoming_.cells.size(); ++column)
      for (u64 k = 0; k < rows.size(); ++k) table_.set(column + 1, first + k, incoming_.cells[column][rows[k]]);
  }
  /// Writes what differs; the incoming columns begin at `firstColumn` of the table.
  void overwrite(u64 row, u64 incomingRow, std::size_t firstColumn) {
    for (std::size_t column = 0; column < incoming_.cells.size(); ++column) {
      auto const& cell = incoming_.cells[column][incomingRow];
      if (table_.cells()[column + firstColumn][row] != cell) table_.set(column + firstColumn, row, cell);
    }
  }

 private:
  virtual void mergeRows() = 0;

  void merge(Report& report) override {
    Stopwatch const watch;
    table_.begin();
    mergeRows();
    table_.commit();
    report.milliseconds(recorded, watch.seconds());
  }
  void undo() override {
    if (!table_.undo()) throw std::runtime_error{"the journal is damaged"};
  }
  u64 checksum() override { return checksumOf(table_.cells()); }
};

std::vector<u64> allRows(u64 rows) {
  std::vector<u64> all(rows);
  for (u64 row = 0; row < rows; ++row) all[row] = row;
  return all;
}

class PlainAppend : public Plain {
 public:
  explicit PlainAppend(u64 records) : Plain{records, bench::append} {}

 private:
  void mergeRows() override { append(allRows(incoming_.cells.front().size())); }
};

class PlainById : public Plain {
 public:
  explicit PlainById(u64 records) : Plain{records, byId} {}

 private:
  void mergeRows() override {
    boost::unordered_flat_map<u64, u64> rows;
    rows.reserve(table_.rows());
    for (u64 row = 0; row < table_.rows(); ++row) rows.emplace(table_.cells().front()[row].longValue(), row);
    auto const& ids = incoming_.cells.front();
    for (u64 row = 0; row < ids.size(); ++row)
      if (auto const found = rows.find(ids[row].longValue()); found != rows.end()) overwrite(found->second, row, 0);
  }
};

class PlainByKey : public Plain {
 public:
  explicit PlainByKey(u64 records) : Plain{records, byKey} {
    for (std::size_t column = 1; column < studyColumns().size(); ++column)
      if (studyColumns()[column].isKey) keys_.push_back(column);
  }

 private:
  using Key = std::array<Variant, 3>;
  struct Hash {
    std::size_t operator()(Key const& key) const noexcept {
      u64 hash = 0;
      for (auto const& cell : key)
        hash = scramble(hash +
                        (cell.type() == Variant::String ? std::hash<std::string>{}(cell.stringValue()) : cell.word()));
      return hash;
    }
  };

  [[nodiscard]] Key keyIn(Sheet const& sheet, u64 row, std::size_t firstColumn) const {
    return {sheet[keys_[0] - firstColumn][row], sheet[keys_[1] - firstColumn][row], sheet[keys_[2] - firstColumn][row]};
  }

  void mergeRows() override {
    // Rows of one key are linked, the lowest first.
    u64 const rows = table_.rows();
    boost::unordered_flat_map<Key, u64, Hash> first;
    first.reserve(rows);
    std::vector<u64> next(rows, rows);
    for (u64 row = rows; row-- > 0;) {
      auto const [at, isNew] = first.try_emplace(keyIn(table_.cells(), row, 0), row);
      if (!isNew) next[row] = std::exchange(at->second, row);
    }
    std::vector<u64> unmatched;
    for (u64 row = 0; row < incoming_.cells.front().size(); ++row) {
      auto const at = first.find(keyIn(incoming_.cells, row, 1));
      if (at == first.end() || at->second == rows) unmatched.push_back(row);
      else overwrite(std::exchange(at->second, next[at->second]), row, 1);
    }
    append(unmatched);
  }

  std::vector<std::size_t> keys_;
};

/// One or two statements of SQL over the incoming rows, which lie in a table of the same database.
class Sqlite : public MergePeer {
 public:
  Sqlite(u64 records, Kind kind) {
    database_.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, " + columnDefinitions() + ")");
    database_.fill("t", studySheet(records));
    auto const incoming = kind.incoming(records);
    bool const hasIds = incoming.columns.size() == studyColumns().size();
    database_.execute("CREATE TABLE incoming(" + std::string{hasIds ? "id INTEGER PRIMARY KEY, " : ""} +
                      sqlite::columnDefinitions() + ")");
    database_.fill("incoming", incoming.cells);
  }

 protected:
  sqlite::Database database_;

 private:
  static std::string columnDefinitions() { return sqlite::columnDefinitions(); }
  virtual void mergeRows() = 0;

  void merge(Report& report) override {
    Stopwatch const watch;
    sqlite::RecordedTransaction transaction{database_, "t"};
    mergeRows();
    changes_.emplace(transaction.commit());
    report.milliseconds(recorded, watch.seconds());
  }
  void undo() override {
    changes_->undo(database_);
    changes_.reset();
  }
  u64 checksum() override { return database_.checksum("t"); }

  std::optional<sqlite::Changeset> changes_;
};

class SqliteAppend : public Sqlite {
 public:
  explicit SqliteAppend(u64 records) : Sqlite{records, append} {}

 private:
  void mergeRows() override {
    database_.execute("INSERT INTO t SELECT NULL, * FROM incoming");  // NULL: one more than the highest
  }
};

class SqliteById : public Sqlite {
 public:
  explicit SqliteById(u64 records) : Sqlite{records, byId} {}

 private:
  // Without the clause WHERE, "ON" would begin a join.
  void mergeRows() override {
    database_.execute("INSERT INTO t SELECT * FROM incoming WHERE true ON CONFLICT(id) DO UPDATE SET " +
                      sqlite::columnAssignments());
  }
};

/// Rows of equal keys are numbered on both sides: equal numbers belong together. A missing key becomes -1, which no key
/// is, since an index does not serve a join by IS.
class SqliteByKey : public Sqlite {
 public:
  explicit SqliteByKey(u64 records) : Sqlite{records, byKey} {}

 private:
  void mergeRows() override {
    database_.execute(R"(
        CREATE TEMP TABLE numbered(k1 REAL, k2 REAL, k3 TEXT, n INTEGER, id INTEGER);
        INSERT INTO numbered
          SELECT ifnull(c1, -1), ifnull(c2, -1), c26, row_number() OVER (PARTITION BY c1, c2, c26 ORDER BY id), id
          FROM t;
        CREATE INDEX temp.by_key ON numbered(k1, k2, k3, n, id);
        CREATE TEMP TABLE target(row INTEGER PRIMARY KEY, id INTEGER);
        INSERT INTO target
          SELECT row, coalesce(id, (SELECT max(id) FROM t) + sum(id IS NULL) OVER (ORDER BY row))
          FROM (SELECT rowid AS row, c1, c2, c26, row_number() OVER (PARTITION BY c1, c2, c26 ORDER BY rowid) AS number
                FROM incoming)
          LEFT JOIN numbered ON k1 = ifnull(c1, -1) AND k2 = ifnull(c2, -1) AND k3 = c26 AND n = number;
        INSERT INTO t
          SELECT target.id, incoming.* FROM incoming JOIN target ON row = incoming.rowid WHERE true
          ON CONFLICT(id) DO UPDATE SET )" +
                      sqlite::columnAssignments() + "; DROP TABLE target; DROP TABLE numbered");
  }
};

template <class Model>
class UndoStackAppend : public MergePeer {
 public:
  explicit UndoStackAppend(u64 records) : model_{studySheet(records)}, rows_(records) {
    auto const incoming = newRows(records);
    for (u64 row = 0; row < records; ++row) {
      rows_[row].emplace_back(static_cast<qulonglong>(records + row + 1));
      for (auto const& column : incoming.cells) rows_[row].push_back(qt::valueOf(column[row]));
    }
  }

 private:
  void merge(Report& report) override {
    Stopwatch const watch;
    stack_.push(new qt::AppendRows<Model>{model_, rows_});
    report.milliseconds(recorded, watch.seconds());
  }
  void undo() override { stack_.undo(); }
  u64 checksum() override { return qt::checksumOf(model_); }

  Model model_;
  QUndoStack stack_;
  std::vector<std::vector<QVariant>> rows_;
};

Contestant pandas(Kind kind, std::string const& name) {
  bool const asTexts = name.starts_with("MergeTexts");
  return pandasContestant(
      asTexts ? "pandas, texts" : "pandas, categories",
      std::string{"keeps the changes as arrays, no stored block; no statistics, no checks"} +
          (asTexts ? "" : "; the incoming texts of few values are categories beforehand"),
      name, [kind](u64 records) { return std::vector{studySheet(records), kind.incoming(records).cells}; });
}

constexpr char const* sqliteLacks =
    "no statistics or indexes kept up, no checks of names and types, no change signals; the incoming rows lie in its "
    "database beforehand";
constexpr char const* plainLacks = "nothing but cells and bytes of a journal: the floor";
constexpr char const* undoStackLacks = "no block to store, no statistics, no checks; the rows lie converted beforehand";

}  // namespace

std::vector<Workload> merges() {
  return {
      {"append",
       "as many rows appended as the table has",
       {contestant<Casebook>(library, "", append), contestant<SqliteAppend>("SQLite session", sqliteLacks),
        contestant<UndoStackAppend<qt::Columns>>("QUndoStack, variants", undoStackLacks),
        contestant<UndoStackAppend<qt::Items>>("QUndoStack, item model", undoStackLacks),
        contestant<PlainAppend>("plain", plainLacks)}},
      {"by-id",
       "all rows of the table merged by case identifier, 30% of the cells differ",
       {contestant<Casebook>(library, "", byId), contestant<SqliteById>("SQLite session", sqliteLacks),
        pandas(byId, "MergeTextsById"), pandas(byId, "MergeById"), contestant<PlainById>("plain", plainLacks)}},
      {"by-key",
       "as many rows as the table has merged by three key columns with duplicates; each row of the table is claimed "
       "once, the rest is appended",
       {contestant<Casebook>(library, "", byKey), contestant<SqliteByKey>("SQLite session", sqliteLacks),
        pandas(byKey, "MergeTextsByKey"), pandas(byKey, "MergeByKey"), contestant<PlainByKey>("plain", plainLacks)}}};
}

}  // namespace casebook::bench
