// Runs the workloads and tells what they took, as a table and as a line of JSON a figure.

#include "runner.h"
#include "workloads.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdio>
#include <set>

namespace casebook::bench {

namespace {

struct Options {
  std::vector<std::string> work;
  std::vector<std::string> peers;
  std::vector<u64> records;
  std::size_t rounds = 3;
  bool quick = false;
  bool json = false;
};

std::vector<Workload> allWorkloads() {
  std::vector<Workload> all;
  for (auto const& some : {oneCell(), oneRecord(), writes(), statistics(), merges(), deletion(), expressions(), tags(),
                           openFile(), memory()})
    all.insert(all.end(), some.begin(), some.end());
  return all;
}

std::string number(double value) {
  return value < 10 ? fmt::format("{:.2f}", value) : fmt::format("{:.{}f}", value, value < 100 ? 1 : 0);
}

std::string cell(Result const& result) {
  auto const ratio = result.ratio ? fmt::format(" ({}x)", number(*result.ratio)) : "";
  return number(result.median()) + ratio;
}

/// The names of what was measured, each with its unit, in the order in which they came.
std::vector<std::pair<std::string, std::string>> measuresOf(Outcome const& outcome) {
  std::vector<std::pair<std::string, std::string>> measures;
  for (auto const& result : outcome.results)
    if (std::pair const measure{result.measure, result.unit}; std::ranges::find(measures, measure) == measures.end())
      measures.push_back(measure);
  return measures;
}

void printTable(std::FILE* to, Workload const& workload, u64 records, Outcome const& outcome) {
  fmt::print(to, "\n{}, {} records: {}\n", workload.name, records, workload.title);
  for (auto const& failure : outcome.failures) fmt::print(to, "  FAILED: {}\n", failure);
  for (auto const& [measure, unit] : measuresOf(outcome)) {
    fmt::print(to, "  {}, {}\n", measure, unit);
    for (auto const& result : outcome.results)
      if (result.measure == measure) fmt::print(to, "    {:<28} {:>24}\n", result.peer, cell(result));
  }
  for (auto const& contestant : workload.contestants)
    if (!contestant.lacks.empty() && records <= contestant.mostRecords)
      fmt::print(to, "  {}: {}\n", contestant.name, contestant.lacks);
  std::fflush(to);
}

std::string const& lacksOf(Workload const& workload, std::string const& peer) {
  return std::ranges::find(workload.contestants, peer, &Contestant::name)->lacks;
}

void printJson(Workload const& workload, u64 records, Outcome const& outcome) {
  for (auto const& result : outcome.results) {
    nlohmann::ordered_json line{{"work", workload.name},     {"title", workload.title},
                                {"records", records},        {"peer", result.peer},
                                {"measure", result.measure}, {"unit", result.unit},
                                {"median", result.median()}, {"rounds", result.rounds},
                                {"ratio", nullptr},          {"lacks", lacksOf(workload, result.peer)}};
    if (result.ratio) line["ratio"] = *result.ratio;
    fmt::print("{}\n", line.dump());
  }
  std::fflush(stdout);
}

bool isWanted(std::string const& name, std::vector<std::string> const& wanted) {
  return wanted.empty() || std::ranges::find(wanted, name) != wanted.end();
}

/// The workloads asked for, with the contestants asked for; those that have none of these are left out.
std::vector<Workload> wantedWorkloads(Options const& options) {
  auto wanted = allWorkloads();
  std::erase_if(wanted, [&](Workload const& workload) { return !isWanted(workload.name, options.work); });
  for (auto& workload : wanted)
    std::erase_if(workload.contestants, [&](Contestant const& peer) { return !isWanted(peer.name, options.peers); });
  std::erase_if(wanted, [](Workload const& workload) { return workload.contestants.empty(); });
  return wanted;
}

std::vector<u64> sizesOf(Workload const& workload, Options const& options) {
  if (!options.records.empty()) return options.records;
  auto sizes = workload.sizes;
  if (options.quick) sizes.assign(1, 10'000);
  return sizes;
}

/// False when any peer failed, or nothing was to be done.
bool runAll(Options const& options) {
  bool good = true;
  auto const workloads = wantedWorkloads(options);
  if (workloads.empty()) fmt::print(stderr, "None of these peers takes part in this work.\n");
  for (auto const& workload : workloads)
    for (u64 const records : sizesOf(workload, options)) {
      auto const outcome = run(workload, records, options.rounds);
      printTable(options.json ? stderr : stdout, workload, records, outcome);
      if (options.json) printJson(workload, records, outcome);
      good = good && outcome.failures.empty();
    }
  return good && !workloads.empty();
}

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a peer that ended is told of by what it does not answer
  std::vector<std::string> names;
  std::set<std::string> peers;
  for (auto const& workload : allWorkloads()) {
    names.push_back(workload.name);
    for (auto const& contestant : workload.contestants) peers.insert(contestant.name);
  }
  Options options;
  CLI::App program{"Runs the library beside its peers, and prints medians and their ratios to the library's."};
  program.add_option("--work", options.work, "Run the named workload alone; may be given again")
      ->check(CLI::IsMember(names));
  program
      .add_option("--peer", options.peers,
                  "Run the named contestant alone, \"casebook\" being the library; may be given again")
      ->check(CLI::IsMember(peers));
  program.add_option("--records", options.records, "Run at this number of records; may be given again")
      ->check(CLI::Range(100, 10'000'000));
  program.add_option("--rounds", options.rounds, "Rounds that count, after one that warms up")
      ->check(CLI::Range(1, 99));
  program.add_flag("--quick", options.quick, "10,000 records and no more");
  program.add_flag("--json", options.json, "A line of JSON a figure; the table goes to standard error");
  CLI11_PARSE(program, argc, argv);
  return runAll(options) ? 0 : 1;
}

}  // namespace

}  // namespace casebook::bench

int main(int argc, char** argv) { return casebook::bench::main(argc, argv); }
