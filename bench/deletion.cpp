// Every second record deleted in one transaction, undone and redone.

#include "casebook_table.h"
#include "sqlite.h"
#include "stopwatch.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

class DeletionPeer : public Peer {
 public:
  void round(Report& report) final {
    timed(report, "delete", [this] { erase(); });
    timed(report, "undo", [this] { undo(); });
    timed(report, "redo", [this] { redo(); });
    undo();
    report.check("cells at last", checksum());
  }

 private:
  virtual void erase() = 0;
  virtual void undo() = 0;
  virtual void redo() = 0;
  virtual u64 checksum() = 0;

  void timed(Report& report, std::string const& measure, auto const& work) {
    Stopwatch const watch;
    work();
    report.milliseconds(measure, watch.seconds());
    report.check("cells after " + measure, checksum());
  }
};

class Casebook : public DeletionPeer {
 public:
  explicit Casebook(u64 records) : table_{studySheet(records)} {}

 private:
  void erase() override {
    auto const records = table_->records();
    table_.transaction([&] {
      for (std::size_t k = 0; k < records.size(); k += 2) table_->eraseRecord(records[k].id());
    });
    block_ = table_.block();
  }
  void undo() override { table_.replay(block_, Journal::Direction::Backwards); }
  void redo() override { table_.replay(block_, Journal::Direction::Forwards); }
  u64 checksum() override { return table_.checksum(); }

  CasebookTable table_;
  CasebookTable::Block block_;
};

class Sqlite : public DeletionPeer {
 public:
  explicit Sqlite(u64 records) {
    database_.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, " + sqlite::columnDefinitions() + ")");
    database_.fill("t", studySheet(records));
  }

 private:
  void erase() override {
    sqlite::RecordedTransaction transaction{database_, "t"};
    database_.execute("DELETE FROM t WHERE id % 2 = 1");
    changes_ = transaction.commit();
  }
  void undo() override { changes_.undo(database_); }
  void redo() override { changes_.redo(database_); }
  u64 checksum() override { return database_.checksum("t"); }

  sqlite::Database database_;
  sqlite::Changeset changes_;
};

}  // namespace

std::vector<Workload> deletion() {
  return {
      {"deletion",
       "every second record deleted in one transaction; all fresh at the end",
       {contestant<Casebook>(library, ""), contestant<Sqlite>("SQLite session", "no statistics or indexes kept up")}}};
}

}  // namespace casebook::bench
