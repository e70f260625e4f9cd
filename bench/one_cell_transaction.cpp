// Transactions that write one cell each, anywhere in the table, with every signal heard.

#include <benchmark/benchmark.h>

#include <string>

#include "plain_table.h"
#include "table.h"
#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

constexpr double leastSeconds = 0.2;
constexpr std::size_t editedCells = 20'000;

/// Edits one cell after the other and begins again with the other version of their values.
template <class Table>
class SingleEdits {
 public:
  explicit SingleEdits(Study<Table>& study) : study_{study} {}

  void run(u64 transactions) {
    for (; transactions != 0; --transactions, ++done_)
      study_.table.transaction([this] { study_.write(edit(done_), version(done_)); });
  }

  [[nodiscard]] u64 done() const noexcept { return done_; }
  [[nodiscard]] bool lastIsHeld() const { return study_.holds(edit(done_ - 1), version(done_ - 1)); }

 private:
  [[nodiscard]] auto const& edit(u64 number) const { return study_.edits[number % editedCells]; }
  [[nodiscard]] u64 version(u64 number) const { return 1 - number / editedCells % 2; }

  Study<Table>& study_;
  u64 done_ = 0;
};

template <class Table>
void editSingleCells(benchmark::State& state, u64 rows) {
  Study<Table> study{rows, Order::Random};
  study.table.connectJournal();
  study.table.connectChanges();

  SingleEdits<Table> edits{study};
  Fastest wall;
  Fastest cpu;
  for (auto _ : state) {
    u64 const before = edits.done();
    Stopwatch const watch;
    // Doubling keeps the clock out of short transactions, and long ones from taking hours.
    for (u64 batch = 1; watch.wall() < leastSeconds; batch *= 2) edits.run(batch);
    auto const transactions = static_cast<double>(edits.done() - before);
    cpu.add(watch.cpu() / transactions);
    wall.add(watch.wall() / transactions);
    state.SetIterationTime(watch.wall());
  }
  state.counters["ns/transaction"] = wall.nanosecondsEach(1);
  state.counters["host's CPU ns"] = cpu.nanosecondsEach(1);
  state.counters["transactions"] = static_cast<double>(edits.done());
  if (!edits.lastIsHeld()) state.SkipWithError("a cell does not hold what was written");
}

template <class Table>
void registerCase(std::string const& peer, u64 rows) {
  auto const name = "oneCellTransaction/" + peer + "/" + std::to_string(rows);
  benchmark::RegisterBenchmark(name.c_str(), [rows](benchmark::State& state) { editSingleCells<Table>(state, rows); })
      ->Iterations(5)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerOneCellTransaction() {
  for (u64 const rows : tableSizes) {
    registerCase<CasebookTable>("casebook", rows);
    registerCase<PlainTable>("plain", rows);
  }
}

}  // namespace casebook::bench
