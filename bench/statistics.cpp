// All statistics of the table rebuilt: of each column the distinct values, and the cases that hold each. A transaction
// has written every cell, of which nothing is timed but the end.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sched.h>

#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>

#include "table.h"
#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

/// Processor time of all threads.
double processorSeconds() {
  std::timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double cellsOfTable(u64 rows) { return static_cast<double>(rows * (1 + studyColumns().size())); }

/// Times of rebuilds.
class Rebuilds {
 public:
  template <class Work>
  double run(Work work) {
    double const cpu = processorSeconds();
    Stopwatch const watch;
    work();
    double const seconds = watch.wall();
    wall_.add(seconds);
    cpu_.add(processorSeconds() - cpu);
    return seconds;
  }

  void report(benchmark::State& state, u64 rows, std::size_t distinct) const {
    state.counters["ns/cell"] = wall_.nanosecondsEach(cellsOfTable(rows));
    state.counters["all CPU ns/cell"] = cpu_.nanosecondsEach(cellsOfTable(rows));
    state.counters["distinct values"] = static_cast<double>(distinct);
  }

 private:
  Fastest wall_;
  Fastest cpu_;
};

/// Keeps the process to one of its processors for a while: a pool that is made then has one thread.
class OneProcessor {
 public:
  OneProcessor() {
    sched_getaffinity(0, sizeof before_, &before_);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (std::size_t cpu = 0; CPU_COUNT(&one) == 0; ++cpu)
      if (CPU_ISSET(cpu, &before_)) CPU_SET(cpu, &one);
    sched_setaffinity(0, sizeof one, &one);
  }
  OneProcessor(OneProcessor const&) = delete;
  OneProcessor& operator=(OneProcessor const&) = delete;
  ~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }

 private:
  cpu_set_t before_{};
};

double heapBytes() {
  malloc_trim(0);
  auto const heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// The distinct values in all columns, by which the peers can be told to have done the same.
std::size_t distinctOf(Project& project) {
  std::size_t distinct = 0;
  for (auto const variable : project.variables()) distinct += project.variableUniqueValues(variable.id()).size();
  return distinct;
}

void rebuild(benchmark::State& state, u64 rows, bool oneProcessor) {
  Study<CasebookTable> study{rows, Order::Columns};
  auto& project = currentProject();
  study.table.transaction([&] { project.addTagGroup("group"); });
  std::optional<OneProcessor> one;
  if (oneProcessor) one.emplace();
  Rebuilds rebuilds;
  for (auto _ : state) {
    auto open = project.startTransaction();
    study.writeAll(1);
    study.writeAll(0);
    state.SetIterationTime(rebuilds.run([&] { open.commit(); }));
  }
  rebuilds.report(state, rows, distinctOf(project));

  auto const with = heapBytes();
  // A transaction that only erases drops all statistics and makes no new ones.
  study.table.transaction([&] { project.eraseTagGroup(project.tagGroups().front().id()); });
  state.counters["heap B/cell"] = (with - heapBytes()) / cellsOfTable(rows);
}

using Column = std::vector<Variant>;

/// The columns of one version of the table, the case identifiers first.
std::vector<Column> plainColumns(u64 rows) {
  std::vector<Column> columns(1 + studyColumns().size(), Column(rows));
  for (std::uint32_t row = 0; row < rows; ++row) columns[0][row] = Variant{row + 1, Variant::UnsignedInteger};
  for (auto const& edit : everyCell(rows, Order::Columns)) columns[edit.column + 1][edit.row] = edit.versions[0];
  return columns;
}

/// The statistics of a column in ordered containers, as one writes them first.
struct MapOfSets {
  std::map<Variant, std::set<u64>> cases;
  std::set<Variant> values;

  MapOfSets(Column const& column, Column const& ids) {
    for (std::size_t row = 0; row < column.size(); ++row) cases[column[row]].insert(ids[row].longValue());
    for (auto const& [value, held] : cases)
      if (value != Variant{} && value != Variant::nan()) values.insert(value);
  }

  [[nodiscard]] std::size_t distinct() const { return values.size(); }
};

void read(Variant const& cell, double& value) { value = cell.doubleValue(); }
void read(Variant const& cell, std::string_view& value) { value = cell.stringValue(); }

/// The cells of a column sorted by value and case, in three arrays.
template <class Value>
struct SortedCells {
  std::vector<Value> values;
  std::vector<std::uint32_t> ends;
  std::vector<std::uint32_t> ids;

  SortedCells(Column const& column, Column const& caseIds) {
    std::vector<std::pair<Value, std::uint32_t>> cells;
    cells.reserve(column.size());
    for (std::size_t row = 0; row < column.size(); ++row) {
      if (column[row].isNull()) continue;
      read(column[row], cells.emplace_back().first);
      cells.back().second = static_cast<std::uint32_t>(caseIds[row].longValue());
    }
    std::ranges::sort(cells);
    ids.reserve(cells.size());
    for (auto const& [value, id] : cells) {
      if (values.empty() || values.back() != value) {
        values.push_back(value);
        ends.push_back(0);
      }
      ids.push_back(id);
      ends.back() = static_cast<std::uint32_t>(ids.size());
    }
  }
};

/// The floor: numbers and texts are compared as the machine has them, and columns hold one type.
struct Flat {
  std::optional<SortedCells<double>> numbers;
  std::optional<SortedCells<std::string_view>> texts;

  Flat(Column const& column, Column const& ids) {
    if (column.back().type() == Variant::String) texts.emplace(column, ids);
    else numbers.emplace(column, ids);
  }

  [[nodiscard]] std::size_t distinct() const { return numbers ? numbers->values.size() : texts->values.size(); }
};

template <class Peer>
void rebuildAll(std::vector<std::optional<Peer>>& peers, std::vector<Column> const& columns, std::size_t threads) {
  for (auto& peer : peers) peer.reset();
  std::atomic<std::size_t> next{0};
  std::vector<std::jthread> pool;
  for (std::size_t thread = 0; thread < threads; ++thread)
    pool.emplace_back([&] {
      for (auto column = next++; column < columns.size(); column = next++)
        peers[column].emplace(columns[column], columns.front());
    });
}

template <class Peer>
void rebuildPlainly(benchmark::State& state, u64 rows, std::size_t threads) {
  auto const columns = plainColumns(rows);
  std::vector<std::optional<Peer>> peers(columns.size());
  Rebuilds rebuilds;
  for (auto _ : state) state.SetIterationTime(rebuilds.run([&] { rebuildAll(peers, columns, threads); }));
  std::size_t distinct = 0;
  for (auto const& peer : peers) distinct += peer->distinct();
  rebuilds.report(state, rows, distinct);
}

template <class Run>
void registerCase(std::string const& peer, u64 rows, std::size_t threads, Run run) {
  auto const name = "statistics/" + peer + "/" + std::to_string(rows) + "/threads:" + std::to_string(threads);
  benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerStatistics() {
  using State = benchmark::State;
  for (u64 const rows : tableSizes) {
    for (std::size_t const threads : {1U, 2U}) {
      registerCase("casebook", rows, threads, [=](State& state) { rebuild(state, rows, threads == 1); });
      registerCase("flat", rows, threads, [=](State& state) { rebuildPlainly<Flat>(state, rows, threads); });
    }
    registerCase("map of sets", rows, 1, [=](State& state) { rebuildPlainly<MapOfSets>(state, rows, 1); });
  }
}

}  // namespace casebook::bench
