#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What a workload is made of: the peers that do the same work, and what each round of one reports.
namespace casebook::bench {

using u64 = std::uint64_t;

/// What one round of a peer found: figures, and numbers in which all peers that report one have to agree.
class Report {
 public:
  struct Figure {
    std::string measure;
    std::string unit;
    double value;
  };
  using Check = std::pair<std::string, u64>;

  void figure(std::string measure, std::string unit, double value) {
    figures_.push_back({std::move(measure), std::move(unit), value});
  }
  void milliseconds(std::string measure, double seconds) { figure(std::move(measure), "ms", seconds * 1e3); }
  void check(std::string name, u64 value) { checks_.emplace_back(std::move(name), value); }

  [[nodiscard]] std::vector<Figure> const& figures() const noexcept { return figures_; }
  [[nodiscard]] std::vector<Check> const& checks() const noexcept { return checks_; }

 private:
  std::vector<Figure> figures_;
  std::vector<Check> checks_;
};

/// One rival in one workload. It is made in a process of its own, makes its data before the first round, and leaves
/// them after each round as they were.
class Peer {
 public:
  Peer() = default;
  Peer(Peer const&) = delete;
  Peer& operator=(Peer const&) = delete;
  virtual ~Peer() = default;

  /// Does the work once and times it.
  virtual void round(Report& report) = 0;
};

/// Answers for a peer on standard input and output until the input ends (worker.h has the lines).
void serve(std::unique_ptr<Peer> peer);

/// The name of the contestant by which the others are measured.
inline std::string const library = "casebook";

struct Contestant {
  std::string name;
  std::string lacks;             ///< what it does not do, as a clause
  std::function<void(u64)> run;  ///< becomes the peer over so many records, in a process that has nothing else to do
  u64 mostRecords = std::numeric_limits<u64>::max();  ///< above, a round takes minutes
};

/// A contestant that is a class whose constructor takes the number of records, and `more`.
template <class Kind, class... More>
Contestant contestant(std::string name, std::string lacks, More... more) {
  return {std::move(name), std::move(lacks), [=](u64 records) { serve(std::make_unique<Kind>(records, more...)); }};
}

struct Workload {
  std::string name;
  std::string title;
  std::vector<Contestant> contestants;  ///< the library first
  std::vector<u64> sizes{100'000};      ///< the numbers of records at which it runs
};

}  // namespace casebook::bench
