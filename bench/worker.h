#pragma once

#include "peer.h"

#include <sys/types.h>

#include <cstdio>
#include <string>

namespace casebook::bench {

/// The process of one contestant, at the other end of two pipes. Lines, their fields parted by tabs:
///
///   to it     "round"*  "end"
///   from it   "ready" once, when its data are made; then for each round
///             ("figure" measure unit value)*  ("check" name number)*  "done"
///             or, once and for all, "error" message
class Worker {
 public:
  /// Starts the process, which begins to make its data.
  Worker(Contestant const& contestant, u64 records);
  Worker(Worker const&) = delete;
  Worker& operator=(Worker const&) = delete;
  /// Lets the process end.
  ~Worker();

  /// Waits until the data are made. Throws std::runtime_error with what the process reported, as `round` does.
  void waitUntilReady();
  [[nodiscard]] Report round();

 private:
  [[nodiscard]] std::vector<std::string> answer();

  std::string name_;
  pid_t process_ = 0;
  std::FILE* to_ = nullptr;
  std::FILE* from_ = nullptr;
};

}  // namespace casebook::bench
