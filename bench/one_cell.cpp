// One cell in a transaction of its own, and what a host asks for then: a count, the range and a set of cases of the
// column written, which holds four cases to a value, and of a calculated column that reads it. Ten columns are
// calculated, and two of them read the column written.

#include "calculations.h"
#include "casebook_table.h"
#include "columns.h"
#include "plain_table.h"
#include "sqlite.h"
#include "stopwatch.h"
#include "undo_stack.h"
#include "workloads.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <set>
#include <stdexcept>

namespace casebook::bench {

namespace {

constexpr std::size_t editedColumn = 11;

struct Edit {
  u64 row;
  double value;
};

double editedValue(u64 draw, u64 records) { return 0.25 * static_cast<double>(scramble(draw) % (records / 4)); }

Edit editNumber(u64 number, u64 records) {
  return {scramble(number) % records, editedValue(number + records, records)};
}

/// The study's table, with four cases to a value in the column that is edited.
Sheet sheetToEdit(u64 records) {
  auto sheet = enteredSheet(records);
  for (u64 row = 0; row < records; ++row) sheet[editedColumn][row] = Variant{editedValue(row, records)};
  return sheet;
}

/// A number that stands for a sequence of answers.
class Answers {
 public:
  void add(u64 answer) noexcept { sum_ = scramble(sum_ + answer); }
  void add(double answer) noexcept { add(std::bit_cast<u64>(answer)); }
  [[nodiscard]] u64 sum() const noexcept { return sum_; }

 private:
  u64 sum_ = 0;
};

void ask(Column& column, double value, Answers& answers) {
  answers.add(column.count(value));
  auto const [least, greatest] = column.range();
  answers.add(least);
  answers.add(greatest);
  auto const [number, sum] = column.cases(value);
  answers.add(number);
  answers.add(sum);
}

/// A peer that makes its edits and takes them back, the last first.
class OneCellPeer : public Peer {
 public:
  explicit OneCellPeer(u64 records) : records_{records} {}

  void round(Report& report) final {
    edit(report);
    undo(report);
    report.check("cells at last", checksum());
    if (auto* const column = edited()) count(report, *column);
    if (auto* const column = coded()) hand(report, *column);
  }

 private:
  // Enough to see the library fold the changes that it keeps aside; where a transaction takes a second, it shall not
  // take minutes.
  static constexpr double longest = 0.4;
  static constexpr u64 mostEdits = 20'000;
  // The rounds of others have cooled the caches.
  static constexpr u64 warmingEdits = 4'000;
  static constexpr u64 comparedEdits = 3;
  static constexpr u64 counts = 1000;

  virtual void commit(Edit const& edit) = 0;
  virtual void takeBack() = 0;
  virtual u64 checksum() = 0;
  /// What it keeps fresh: nothing, the column written, and the calculated one as well.
  virtual Column* edited() { return nullptr; }
  virtual Column* calculated() { return nullptr; }
  virtual double calculatedValue(u64) { return 0; }
  /// A column of some 100 values.
  virtual Column* coded() { return nullptr; }

  void edit(Report& report) {
    Questions questions;
    warming_ = repeat(warmingEdits, questions, report);
    Stopwatch const watch;
    counting_ = repeat(mostEdits, questions, report);
    reportMean(report, "edit and questions", watch);
  }

  void undo(Report& report) {
    for (u64 k = 0; k < warming_; ++k) takeBack();
    Stopwatch const watch;
    for (u64 k = 0; k < counting_; ++k) takeBack();
    // What was put off until somebody asks belongs to the undos.
    for (auto* const column : {edited(), calculated()})
      if (column) static_cast<void>(column->count(0));
    reportMean(report, "undo of one", watch);
  }

  void reportMean(Report& report, std::string const& measure, Stopwatch const& watch) const {
    report.figure(measure, "us", watch.seconds() * 1e6 / static_cast<double>(counting_));
  }

  struct Questions {
    u64 edits = 0;
    Answers ofEdited;
    Answers ofCalculated;
  };

  /// Returns how many edits there was time for.
  u64 repeat(u64 most, Questions& questions, Report& report) {
    u64 done = 0;
    for (Stopwatch const watch; done < most && (done < comparedEdits || watch.seconds() < longest); ++done) {
      editAndAsk(questions);
      if (questions.edits == comparedEdits) compare(questions, report);
    }
    return done;
  }

  void editAndAsk(Questions& questions) {
    auto const next = editNumber(questions.edits++, records_);
    commit(next);
    if (auto* const column = edited()) ask(*column, next.value, questions.ofEdited);
    if (auto* const column = calculated()) ask(*column, calculatedValue(next.row), questions.ofCalculated);
  }

  void compare(Questions const& questions, Report& report) {
    if (edited()) report.check("answers about the column written", questions.ofEdited.sum());
    if (calculated()) report.check("answers about a calculated column", questions.ofCalculated.sum());
  }

  void count(Report& report, Column& column) {
    u64 sum = 0;
    Stopwatch const watch;
    for (u64 k = 0; k < counts; ++k) sum += column.count(editedValue(k, records_));
    report.figure("count of a value", "us", watch.seconds() * 1e6 / counts);
    report.check("counts", sum);
  }

  void hand(Report& report, Column& column) {
    u64 handed = 0;
    u64 total = 0;
    Stopwatch const watch;
    for (u64 k = 0; k < 100; ++k) {
      auto const [number, sum] = column.cases(static_cast<double>(k));
      handed += number;
      total += sum;
    }
    report.figure("set of cases, a case", "ns", watch.seconds() * 1e9 / static_cast<double>(handed));
    report.check("cases handed out", total);
  }

  u64 const records_;
  u64 warming_ = 0;
  u64 counting_ = 0;
};

class Casebook : public OneCellPeer {
 public:
  explicit Casebook(u64 records) : OneCellPeer{records}, table_{sheetToEdit(records)} {}

 private:
  CasebookColumn of(std::size_t column) { return {table_.project(), variables_[column].getWeakPtr().id()}; }

  void commit(Edit const& edit) override {
    table_.transaction([&] { table_->setValue(variables_[editedColumn], records_[edit.row], Variant{edit.value}); });
    blocks_.push_back(table_.block());
  }
  void takeBack() override {
    table_.replay(blocks_.back(), Journal::Direction::Backwards);
    blocks_.pop_back();
  }
  u64 checksum() override { return table_.checksum(enteredColumns()); }
  Column* edited() override { return &edited_; }
  Column* calculated() override { return &calculated_; }
  double calculatedValue(u64 row) override {
    return table_->value(variables_[enteredColumns()], records_[row]).doubleValue();
  }
  Column* coded() override { return &coded_; }

  CalculatedTable table_;
  std::vector<Variable> variables_ = table_.variables();
  std::vector<Record> records_ = table_.records();
  std::vector<CasebookTable::Block> blocks_;
  CasebookColumn edited_ = of(editedColumn);
  CasebookColumn calculated_ = of(enteredColumns());
  CasebookColumn coded_ = of(1);
};

/// A table in which every column has an index, the calculated ones being generated.
sqlite::Database indexedDatabase(u64 records) {
  std::string generated;
  for (std::size_t k = 0; k < calculations.size(); ++k)
    generated += ", " + studyColumns()[enteredColumns() + k].name + " REAL GENERATED ALWAYS AS (" +
                 calculations[k].sql + ") VIRTUAL";
  sqlite::Database database;
  database.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, " + sqlite::columnDefinitions(enteredColumns()) + generated +
                   ")");
  database.fill("t", sheetToEdit(records));
  database.indexColumns("t", studyColumns().size());
  return database;
}

/// Takes an edit back by what its hook heard.
class SqliteIndexes : public OneCellPeer {
 public:
  explicit SqliteIndexes(u64 records) : OneCellPeer{records}, database_{indexedDatabase(records)} {
    sqlite3_preupdate_hook(database_.handle(), hear, &heard_);
  }

 private:
  struct Heard {
    u64 id;
    double before;
  };

  static void hear(void* heard, sqlite3* database, int, char const*, char const*, sqlite3_int64 id, sqlite3_int64) {
    sqlite3_value* before = nullptr;
    sqlite3_preupdate_old(database, editedColumn, &before);
    *static_cast<Heard*>(heard) = {static_cast<u64>(id), sqlite3_value_double(before)};
  }

  void write(u64 id, double value) {
    update_.bind(1, value);
    update_.bind(2, id);
    update_.run();
  }
  void commit(Edit const& edit) override {
    write(edit.row + 1, edit.value);
    before_.push_back(heard_);
  }
  void takeBack() override {
    write(before_.back().id, before_.back().before);
    before_.pop_back();
  }
  u64 checksum() override {
    return database_.checksum("(SELECT " + sqlite::columnNames(enteredColumns()) + " FROM t)");
  }
  Column* edited() override { return &edited_; }
  Column* calculated() override { return &calculated_; }
  double calculatedValue(u64 row) override {
    calculatedCell_.bind(1, row + 1);
    calculatedCell_.step();
    double const value = calculatedCell_.number(0);
    calculatedCell_.reset();
    return value;
  }
  Column* coded() override { return &coded_; }

  sqlite::Database database_;
  sqlite::Statement update_ = database_.prepare("UPDATE t SET c11 = ? WHERE id = ?");
  sqlite::Statement calculatedCell_ = database_.prepare("SELECT c40 FROM t WHERE id = ?");
  SqliteColumn edited_{database_, "c11"};
  SqliteColumn calculated_{database_, "c40"};
  SqliteColumn coded_{database_, "c1"};
  Heard heard_{};
  std::vector<Heard> before_;
};

class SqliteSession : public OneCellPeer {
 public:
  explicit SqliteSession(u64 records) : OneCellPeer{records} {
    database_.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, " + sqlite::columnDefinitions(enteredColumns()) + ")");
    database_.fill("t", sheetToEdit(records));
    update_.emplace(database_.prepare("UPDATE t SET c11 = ? WHERE id = ?"));
  }

 private:
  void commit(Edit const& edit) override {
    sqlite::RecordedTransaction transaction{database_, "t"};
    update_->bind(1, edit.value);
    update_->bind(2, edit.row + 1);
    update_->run();
    changes_.push_back(transaction.commit());
  }
  void takeBack() override {
    changes_.back().undo(database_);
    changes_.pop_back();
  }
  u64 checksum() override { return database_.checksum("t"); }

  sqlite::Database database_;
  std::optional<sqlite::Statement> update_;
  std::vector<sqlite::Changeset> changes_;
};

class UndoStack : public OneCellPeer {
 public:
  explicit UndoStack(u64 records) : OneCellPeer{records}, model_{sheetToEdit(records)} {}

 private:
  void commit(Edit const& edit) override {
    stack_.push(new qt::WriteCell{model_, {static_cast<int>(edit.row), static_cast<int>(editedColumn), edit.value}});
  }
  void takeBack() override { stack_.undo(); }
  u64 checksum() override { return qt::checksumOf(model_, static_cast<int>(enteredColumns())); }

  qt::Columns model_;
  QUndoStack stack_;
};

/// Keeps an ordered set of the values and rows of the column that is written.
class Plain : public OneCellPeer {
 public:
  explicit Plain(u64 records) : OneCellPeer{records}, table_{sheetToEdit(records)} {
    for (u64 row = 0; row < records; ++row) tree_.emplace(value(row), row);
  }

 private:
  using Tree = std::set<std::pair<double, u64>>;

  class Of : public Column {
   public:
    explicit Of(Tree const& tree) : tree_{tree} {}

    u64 count(double value) override { return cases(value).first; }
    std::pair<double, double> range() override { return {tree_.begin()->first, tree_.rbegin()->first}; }
    std::pair<u64, u64> cases(double value) override {
      std::pair<u64, u64> cases;
      for (auto at = tree_.lower_bound({value, 0}); at != tree_.end() && at->first == value; ++at, ++cases.first)
        cases.second += at->second + 1;
      return cases;
    }

   private:
    Tree const& tree_;
  };

  [[nodiscard]] double value(u64 row) const { return table_.cells()[editedColumn][row].doubleValue(); }
  void keep(u64 row, auto const& change) {
    auto node = tree_.extract({value(row), row});
    change();
    node.value() = {value(row), row};
    tree_.insert(std::move(node));
  }

  void commit(Edit const& edit) override {
    keep(edit.row, [&] {
      before_.emplace_back(edit.row, value(edit.row));
      table_.begin();
      table_.set(editedColumn, edit.row, Variant{edit.value});
      table_.commit();
    });
  }
  void takeBack() override {
    auto const [row, value] = before_.back();
    before_.pop_back();
    keep(row, [&] {
      table_.begin();
      table_.set(editedColumn, row, Variant{value});
      table_.commit();
    });
  }
  u64 checksum() override { return checksumOf(table_.cells()); }
  Column* edited() override { return &edited_; }

  PlainTable table_;
  Tree tree_;
  Of edited_{tree_};
  std::vector<std::pair<u64, double>> before_;
};

}  // namespace

std::vector<Workload> oneCell() {
  return {
      {"one-cell",
       "one cell written in a transaction of its own, then a count, the range and a set of cases asked of its "
       "column and of a calculated one",
       {contestant<Casebook>(library, ""),
        contestant<SqliteIndexes>("SQLite, all indexed", "no block to store; undo is a second write"),
        contestant<SqliteSession>("SQLite session", "keeps nothing fresh and answers nothing"),
        contestant<UndoStack>("QUndoStack, variants", "no block to store; keeps nothing fresh and answers nothing"),
        contestant<Plain>("plain", "one column's tree alone kept up, no calculated columns; undo is a second write")},
       {1'000, 10'000, 100'000, 1'000'000}}};
}

}  // namespace casebook::bench
