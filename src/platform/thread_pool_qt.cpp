#include "platform/thread_pool.h"

#include <QtCore/qrunnable.h>
#include <QtCore/qthread.h>
#include <QtCore/qthreadpool.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace casebook {

namespace {

class Job final : public QRunnable {
 public:
  Job(NumberedTask const& task, std::size_t number) : task_{task}, number_{number} {}
  void run() override { task_(number_); }

 private:
  NumberedTask const& task_;
  std::size_t const number_;
};

}  // namespace

std::size_t defaultThreadCount() { return static_cast<std::size_t>(std::max(1, QThread::idealThreadCount())); }

void runOnPool(std::size_t threads, std::size_t count, NumberedTask const& task) {
  std::vector<std::unique_ptr<Job>> jobs;
  jobs.reserve(count);
  for (std::size_t number = 0; number < count; ++number) jobs.push_back(std::make_unique<Job>(task, number));
  QThreadPool pool;
  pool.setMaxThreadCount(static_cast<int>(threads));
  for (auto& job : jobs) pool.start(job.release(), 0);
  pool.waitForDone(-1);
}

}  // namespace casebook
