#pragma once

#include "console/console.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace casebook::cli {

/// How far a work is, on one line of stderr that disappears with it. Says nothing when stderr is not a terminal, and
/// nothing of a work that takes less than half a second.
class Progress {
 public:
  Progress(Console& console, std::string work);
  Progress(Progress const&) = delete;
  ~Progress();

  void operator()(std::uint64_t done, std::uint64_t total);

 private:
  using Clock = std::chrono::steady_clock;

  Console& console_;
  std::string work_;
  Clock::time_point next_;
  bool shown_ = false;
};

}  // namespace casebook::cli
