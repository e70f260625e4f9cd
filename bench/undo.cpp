// Undo and redo of large transactions: cell writes, and the deletion of every second record.

#include <benchmark/benchmark.h>

#include <string>

#include "table.h"
#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

constexpr u64 rows = tableSizes.back();

/// Keeps the block of the last transaction.
class LastBlock {
 public:
  LastBlock()
      : connection_{currentProject().connectProjectJournal([this](Journal::TransactionWriter& writer) {
          auto const bytes = writer.finalize();
          bytes_.assign(bytes.begin(), bytes.end());
        })} {}

  [[nodiscard]] std::vector<unsigned char> const& bytes() const noexcept { return bytes_; }

 private:
  std::vector<unsigned char> bytes_;
  ScopedConnection connection_;
};

/// Checks the CRC, as a host does, and replays the block as one transaction. Returns its seconds.
double replay(std::vector<unsigned char> const& bytes, Journal::Direction direction) {
  Stopwatch const watch;
  Journal::Transaction const block{bytes, 0};
  if (!block.valid()) return 0;
  auto open = currentProject().startTransaction();
  currentProject().processJournalTransaction(block, direction);
  open.commit();
  return watch.wall();
}

/// Undoes and redoes the block in turn; the state after `redo` is what stood before.
void undoAndRedo(benchmark::State& state, std::vector<unsigned char> const& block, double commands) {
  Fastest undo;
  Fastest redo;
  for (auto _ : state) {
    undo.add(replay(block, Journal::Direction::Backwards));
    redo.add(replay(block, Journal::Direction::Forwards));
  }
  state.counters["undo ns/command"] = undo.nanosecondsEach(commands);
  state.counters["redo ns/command"] = redo.nanosecondsEach(commands);
}

void cellWrites(benchmark::State& state, std::size_t writes) {
  Study<CasebookTable> study{rows, Order::Random};
  auto const edits = std::span{study.edits}.first(writes);
  auto const hold = [&](u64 version) {
    return std::ranges::all_of(edits, [&](auto const& edit) { return study.holds(edit, version); });
  };
  LastBlock const last;
  study.table.transaction([&] {
    for (auto const& edit : edits) study.write(edit, 1);
  });
  auto const block = last.bytes();
  undoAndRedo(state, block, static_cast<double>(writes));
  if (!hold(1)) state.SkipWithError("a cell does not hold what was redone");
  replay(block, Journal::Direction::Backwards);
  if (!hold(0)) state.SkipWithError("a cell does not hold what it held before");
}

void deletion(benchmark::State& state) {
  Study<CasebookTable> study{rows, Order::Columns};
  LastBlock const last;
  auto& project = currentProject();
  auto const records = project.records();
  Stopwatch const watch;
  study.table.transaction([&] {
    for (std::size_t k = 0; k < records.size(); k += 2) project.eraseRecord(records[k].id());
  });
  state.counters["delete ns/command"] = watch.wall() * 1e9 / (rows / 2.0);
  auto const block = last.bytes();
  undoAndRedo(state, block, rows / 2.0);
  replay(block, Journal::Direction::Backwards);
  if (!study.holdsAll(0)) state.SkipWithError("a cell does not hold what it held before");
}

}  // namespace

void registerUndo() {
  for (std::size_t const writes : {10'000, 100'000, 1'000'000})
    benchmark::RegisterBenchmark(("undo/cells/" + std::to_string(writes)).c_str(),
                                 [writes](benchmark::State& state) { cellWrites(state, writes); })
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("undo/deletion/50000", deletion)->Iterations(3)->Unit(benchmark::kMillisecond);
}

}  // namespace casebook::bench
