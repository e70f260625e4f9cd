#include "platform/thread_pool.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace casebook {

std::size_t defaultThreadCount() { return std::max(1U, std::thread::hardware_concurrency()); }

void runOnPool(std::size_t threads, std::size_t count, NumberedTask const& task) {
  std::atomic<std::size_t> next{0};
  std::vector<std::jthread> pool;
  pool.reserve(threads);
  while (pool.size() < threads) {
    pool.emplace_back([&] {
      for (auto number = next++; number < count; number = next++) task(number);
    });
  }
}

}  // namespace casebook
