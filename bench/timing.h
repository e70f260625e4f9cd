#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>

namespace casebook::bench {

/// Seconds since it was made.
class Stopwatch {
 public:
  [[nodiscard]] double wall() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - wall_).count();
  }
  /// Processor time of this thread alone, which other programs lengthen far less than wall-clock time.
  [[nodiscard]] double cpu() const { return cpuNow() - cpu_; }

 private:
  static double cpuNow() {
    std::timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
  }

  std::chrono::steady_clock::time_point const wall_ = std::chrono::steady_clock::now();
  double const cpu_ = cpuNow();
};

/// The fastest of several runs: other programs can only make a run slower.
class Fastest {
 public:
  void add(double seconds) noexcept { seconds_ = std::min(seconds_, seconds); }

  /// Nanoseconds for each of the items of a run.
  [[nodiscard]] double nanosecondsEach(double items) const noexcept { return seconds_ * 1e9 / items; }

 private:
  double seconds_ = std::numeric_limits<double>::infinity();
};

/// Several runs of one transaction with the same number of edits. Edits run on the host's thread, so its processor
/// time is all that they take; the end of a transaction may hand work to other threads, and is timed by the wall clock.
class TransactionTimes {
 public:
  /// Runs `work` as a transaction of the table and returns its seconds by the wall clock.
  template <class Table, class Work>
  double run(Table& table, Work work) {
    double edited = 0;
    Stopwatch const watch;
    table.transaction([&] {
      work();
      benchmark::ClobberMemory();
      edits_.add(watch.cpu());
      edited = watch.wall();
    });
    double const ended = watch.wall();
    end_.add(ended - edited);
    return ended;
  }

  [[nodiscard]] Fastest const& edits() const noexcept { return edits_; }
  [[nodiscard]] Fastest const& end() const noexcept { return end_; }

 private:
  Fastest edits_;
  Fastest end_;
};

}  // namespace casebook::bench
