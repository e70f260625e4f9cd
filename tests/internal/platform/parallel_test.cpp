#include "platform/parallel.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

namespace casebook {
namespace {

using Runs = std::array<std::atomic<int>, 200>;

bool eachRanOnce(Runs const& runs) {
  return std::ranges::all_of(runs, [](auto const& count) { return count == 1; });
}

TEST(Parallel, EachTaskRunsOnceWhateverTheOthersThrow) {
  for (auto* const run : {&runInTurn, &runInParallel}) {
    Runs runs{};
    std::string message;
    try {
      run(runs.size(), [&](std::size_t number) {
        ++runs[number];
        if (number % 50 == 7) throw std::runtime_error{std::to_string(number % 50)};
      });
    } catch (std::runtime_error const& error) {
      message = error.what();
    }
    EXPECT_TRUE(eachRanOnce(runs));
    EXPECT_EQ(message, "7");
    EXPECT_NO_THROW(run(0, [](std::size_t) { throw std::runtime_error{"of no task"}; }));
  }
}

/// Runs tasks in a process that may start no threads, and ends it: with 0 when all were run by the calling thread.
[[noreturn]] void runWithoutThreads() {
  rlimit const none{0, 0};
  setrlimit(RLIMIT_NPROC, &none);
  if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) std::_Exit(2);  // the limit does not hold for root
  Runs runs{};
  bool here = true;
  auto const caller = std::this_thread::get_id();
  runInParallel(runs.size(), [&](std::size_t number) {
    ++runs[number];
    here = here && std::this_thread::get_id() == caller;
  });
  std::_Exit(eachRanOnce(runs) && here ? 0 : 1);
}

TEST(ParallelDeathTest, WithoutThreadsTheCallerDoesAll) {
  EXPECT_EXIT(runWithoutThreads(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace casebook
