// One record erased, added or given another case identifier in a transaction of its own, and a count asked after each.

#include "calculations.h"
#include "casebook_table.h"
#include "columns.h"
#include "sqlite.h"
#include "stopwatch.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

/// A peer that makes its edits and takes them back, the last first.
class OneRecordPeer : public Peer {
 public:
  explicit OneRecordPeer(u64 records) : records_{records} {}

  void round(Report& report) final {
    measure(report, "erase", [this](u64 k) { erase(rowOf(k)); });
    measure(report, "add", [this](u64) { add(); });
    measure(report, "other case identifier", [this](u64 k) { identify(rowOf(k), records_ + 1 + scattered(k)); });
    report.check("cells at last", checksum());
  }

 private:
  // Where a transaction takes a second, it shall not take minutes.
  static constexpr double longest = 0.4;
  static constexpr u64 mostEdits = 100;
  static constexpr u64 codes = 100;

  virtual void erase(u64 row) = 0;
  virtual void add() = 0;
  virtual void identify(u64 row, u64 caseId) = 0;
  virtual void takeBack() = 0;
  /// A column of some 100 values.
  virtual Column& coded() = 0;
  virtual u64 records() = 0;
  virtual u64 checksum() = 0;

  /// The numbers below `mostEdits` in another order.
  static u64 scattered(u64 k) noexcept { return k * 37 % mostEdits; }
  [[nodiscard]] u64 rowOf(u64 k) const noexcept { return scattered(k) * (records_ / mostEdits); }

  /// The first edit warms up and is compared.
  void measure(Report& report, std::string const& name, auto const& edit) {
    edit(0);
    compare(report, name);
    u64 edits = 0;
    Stopwatch const editing;
    while (edits == 0 || (edits + 1 < mostEdits && editing.seconds() < longest)) {
      edit(++edits);
      static_cast<void>(coded().count(static_cast<double>(edits % codes)));
    }
    reportMean(report, name, editing, edits);
    Stopwatch const undoing;
    for (u64 k = 0; k < edits; ++k) takeBack();
    static_cast<void>(coded().count(0));  // what was put off until somebody asks belongs to the undos
    reportMean(report, "undo of " + name, undoing, edits);
    takeBack();
  }

  static void reportMean(Report& report, std::string const& measure, Stopwatch const& watch, u64 edits) {
    report.figure(measure, "us", watch.seconds() * 1e6 / static_cast<double>(edits));
  }

  void compare(Report& report, std::string const& name) {
    u64 total = 0;
    for (u64 code = 0; code < codes; ++code) total += coded().cases(static_cast<double>(code)).second;
    report.check("cases after " + name, total);
    report.check("records after " + name, records());
  }

  u64 const records_;
};

class Casebook : public OneRecordPeer {
 public:
  explicit Casebook(u64 records) : OneRecordPeer{records}, table_{enteredSheet(records)} {}

 private:
  void commit(auto const& edit) {
    table_.transaction(edit);
    blocks_.push_back(table_.block());
  }
  void erase(u64 row) override {
    commit([&] { table_->eraseRecord(records_[row].id()); });
  }
  void add() override {
    commit([&] { table_->addRecord(); });
  }
  void identify(u64 row, u64 caseId) override {
    commit([&] {
      table_->setValue(variables_.front(), records_[row].lock(), Variant::ofWord(caseId, Variant::UnsignedInteger));
    });
  }
  void takeBack() override {
    table_.replay(blocks_.back(), Journal::Direction::Backwards);
    blocks_.pop_back();
  }
  Column& coded() override { return coded_; }
  u64 records() override { return table_->records().size(); }
  u64 checksum() override { return table_.checksum(enteredColumns()); }

  CalculatedTable table_;
  std::vector<Variable> variables_ = table_.variables();
  std::vector<WeakPtr<Record>> records_ = table_->records();
  std::vector<CasebookTable::Block> blocks_;
  CasebookColumn coded_{table_.project(), variables_[1].getWeakPtr().id()};
};

sqlite::Database indexedDatabase(u64 records) {
  sqlite::Database database;
  database.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, " + sqlite::columnDefinitions(enteredColumns()) + ")");
  database.fill("t", enteredSheet(records));
  database.indexColumns("t", enteredColumns());
  return database;
}

class Sqlite : public OneRecordPeer {
 public:
  explicit Sqlite(u64 records) : OneRecordPeer{records}, database_{indexedDatabase(records)} {}

 private:
  void commit(sqlite::Statement& statement) {
    sqlite::RecordedTransaction transaction{database_, "t"};
    statement.run();
    changes_.push_back(transaction.commit());
  }
  void erase(u64 row) override {
    erase_.bind(1, row + 1);
    commit(erase_);
  }
  void add() override { commit(add_); }
  void identify(u64 row, u64 caseId) override {
    identify_.bind(1, row + 1);
    identify_.bind(2, caseId);
    commit(identify_);
  }
  void takeBack() override {
    changes_.back().undo(database_);
    changes_.pop_back();
  }
  Column& coded() override { return coded_; }
  u64 records() override {
    count_.step();
    u64 const count = count_.integer(0);
    count_.reset();
    return count;
  }
  u64 checksum() override { return database_.checksum("t"); }

  sqlite::Database database_;
  sqlite::Statement erase_ = database_.prepare("DELETE FROM t WHERE id = ?");
  sqlite::Statement add_ = database_.prepare("INSERT INTO t(id) VALUES(NULL)");  // NULL: one more than the highest
  sqlite::Statement identify_ = database_.prepare("UPDATE t SET id = ?2 WHERE id = ?1");
  sqlite::Statement count_ = database_.prepare("SELECT count(*) FROM t");
  SqliteColumn coded_{database_, "c1"};
  std::vector<sqlite::Changeset> changes_;
};

}  // namespace

std::vector<Workload> oneRecord() {
  return {{"one-record",
           "one record erased, added or given another case identifier in a transaction of its own, then a count asked",
           {contestant<Casebook>(library, ""),
            contestant<Sqlite>("SQLite session, all indexed",
                               "no calculated columns: sessions do not go with generated ones")},
           {1'000, 10'000, 100'000}}};
}

}  // namespace casebook::bench
