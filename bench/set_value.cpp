// One transaction that writes every cell beside the case identifiers.

#include <benchmark/benchmark.h>

#include <string>

#include "plain_table.h"
#include "table.h"
#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

struct Case {
  u64 rows;
  Order order;
  bool journal;

  [[nodiscard]] std::string name(std::string const& peer) const {
    return "setValue/" + peer + "/" + std::to_string(rows) + (order == Order::Random ? "/random" : "/columns") +
           (journal ? "/journal" : "/unheard");
  }
};

/// Alternates the versions of the cells, so that each write changes its cell.
template <class Table>
void writeEveryCell(benchmark::State& state, Case const& which) {
  Study<Table> study{which.rows, which.order};
  if (which.journal) study.table.connectJournal();

  TransactionTimes times;
  u64 version = 0;
  for (auto _ : state) {
    version = 1 - version;
    state.SetIterationTime(times.run(study.table, [&] { study.writeAll(version); }));
  }

  auto const cells = static_cast<double>(study.edits.size());
  state.counters["ns/setValue"] = times.edits().nanosecondsEach(cells);
  state.counters["end ns/cell"] = times.end().nanosecondsEach(cells);
  state.counters["journal B/cell"] =
      static_cast<double>(study.table.bytesJournalled()) / cells / static_cast<double>(state.iterations());
  if (!study.holdsAll(version)) state.SkipWithError("a cell does not hold what was written");
}

template <class Table>
void registerCase(std::string const& peer, Case const& which) {
  benchmark::RegisterBenchmark(which.name(peer).c_str(),
                               [which](benchmark::State& state) { writeEveryCell<Table>(state, which); })
      ->Iterations(which.rows > tableSizes.front() ? 4 : 20)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerSetValue() {
  for (u64 const rows : tableSizes)
    for (auto const order : {Order::Columns, Order::Random})
      for (bool const journal : {false, true}) {
        registerCase<CasebookTable>("casebook", {rows, order, journal});
        registerCase<PlainTable>("plain", {rows, order, journal});
      }
}

}  // namespace casebook::bench
