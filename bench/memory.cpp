// What ten columns of one content take, when a host writes each cell with a value of its own.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "plain_table.h"
#include "table.h"
#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

constexpr std::uint32_t columns = 10;
constexpr std::uint32_t rows = 100'000;

/// What the process holds, in bytes.
struct Memory {
  double heap;      ///< handed out by malloc, its own overhead included
  double resident;  ///< in pages of the machine's memory

  /// Gives the free pages back first: else new cells would fill old holes, and nothing would seem to grow.
  static Memory now() {
    malloc_trim(0);
    auto const heap = mallinfo2();
    u64 total = 0;
    u64 resident = 0;
    std::ifstream{"/proc/self/statm"} >> total >> resident;
    return {static_cast<double>(heap.uordblks + heap.hblkhd),
            static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE))};
  }
};

template <class Table>
void growColumns(benchmark::State& state, Content content) {
  for (auto _ : state) {
    Table table;
    addRows(table, rows);
    auto const before = Memory::now();
    Stopwatch const watch;
    table.transaction([&] {
      for (std::uint32_t column = 0; column < columns; ++column) {
        table.addColumn(content);
        for (std::uint32_t row = 0; row < rows; ++row)
          table.set(column, row, Table::valueOf(cellValue(content, column, row, 0)));
      }
    });
    state.SetIterationTime(watch.wall());
    auto const after = Memory::now();
    constexpr double cells = double{columns} * double{rows};
    state.counters["heap B/cell"] = (after.heap - before.heap) / cells;
    state.counters["resident B/cell"] = (after.resident - before.resident) / cells;
    benchmark::DoNotOptimize(table.value(columns - 1, rows - 1));
  }
}

template <class Table>
void registerCase(std::string const& peer, std::string const& name, Content content) {
  benchmark::RegisterBenchmark(("memory/" + peer + "/" + name).c_str(),
                               [content](benchmark::State& state) { growColumns<Table>(state, content); })
      ->Iterations(1)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerMemory() {
  for (auto const& [name, content] : {std::pair{"number", Content::Continuous},
                                      {"text of 20 values", Content::Repeated},
                                      {"text, distinct", Content::Distinct}}) {
    registerCase<CasebookTable>("casebook", name, content);
    registerCase<PlainTable>("plain", name, content);
  }
}

}  // namespace casebook::bench
