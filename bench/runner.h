#pragma once

#include "peer.h"

#include <optional>
#include <string>
#include <vector>

namespace casebook::bench {

/// What one peer took for one thing, in all rounds.
struct Result {
  std::string peer;
  std::string measure;
  std::string unit;
  std::vector<double> rounds;
  std::optional<double> ratio;  ///< to the library: the median of the rounds' ratios

  [[nodiscard]] double median() const;
};

/// One workload at one size.
struct Outcome {
  std::vector<Result> results;        ///< none when anything failed
  std::vector<std::string> failures;  ///< peers that stopped, and checks in which they do not agree
};

/// Runs all contestants, each in a process of its own, in turn: one round that warms up and does not count, then
/// `rounds` that do. A contestant that fails takes no part in what follows.
[[nodiscard]] Outcome run(Workload const& workload, u64 records, std::size_t rounds);

}  // namespace casebook::bench
