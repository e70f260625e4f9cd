// A million cells written anywhere in the table in one transaction, and undone and redone by what the peer recorded.
// The last ten of the study's columns are calculated by the library and missing in the tables of its peers.

#include "calculations.h"
#include "casebook_table.h"
#include "plain_table.h"
#include "process_memory.h"
#include "sqlite.h"
#include "stopwatch.h"
#include "undo_stack.h"
#include "workloads.h"

#include <algorithm>
#include <random>
#include <span>
#include <stdexcept>
#include <utility>

namespace casebook::bench {

namespace {

struct Edit {
  std::uint32_t column;
  std::uint32_t row;
  Variant value;
};

/// Ten for each record, no cell twice, in no order.
std::vector<Edit> someEdits(u64 records) {
  std::vector<u64> cells((enteredColumns() - 1) * records);
  for (u64 k = 0; k < cells.size(); ++k) cells[k] = k;
  std::ranges::shuffle(cells, std::mt19937_64{20261121});
  cells.resize(10 * records);
  std::vector<Edit> edits;
  for (u64 const cell : cells) {
    u64 const column = 1 + cell / records;
    u64 const row = cell % records;
    edits.push_back({static_cast<std::uint32_t>(column), static_cast<std::uint32_t>(row),
                     cellValue(studyColumns()[column].content, column, row, 1)});
  }
  return edits;
}

/// A round of any peer, of which only what is asked for is reported.
class WritePeer : public Peer {
 public:
  enum class Timed { Writing, Undoing };

  WritePeer(u64 records, Timed timed) : edits_{someEdits(records)}, timed_{timed} {}

  void round(Report& report) final {
    if (timed_ == Timed::Writing) writeRound(report);
    else undoRound(report);
  }

 protected:
  [[nodiscard]] std::vector<Edit> const& edits() const noexcept { return edits_; }

  void recordSize(Report& report, double bytes) const {
    report.figure("size of the record", "B/write", bytes / static_cast<double>(edits_.size()));
  }
  static void timed(Report& report, std::string const& measure, auto const& work) {
    Stopwatch const watch;
    work();
    report.milliseconds(measure, watch.seconds());
  }

 private:
  virtual void write(Report& report) = 0;
  virtual void undo(Report& report) = 0;
  virtual void redo(Report& report) = 0;
  virtual u64 checksum() = 0;
  /// Writes some numbers over others, which leaves the table as it was.
  virtual void writeNumbers(Report&) {}

  void writeRound(Report& report) {
    Report unused;
    write(report);
    report.check("cells", checksum());
    undo(unused);
    writeNumbers(report);
    report.check("cells undone", checksum());
  }
  /// The cells are written once, before the first round; each round ends with them written again.
  void undoRound(Report& report) {
    Report unused;
    if (!std::exchange(written_, true)) write(unused);
    undo(report);
    report.check("cells undone", checksum());
    redo(report);
    report.check("cells redone", checksum());
  }

  std::vector<Edit> const edits_;
  Timed const timed_;
  bool written_ = false;
};

class Casebook : public WritePeer {
 public:
  Casebook(u64 records, Timed timed) : WritePeer{records, timed}, table_{enteredSheet(records)} {}

 private:
  void write(Report& report) override {
    double written = 0;
    double const fresh = table_.transaction([&] {
      Stopwatch const watch;
      for (auto const& [column, row, value] : edits()) table_->setValue(variables_[column], records_[row], value);
      written = watch.seconds();
    });
    report.milliseconds("written", written);
    report.milliseconds("recorded", table_.untilJournalled());
    report.milliseconds("all fresh", fresh);
    block_ = table_.block();
    recordSize(report, static_cast<double>(block_.size()));
  }
  void writeNumbers(Report& report) override {
    u64 writes = 0;
    table_.transaction([&] {
      for (auto const& [column, row, value] : std::span{edits()}.first(edits().size() / 10))
        if (isNumber(value) && isNumber(table_->value(variables_[column], records_[row]))) {
          table_->setValue(variables_[column], records_[row], value);
          ++writes;
        }
    });
    report.figure("size of the record, number writes", "B/write",
                  static_cast<double>(table_.block().size()) / static_cast<double>(writes));
    table_.undoLast();
  }
  static bool isNumber(Variant const& value) { return value.type() == Variant::FloatingPoint; }

  void replay(Report& report, std::string const& measure, Journal::Direction direction) {
    double replayed = 0;
    double const fresh = table_.replay(block_, direction, &replayed);
    report.milliseconds(measure, replayed);
    report.milliseconds(measure + ", all fresh", fresh);
  }
  void undo(Report& report) override { replay(report, "undo", Journal::Direction::Backwards); }
  void redo(Report& report) override { replay(report, "redo", Journal::Direction::Forwards); }
  u64 checksum() override { return table_.checksum(enteredColumns()); }

  CalculatedTable table_;
  std::vector<Variable> variables_ = table_.variables();
  std::vector<Record> records_ = table_.records();
  CasebookTable::Block block_;
};

class Sqlite : public WritePeer {
 public:
  Sqlite(u64 records, Timed timed) : WritePeer{records, timed} {
    database_.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, " + sqlite::columnDefinitions(enteredColumns()) + ")");
    database_.fill("t", enteredSheet(records));
    for (std::size_t column = 1; column < enteredColumns(); ++column)
      updates_.push_back(database_.prepare("UPDATE t SET " + studyColumns()[column].name + " = ? WHERE id = ?"));
  }

 private:
  void write(Report& report) override {
    Stopwatch const watch;
    sqlite::RecordedTransaction transaction{database_, "t"};
    for (auto const& [column, row, value] : edits()) {
      auto& update = updates_[column - 1];
      update.bind(1, value);
      update.bind(2, u64{row} + 1);
      update.run();
    }
    report.milliseconds("written", watch.seconds());
    changes_ = transaction.commit();
    report.milliseconds("recorded", watch.seconds());
    recordSize(report, changes_.size());
  }
  void undo(Report& report) override {
    timed(report, "undo", [&] { changes_.undo(database_); });
  }
  void redo(Report& report) override {
    timed(report, "redo", [&] { changes_.redo(database_); });
  }
  u64 checksum() override { return database_.checksum("t"); }

  sqlite::Database database_;
  std::vector<sqlite::Statement> updates_;
  sqlite::Changeset changes_;
};

enum class Commands { OneForAll, OneAWrite };

template <class Model, Commands commands>
class UndoStack : public WritePeer {
 public:
  UndoStack(u64 records, Timed timed) : WritePeer{records, timed}, model_{enteredSheet(records)} {
    for (auto const& [column, row, value] : edits())
      cells_.push_back({static_cast<int>(row), static_cast<int>(column), qt::valueOf(value)});
  }

 private:
  void write(Report& report) override {
    stack_.clear();
    double const before = heapBytes();
    Stopwatch const watch;
    push();
    double const seconds = watch.seconds();
    report.milliseconds("written", seconds);
    report.milliseconds("recorded", seconds);
    recordSize(report, heapBytes() - before);
  }
  void push() {
    if constexpr (commands == Commands::OneForAll) stack_.push(new qt::WriteCells<Model>{model_, cells_});
    else {
      // In a macro the stack tells nobody of the single commands.
      stack_.beginMacro({});
      for (auto const& cell : cells_) stack_.push(new qt::WriteCell<Model>{model_, cell});
      stack_.endMacro();
    }
  }
  void undo(Report& report) override {
    timed(report, "undo", [&] { stack_.undo(); });
  }
  void redo(Report& report) override {
    timed(report, "redo", [&] { stack_.redo(); });
  }
  u64 checksum() override { return qt::checksumOf(model_, static_cast<int>(enteredColumns())); }

  Model model_;
  QUndoStack stack_;
  std::vector<qt::Cell> cells_;
};

class Plain : public WritePeer {
 public:
  Plain(u64 records, Timed timed) : WritePeer{records, timed}, table_{enteredSheet(records)} {}

 private:
  void write(Report& report) override {
    Stopwatch const watch;
    table_.begin();
    for (auto const& [column, row, value] : edits()) table_.set(column, row, value);
    report.milliseconds("written", watch.seconds());
    table_.commit();
    report.milliseconds("recorded", watch.seconds());
    recordSize(report, static_cast<double>(table_.bytesJournalled()));
  }
  void undo(Report& report) override {
    timed(report, "undo", [&] { expect(table_.undo()); });
  }
  void redo(Report& report) override {
    timed(report, "redo", [&] { expect(table_.redo()); });
  }
  u64 checksum() override { return checksumOf(table_.cells()); }

  static void expect(bool good) {
    if (!good) throw std::runtime_error{"the journal is damaged"};
  }

  PlainTable table_;
};

std::vector<Contestant> contestants(WritePeer::Timed timed) {
  std::string const undoStackLacks =
      "no block to store (its record's size is without the texts), no statistics, no calculated columns, no checks";
  return {
      contestant<Casebook>(library, "", timed),
      contestant<Sqlite>("SQLite session", "no statistics, indexes or calculated columns kept up", timed),
      contestant<UndoStack<qt::Columns, Commands::OneAWrite>>("QUndoStack, a command a write", undoStackLacks, timed),
      contestant<UndoStack<qt::Columns, Commands::OneForAll>>("QUndoStack, variants",
                                                              "one command for all writes; " + undoStackLacks, timed),
      contestant<UndoStack<qt::Items, Commands::OneForAll>>("QUndoStack, item model",
                                                            "one command for all writes; " + undoStackLacks, timed),
      contestant<Plain>("plain", "nothing but cells and bytes of a journal: the floor", timed)};
}

}  // namespace

std::vector<Workload> writes() {
  return {{"write", "ten cells a record written anywhere in the table, in one transaction",
           contestants(WritePeer::Timed::Writing)},
          {"undo", "the same cells undone and redone", contestants(WritePeer::Timed::Undoing)}};
}

}  // namespace casebook::bench
