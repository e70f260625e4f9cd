#pragma once

namespace casebook::bench {

/// Gives free pages back first: else new data would fill old holes, and nothing would seem to grow.
[[nodiscard]] double residentBytes();

/// What is allocated, as malloc has it.
[[nodiscard]] double heapBytes();

/// The most that the process holds in a round, beyond what it held when this was made.
class PeakMemory {
 public:
  PeakMemory() : before_{residentBytes()} {}

  /// Begins a round: forgets the peak so far.
  void restart() const;
  [[nodiscard]] double megabytes() const;

 private:
  double before_;
};

}  // namespace casebook::bench
