// Which of 50 rules match which of 100,000 paths, and what one edit of a file costs among so many.

#include <benchmark/benchmark.h>
#include <fnmatch.h>
#include <re2/re2.h>

#include <casebook/casebook.h>

#include <boost/regex.hpp>

#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

constexpr std::size_t files = 100'000;
constexpr std::size_t filesOfRecord = 10;
constexpr double pairs = double{files} * 50;

using Texts = std::vector<std::string>;

/// Paths of some 80 bytes, as a study has them: a site, a person, a session, a kind of picture.
Texts somePaths() {
  constexpr std::string_view kinds[] = {"photo_front.png",   "photo_side.png",   "xray_chest.jpg", "ct_volume.nii.gz",
                                        "skull_surface.ply", "consent_form.pdf", "answers.csv"};
  std::mt19937_64 random{20261121};
  Texts paths;
  for (std::size_t k = 0; k < files; ++k) {
    auto const number = [&](std::uint64_t bound) { return std::to_string(1000 + random() % bound); };
    paths.push_back("study_of_growth/site_" + number(40) + "/person_" + number(20'000) + "/session_" + number(9) +
                    "/pictures_and_notes/" + std::string{kinds[random() % std::size(kinds)]});
  }
  return paths;
}

/// 50 patterns: half by the end of the name, the others with something that has to be found before it.
Texts somePatterns() {
  Texts patterns{"*.png", "*.jpg", "*.nii.gz", "*.ply", "*.pdf", "*.csv", "*.bmp", "photo_*.png", "ct_*", "xray_*.jpg"};
  for (int site = 1000; site < 1020; ++site) patterns.push_back("*/site_" + std::to_string(site) + "/*.png");
  for (int session = 1000; session < 1010; ++session)
    patterns.push_back("*/session_" + std::to_string(session) + "/*/photo_????*.png");
  for (char const* kind : {"front", "side", "chest", "volume", "surface", "form", "back", "hand", "foot", "jaw"})
    patterns.push_back("*_" + std::string{kind} + ".*");
  return patterns;
}

/// What each pattern becomes in a regular expression.
std::string regexOf(std::string_view pattern) {
  std::string regex;
  for (char const c : pattern) {
    if (c == '.' || c == '/') regex += '\\';
    if (c == '*') regex += '.';
    regex += c == '?' ? '.' : c;
  }
  return regex;
}

/// The peers answer whether a pattern matches at the end of a path.

struct Fnmatch {
  explicit Fnmatch(std::string const& pattern) : pattern_{'*' + pattern} {}
  [[nodiscard]] bool matches(std::string const& path) const { return fnmatch(pattern_.c_str(), path.c_str(), 0) == 0; }
  std::string pattern_;
};

struct Re2 {
  explicit Re2(std::string const& pattern) : pattern_{std::make_unique<re2::RE2>("(?s)" + regexOf(pattern) + "\\z")} {}
  [[nodiscard]] bool matches(std::string const& path) const { return re2::RE2::PartialMatch(path, *pattern_); }
  std::unique_ptr<re2::RE2> pattern_;
};

struct BoostSearch {
  explicit BoostSearch(std::string const& pattern) : pattern_{regexOf(pattern)} {}
  [[nodiscard]] bool matches(std::string const& path) const {
    boost::smatch match;
    for (auto from = path.begin(); regex_search(from, path.end(), match, pattern_); from = match[0].first + 1)
      if (match[0].second == path.end()) return true;
    return false;
  }
  boost::regex pattern_;
};

std::size_t countAnswers(Texts const& paths, auto const& rules) {
  std::size_t matches = 0;
  for (auto const& path : paths)
    for (auto const& rule : rules) matches += rule.matches(path);
  return matches;
}

template <class Peer>
void matchWith(benchmark::State& state) {
  auto const paths = somePaths();
  std::vector<Peer> rules;
  for (auto const& pattern : somePatterns()) rules.emplace_back(pattern);
  Fastest fastest;
  std::size_t matches = 0;
  for (auto _ : state) {
    Stopwatch const watch;
    matches = countAnswers(paths, rules);
    fastest.add(watch.cpu());
  }
  state.counters["ns/pair"] = fastest.nanosecondsEach(pairs);
  state.counters["matches"] = static_cast<double>(matches);
}

/// A current project of the paths, ten to a record, without rules.
class FileProject {
 public:
  FileProject() {
    projectPtr = project_.get();
    std::size_t k = 0;
    u64 record = 0;
    for (auto const& path : somePaths()) {
      if (k++ % filesOfRecord == 0) record = project_->addRecord().id();
      project_->addAuxFile(record, path, "");
    }
  }
  FileProject(FileProject const&) = delete;
  FileProject& operator=(FileProject const&) = delete;
  ~FileProject() { projectPtr = nullptr; }

  [[nodiscard]] Project* operator->() const noexcept { return project_.get(); }

  void addRules() {
    std::size_t k = 0;
    for (auto const& pattern : somePatterns()) project_->addPathRegex(pattern, "rule " + std::to_string(k++));
  }

  void commit(auto const& edit) {
    auto transaction = project_->startTransaction();
    edit(*project_);
    transaction.commit();
  }

 private:
  std::unique_ptr<Project> project_ = createProject();
};

/// The first question about tags finds what all rules match, and keeps it; then the tags of all files are asked for.
void tagsOfAllFiles(benchmark::State& state) {
  Fastest found;
  Fastest answered;
  std::size_t matches = 0;
  for (auto _ : state) {
    FileProject project;
    project.addRules();
    auto const all = project->auxFiles();
    Stopwatch const finding;
    matches = project->auxFileTags(all.front().id()).size();
    found.add(finding.cpu());
    Stopwatch const answering;
    matches = 0;
    for (auto const file : all) matches += project->auxFileTags(file.id()).size();
    answered.add(answering.cpu());
  }
  state.counters["ns/pair"] = found.nanosecondsEach(pairs);
  state.counters["tags ns/file"] = answered.nanosecondsEach(files);
  state.counters["matches"] = static_cast<double>(matches);
}

/// Transactions of one edit each, with 50 rules and 20 groups that list the tags of image files.
void editOneFile(benchmark::State& state) {
  FileProject project;
  project.commit([&](Project& p) {
    project.addRules();
    auto const tags = p.imageTags();
    for (std::size_t group = 0; group < 20; ++group) {
      u64 const uid = p.addTagGroup("group " + std::to_string(group)).id();
      for (std::size_t k = 0; k < 5; ++k) p.addTag(uid, tags[(group * 5 + k) % tags.size()]);
    }
  });
  std::mt19937_64 random{20261121};
  auto const timed = [&](Fastest& fastest, auto const& edit) {
    constexpr int times = 500;
    Stopwatch const watch;
    for (int k = 0; k < times; ++k) project.commit(edit);
    fastest.add(watch.cpu() / times);
  };
  Fastest attach;
  Fastest detach;
  Fastest rule;
  Fastest cell;
  auto all = project->auxFiles();
  auto const records = project->records();
  u64 const column = project->addVariable("x", {}, Variant::FloatingPoint, 0.0).id();
  std::size_t added = 0;
  for (auto _ : state) {
    timed(attach, [&](Project& p) {
      p.addAuxFile(records[random() % records.size()].id(), "site_1003/" + std::to_string(++added) + "_front.png", "");
    });
    timed(detach, [&](Project& p) {
      std::swap(all[random() % all.size()], all.back());
      p.eraseAuxFile(all.back().id());
      all.pop_back();
    });
    timed(cell, [&](Project& p) {
      Variable const variable{column, NoLockRequired{}};
      p.setValue(variable, Record{records[random() % records.size()].id(), NoLockRequired{}}, Variant{1.0});
    });
    Stopwatch const watch;
    project.commit([&](Project& p) { p.setPathRegexExpression(p.pathRegexs().back().id(), "*_jaw?.*"); });
    rule.add(watch.cpu());
    project.commit([&](Project& p) { p.setPathRegexExpression(p.pathRegexs().back().id(), "*_jaw.*"); });
  }
  state.counters["attach us"] = attach.nanosecondsEach(1000);
  state.counters["detach us"] = detach.nanosecondsEach(1000);
  state.counters["cell us"] = cell.nanosecondsEach(1000);
  state.counters["pattern us"] = rule.nanosecondsEach(1000);
}

void registerLine(char const* name, void (*line)(benchmark::State&), int iterations) {
  benchmark::RegisterBenchmark(name, line)->Iterations(iterations)->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerTags() {
  registerLine("tags/match/casebook", tagsOfAllFiles, 3);
  registerLine("tags/match/fnmatch", matchWith<Fnmatch>, 3);
  registerLine("tags/match/RE2", matchWith<Re2>, 3);
  registerLine("tags/match/Boost.Regex", matchWith<BoostSearch>, 1);
  registerLine("tags/edit", editOneFile, 5);
}

}  // namespace casebook::bench
