#include <benchmark/benchmark.h>

#include "workloads.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // Memory first, before others leave holes in the heap.
  casebook::bench::registerMemory();
  casebook::bench::registerSetValue();
  casebook::bench::registerOneCellTransaction();
  casebook::bench::registerAddRecord();
  casebook::bench::registerUndo();
  casebook::bench::registerTags();
  casebook::bench::registerOpenFile();
  casebook::bench::registerExpressions();
  casebook::bench::registerStatistics();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
