// Which of 50 rules match which of so many paths, ten paths to a record of a table; and what one edit costs among so
// many.

#include "stopwatch.h"
#include "workloads.h"

#include <casebook/casebook.h>

#include <boost/regex.hpp>

#include <fnmatch.h>
#include <re2/re2.h>
#include <re2/set.h>

#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::bench {

namespace {

using Texts = std::vector<std::string>;

/// Paths of some 80 bytes, as a study has them: a site, a person, a session, a kind of picture.
Texts somePaths(u64 files) {
  constexpr std::string_view kinds[] = {"photo_front.png",   "photo_side.png",   "xray_chest.jpg", "ct_volume.nii.gz",
                                        "skull_surface.ply", "consent_form.pdf", "answers.csv"};
  std::mt19937_64 random{20261121};
  Texts paths;
  for (u64 k = 0; k < files; ++k) {
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

/// The peers count the pairs of a path and a rule that matches it at its end.

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

/// Compares byte by byte and goes back to the last star where that fails.
struct Wildcard {
  explicit Wildcard(std::string const& pattern) : pattern_{'*' + pattern} {}
  [[nodiscard]] bool matches(std::string_view path) const {
    std::size_t p = 0;
    std::size_t star = 0;
    std::size_t resume = 0;
    for (std::size_t k = 0; k < path.size();) {
      if (p < pattern_.size() && pattern_[p] == '*') {
        star = p++;
        resume = k;
      } else if (p < pattern_.size() && (pattern_[p] == '?' || pattern_[p] == path[k])) {
        ++p;
        ++k;
      } else {
        p = star + 1;
        k = ++resume;
      }
    }
    return pattern_.find_first_not_of('*', p) == std::string::npos;
  }
  std::string pattern_;
};

class TagPeer : public Peer {
 public:
  explicit TagPeer(u64 files) : paths_{somePaths(files)} {}

  void round(Report& report) final {
    prepare();
    Stopwatch const watch;
    u64 const matches = count();
    report.milliseconds("all matches", watch.seconds());
    report.check("matches", matches);
  }

 protected:
  Texts const paths_;

 private:
  virtual void prepare() {}
  virtual u64 count() = 0;
};

template <class Rule>
class OneByOne : public TagPeer {
 public:
  explicit OneByOne(u64 files) : TagPeer{files} {
    for (auto const& pattern : somePatterns()) rules_.emplace_back(pattern);
  }

 private:
  u64 count() override {
    u64 matches = 0;
    for (auto const& path : paths_)
      for (auto const& rule : rules_) matches += rule.matches(path);
    return matches;
  }

  std::vector<Rule> rules_;
};

/// All patterns in one automaton.
class Re2Set : public TagPeer {
 public:
  explicit Re2Set(u64 files) : TagPeer{files} {
    for (auto const& pattern : somePatterns()) set_.Add("(?s).*" + regexOf(pattern), nullptr);
    set_.Compile();
  }

 private:
  u64 count() override {
    u64 matches = 0;
    std::vector<int> found;
    for (auto const& path : paths_)
      if (set_.Match(path, &found)) matches += found.size();
    return matches;
  }

  /// With room for an automaton that need not be thrown away and begun again.
  static re2::RE2::Options roomy() {
    re2::RE2::Options options;
    options.set_max_mem(std::int64_t{1} << 30);
    return options;
  }

  re2::RE2::Set set_{roomy(), re2::RE2::ANCHOR_BOTH};
};

/// A current project of the paths, ten to a record, without rules.
class FileProject {
 public:
  explicit FileProject(Texts const& paths) {
    projectPtr = project_.get();
    u64 k = 0;
    u64 record = 0;
    for (auto const& path : paths) {
      if (k++ % 10 == 0) record = project_->addRecord().id();
      project_->addAuxFile(record, path, "");
    }
  }

  [[nodiscard]] Project* operator->() const noexcept { return project_.get(); }

  void addRules() {
    u64 k = 0;
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
class Casebook : public TagPeer {
 public:
  using TagPeer::TagPeer;

 private:
  void prepare() override {
    project_.reset();
    project_ = std::make_unique<FileProject>(paths_);
    project_->addRules();
  }
  u64 count() override {
    u64 matches = 0;
    for (auto const file : (*project_)->auxFiles()) matches += (*project_)->auxFileTags(file.id()).size();
    return matches;
  }

  std::unique_ptr<FileProject> project_;
};

/// Transactions of one edit each, with 50 rules and 20 groups that list the tags of image files.
class TagEdits : public Peer {
 public:
  explicit TagEdits(u64 files) : project_{somePaths(files)} {
    project_.commit([&](Project& project) {
      project_.addRules();
      auto const tags = project.imageTags();
      for (std::size_t group = 0; group < 20; ++group) {
        u64 const uid = project.addTagGroup("group " + std::to_string(group)).id();
        for (std::size_t k = 0; k < 5; ++k) project.addTag(uid, tags[(group * 5 + k) % tags.size()]);
      }
    });
    files_ = project_->auxFiles();
    records_ = project_->records();
  }

  void round(Report& report) override {
    timed(report, "attach a file", [&](Project& project) {
      auto const path = "site_1003/" + std::to_string(++added_) + "_front.png";
      files_.push_back(project.addAuxFile(anyRecord(), path, ""));
    });
    timed(report, "detach a file", [&](Project& project) {
      std::swap(files_[random_() % files_.size()], files_.back());
      project.eraseAuxFile(files_.back().id());
      files_.pop_back();
    });
    Stopwatch const watch;
    setLastPattern("*_jaw?.*");
    report.figure("change a pattern", "us", watch.seconds() * 1e6);
    setLastPattern("*_jaw.*");
  }

 private:
  void timed(Report& report, std::string const& measure, auto const& edit) {
    constexpr int times = 500;
    Stopwatch const watch;
    for (int k = 0; k < times; ++k) project_.commit(edit);
    report.figure(measure, "us", watch.seconds() * 1e6 / times);
  }
  [[nodiscard]] u64 anyRecord() { return records_[random_() % records_.size()].id(); }
  void setLastPattern(std::string const& pattern) {
    project_.commit(
        [&](Project& project) { project.setPathRegexExpression(project.pathRegexs().back().id(), pattern); });
  }

  FileProject project_;
  std::vector<WeakPtr<AuxFile>> files_;
  std::vector<WeakPtr<Record>> records_;
  std::mt19937_64 random_{20261121};
  u64 added_ = 0;
};

}  // namespace

std::vector<Workload> tags() {
  auto boost = contestant<OneByOne<BoostSearch>>("Boost.Regex, searched again", "keeps no answers");
  boost.mostRecords = 100'000;
  return {
      {"tags",
       "which of 50 rules match which paths, as many as there would be records",
       {contestant<Casebook>(library, ""), contestant<OneByOne<Fnmatch>>("fnmatch", "keeps no answers"),
        contestant<OneByOne<Re2>>("RE2", "keeps no answers"),
        contestant<Re2Set>("RE2::Set", "keeps no answers; all rules in one automaton, made anew when one changes"),
        std::move(boost),
        contestant<OneByOne<Wildcard>>("plain", "keeps no answers; a few lines that try one pattern after the other")}},
      {"tag-edits",
       "one edit in a transaction of its own among as many files, with 50 rules and 20 groups of tags",
       {contestant<TagEdits>(library, "")}}};
}

}  // namespace casebook::bench
