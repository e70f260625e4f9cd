// One transaction that adds records of default values to an empty table of 50 variables.

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
  bool journal;

  [[nodiscard]] std::string name(std::string const& peer) const {
    return "addRecord/" + peer + "/" + std::to_string(rows) + (journal ? "/journal" : "/unheard");
  }
};

template <class Table>
void addRecords(benchmark::State& state, Case const& which) {
  TransactionTimes times;
  for (auto _ : state) {
    Table table;
    addStudyColumns(table);
    if (which.journal) table.connectJournal();
    state.SetIterationTime(times.run(table, [&] {
      for (u64 row = 0; row < which.rows; ++row) table.addRecord();
    }));
  }
  auto const records = static_cast<double>(which.rows);
  state.counters["ns/addRecord"] = times.edits().nanosecondsEach(records);
  state.counters["end ns/record"] = times.end().nanosecondsEach(records);
}

template <class Table>
void registerCase(std::string const& peer, Case const& which) {
  benchmark::RegisterBenchmark(which.name(peer).c_str(),
                               [which](benchmark::State& state) { addRecords<Table>(state, which); })
      ->Iterations(which.rows > tableSizes.front() ? 4 : 20)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerAddRecord() {
  for (u64 const rows : tableSizes)
    for (bool const journal : {false, true}) {
      registerCase<CasebookTable>("casebook", {rows, journal});
      registerCase<PlainTable>("plain", {rows, journal});
    }
}

}  // namespace casebook::bench
