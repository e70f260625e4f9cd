// What a table of one content takes in memory for each of its cells, and what the whole study takes.

#include "casebook_table.h"
#include "pandas_peer.h"
#include "plain_table.h"
#include "process_memory.h"
#include "sqlite.h"
#include "undo_stack.h"
#include "workloads.h"

#include <memory>
#include <optional>

namespace casebook::bench {

namespace {

struct Kind {
  char const* name;
  u64 columns;
  Content content;
};
/// With 49 columns a record has as many cells as in the study.
constexpr Kind kinds[] = {{"10 columns of numbers", 10, Content::Continuous},
                          {"49 columns of numbers", 49, Content::Continuous},
                          {"10 columns of texts of 20 values", 10, Content::Repeated},
                          {"49 columns of texts of 20 values", 49, Content::Repeated},
                          {"10 columns of texts, all different", 10, Content::Distinct}};

/// Columns of one content behind the case identifiers.
struct Columns {
  std::vector<StudyColumn> plan{studyColumns().front()};
  Sheet cells{1};

  Columns(u64 count, Content content, u64 records) {
    for (u64 row = 0; row < records; ++row) cells.front().push_back(cellValue(Content::CaseId, 0, row, 0));
    for (u64 column = 1; column <= count; ++column) {
      plan.push_back({"c" + std::to_string(column), content});
      auto& added = cells.emplace_back();
      for (u64 row = 0; row < records; ++row) added.push_back(cellValue(content, column, row, 0));
    }
  }
  explicit Columns(u64 records) : plan{studyColumns()}, cells{studySheet(records)} {}
};

class MemoryPeer : public Peer {
 public:
  explicit MemoryPeer(u64 records) : records_{records} {}

  void round(Report& report) final {
    grow(report, "a case identifier alone", [&] { return Columns{0, Content::CaseId, records_}; });
    for (auto const& [name, columns, content] : kinds)
      grow(report, name, [&] { return Columns{columns, content, records_}; });
    grow(report, "the study", [&] { return Columns{records_}; });
    shrink(report, records_);
  }

 protected:
  /// In bytes for each cell of a table of so many columns, case identifiers included.
  void figure(Report& report, std::string const& name, std::size_t columns, double bytes) const {
    report.figure(name, "B/cell", bytes / static_cast<double>(columns) / static_cast<double>(records_));
  }

 private:
  /// Takes the cells in, so that nothing else is left of them.
  virtual void hold(Columns columns) = 0;
  virtual void drop() = 0;
  virtual void afterwards(Report&, std::string const&, std::size_t) {}
  virtual void shrink(Report&, u64) {}

  void grow(Report& report, std::string const& name, auto const& make) {
    double const before = residentBytes();
    auto made = make();
    auto const columns = made.plan.size();
    hold(std::move(made));
    figure(report, name, columns, residentBytes() - before);
    afterwards(report, name, columns);
    drop();
  }

  u64 records_;
};

/// In an open transaction there are the cells alone: what is kept of them is made at its end.
class Casebook : public MemoryPeer {
 public:
  using MemoryPeer::MemoryPeer;

 private:
  void hold(Columns columns) override {
    table_ = std::make_unique<CasebookTable>();
    table_->disconnectJournal();
    open_.emplace(table_->project().startTransaction());
    auto const ids = std::move(columns.cells.front());
    columns.plan.erase(columns.plan.begin());
    columns.cells.erase(columns.cells.begin());
    auto& project = table_->project();
    if (!columns.cells.empty())
      project.merge(columns.cells, descriptionsOf(columns.plan), MergeMethod::Append, noFiles());
    else
      for (std::size_t k = 0; k < ids.size(); ++k) project.addRecord();
  }
  void afterwards(Report& report, std::string const& name, std::size_t columns) override {
    double const before = residentBytes();
    commit();
    figure(report, "statistics of " + name, columns, residentBytes() - before);
  }
  /// What stays of a table and its statistics of which little is left, beside a new one of that size.
  void shrink(Report& report, u64 records) override {
    keep(report, "the study and its statistics, 99 in 100 records erased", records, [this] { eraseMost(); });
    keep(report, "the records that are left, in a new table", records / 100, [] {});
  }
  void keep(Report& report, std::string const& name, u64 records, auto const& then) {
    double const before = residentBytes();
    hold(Columns{records});
    commit();
    then();
    figure(report, name, studyColumns().size(), residentBytes() - before);
    drop();
  }
  void eraseMost() {
    open_.emplace(table_->project().startTransaction());
    auto const records = table_->project().records();
    for (std::size_t k = 0; k < records.size(); ++k)
      if (k % 100 != 0) table_->project().eraseRecord(records[k].id());
    commit();
    // What a transaction leaves behind goes with the next.
    open_.emplace(table_->project().startTransaction());
    table_->project().addRecord();
    commit();
  }
  /// Until the statistics are there.
  void commit() {
    open_->commit();
    for (auto const variable : table_->project().variables())
      static_cast<void>(table_->project().variableNumNullValues(variable.id()));
  }
  void drop() override {
    open_.reset();
    table_.reset();
  }

  std::unique_ptr<CasebookTable> table_;
  std::optional<Transaction> open_;
};

class Sqlite : public MemoryPeer {
 public:
  using MemoryPeer::MemoryPeer;

 private:
  void hold(Columns columns) override {
    std::string definitions = "id INTEGER PRIMARY KEY";
    for (std::size_t k = 1; k < columns.plan.size(); ++k)
      definitions += ", " + columns.plan[k].name + (columns.plan[k].isText() ? " TEXT" : " REAL");
    database_.emplace();
    database_->execute("CREATE TABLE t(" + definitions + ")");
    database_->fill("t", columns.cells);
  }
  void drop() override { database_.reset(); }

  std::optional<sqlite::Database> database_;
};

/// A table that is made from a sheet.
template <class Table>
class Made : public MemoryPeer {
 public:
  using MemoryPeer::MemoryPeer;

 private:
  void hold(Columns columns) override { table_.emplace(std::move(columns.cells)); }
  void drop() override { table_.reset(); }

  std::optional<Table> table_;
};

std::vector<Sheet> allSheets(u64 records) {
  std::vector<Sheet> sheets{Columns{0, Content::CaseId, records}.cells};
  for (auto const& [name, columns, content] : kinds) sheets.push_back(Columns{columns, content, records}.cells);
  sheets.push_back(Columns{records}.cells);
  return sheets;
}

}  // namespace

std::vector<Workload> memory() {
  return {{"memory",
           "what tables take when they are filled",
           {contestant<Casebook>(library, ""), contestant<Sqlite>("SQLite", "no statistics or indexes"),
            pandasContestant("pandas", "counted by itself; texts of few values are categories; no statistics", "Memory",
                             allSheets),
            contestant<Made<qt::Columns>>("Qt variants", "no statistics"),
            contestant<Made<qt::Items>>("Qt item model", "no statistics"),
            contestant<Made<PlainTable>>("plain", "the library's 16-byte cells in vectors, and nothing else")}}};
}

}  // namespace casebook::bench
