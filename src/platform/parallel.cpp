#include "platform/parallel.h"

#include "platform/first_error.h"
#include "platform/thread_pool.h"

#include <algorithm>
#include <latch>
#include <mutex>
#include <thread>
#include <vector>

namespace casebook {

namespace {

/// How many threads can be had at the same time, at most `wanted`: all are started, and none ends before the last is.
std::size_t startableThreads(std::size_t wanted) {
  std::latch allStarted{1};  // outlives the threads, which are joined when the list of them ends
  std::vector<std::jthread> threads;
  threads.reserve(wanted);
  try {
    while (threads.size() < wanted) threads.emplace_back([&] { allStarted.wait(); });
  } catch (std::exception const&) {
    // The limit of the process, the machine or its memory: those that run are what can be had.
  }
  allStarted.count_down();
  return threads.size();
}

}  // namespace

void runInTurn(std::size_t count, NumberedTask const& task) {
  FirstError error;
  for (std::size_t number = 0; number < count; ++number) error.guard([&] { task(number); });
  error.rethrow();
}

void runInParallel(std::size_t count, NumberedTask const& task) {
  auto const threads = startableThreads(std::min(count, defaultThreadCount()));
  if (threads < 2) {
    runInTurn(count, task);
    return;
  }
  FirstError error;
  std::mutex errors;
  runOnPool(threads, count, [&](std::size_t number) {
    FirstError own;
    if (own.guard([&] { task(number); })) return;
    std::lock_guard const lock{errors};
    error.guard([&] { own.rethrow(); });
  });
  error.rethrow();
}

}  // namespace casebook
