#include "runner.h"

#include "worker.h"

#include <algorithm>
#include <exception>
#include <map>
#include <memory>

namespace casebook::bench {

namespace {

double medianOf(std::vector<double> values) {
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::ranges::nth_element(values, middle);
  if (values.size() % 2 == 1) return *middle;
  return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

class Race {
 public:
  Race(Workload const& workload, u64 records) {
    for (auto const& contestant : workload.contestants)
      if (records <= contestant.mostRecords)
        runners_.push_back({contestant.name, std::make_unique<Worker>(contestant, records), {}});
    forEachRunner([](Runner& runner) { runner.worker->waitUntilReady(); });
  }

  void round(bool counts) {
    std::map<std::string, std::pair<std::string, u64>> expected;
    forEachRunner([&](Runner& runner) {
      auto const report = runner.worker->round();
      for (auto const& [name, value] : report.checks()) {
        auto const& [peer, number] = expected.try_emplace(name, runner.name, value).first->second;
        if (number != value) failures_.push_back(runner.name + " and " + peer + " differ in the check \"" + name + '"');
      }
      if (counts) add(runner, report);
    });
  }

  [[nodiscard]] Outcome outcome() const {
    Outcome outcome{{}, failures_};
    if (!failures_.empty()) return outcome;
    for (auto const& runner : runners_)
      for (auto result : runner.results) {
        result.ratio = ratioOf(result);
        outcome.results.push_back(std::move(result));
      }
    return outcome;
  }

 private:
  struct Runner {
    std::string name;
    std::unique_ptr<Worker> worker;
    std::vector<Result> results;
  };

  /// Those that have not failed.
  void forEachRunner(auto const& work) {
    for (auto& runner : runners_) try {
        if (runner.worker) work(runner);
      } catch (std::exception const& error) {
        failures_.emplace_back(error.what());
        runner.worker.reset();
        runner.results.clear();
      }
  }

  static void add(Runner& runner, Report const& report) {
    for (auto const& [measure, unit, value] : report.figures()) {
      auto const at = std::ranges::find(runner.results, measure, &Result::measure);
      if (at != runner.results.end()) at->rounds.push_back(value);
      else runner.results.push_back({runner.name, measure, unit, {value}, {}});
    }
  }

  [[nodiscard]] std::optional<double> ratioOf(Result const& result) const {
    auto const standard = std::ranges::find(runners_, library, &Runner::name);
    if (standard == runners_.end()) return {};
    auto const at = std::ranges::find(standard->results, result.measure, &Result::measure);
    if (at == standard->results.end()) return {};
    std::vector<double> ratios;
    std::ranges::transform(result.rounds, at->rounds, std::back_inserter(ratios), std::divides{});
    return medianOf(ratios);
  }

  std::vector<Runner> runners_;
  std::vector<std::string> failures_;
};

}  // namespace

double Result::median() const { return medianOf(rounds); }

Outcome run(Workload const& workload, u64 records, std::size_t rounds) {
  Race race{workload, records};
  for (std::size_t round = 0; round <= rounds; ++round) race.round(round != 0);
  return race.outcome();
}

}  // namespace casebook::bench
