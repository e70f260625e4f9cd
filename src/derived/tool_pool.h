#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace casebook {

/// Lends tools to threads, so that they keep their memory from task to task. There are never more than threads.
template <class Tool>
class ToolPool {
 public:
  /// Runs a task with a tool; one that it threw with is not lent again.
  template <class Task>
  void lend(Task task) {
    auto tool = take();
    task(*tool);
    put(std::move(tool));
  }

  /// While none is lent: gives back their memory.
  void clear() noexcept { idle_.clear(); }

 private:
  std::unique_ptr<Tool> take() {
    {
      std::lock_guard const lock{mutex_};
      if (!idle_.empty()) {
        auto tool = std::move(idle_.back());
        idle_.pop_back();
        return tool;
      }
    }
    return std::make_unique<Tool>();
  }

  void put(std::unique_ptr<Tool> tool) {
    std::lock_guard const lock{mutex_};
    idle_.push_back(std::move(tool));
  }

  std::mutex mutex_;
  std::vector<std::unique_ptr<Tool>> idle_;
};

}  // namespace casebook
