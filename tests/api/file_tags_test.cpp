// Tags of files: every answer beside a recount by the plain rules, after random edits and amidst them.

#include "support/path_test.h"
#include "support/random_edits.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <map>

namespace casebook {
namespace {

using Tags = std::set<std::string>;

/// What is asked about tags, worked out anew from files and rules.
class Recount {
 public:
  explicit Recount(Project& project) {
    for (auto const rule : project.pathRegexs())
      rules_.push_back({boost::regex{test::replaceInTurn(project.pathRegexExpression(rule.id()))},
                        project.pathRegexTarget(rule.id())});
    for (auto const file : project.auxFiles()) {
      auto const path = project.auxFileRawPath(file.id());
      bool const hasOwn = !project.auxFileHasTag(file.id(), "");
      bool const image = path.ends_with(".png") || path.ends_with(".jpg") || path.ends_with(".JPG");
      files_.push_back({file.id(), path, hasOwn ? project.auxFileTags(file.id()).at(0) : "", image});
    }
  }

  void expectSameAnswers(Project& project) const {
    std::map<std::string, std::vector<WeakPtr<AuxFile>>> carriers;
    Tags all;
    for (auto const& rule : rules_) all.insert(rule.target);
    for (auto const& file : files_) {
      auto const tags = tagsOf(file);
      RC_ASSERT(project.auxFileTags(file.uid) == std::vector<std::string>(tags.begin(), tags.end()));
      if (!file.own.empty()) all.insert(file.own);
      for (auto const& tag : tags) carriers[tag].emplace_back(file.uid);
      if (file.own.empty()) carriers[""].emplace_back(file.uid);
    }
    RC_ASSERT(project.tags() == all);
    RC_ASSERT(project.imageTags() == imageTags());
    for (auto const* tag : {"", "t", "u", "v", "w"}) RC_ASSERT(project.auxFiles(tag) == carriers[tag]);
  }

  [[nodiscard]] std::vector<std::string> imageTags() const {
    Tags images;
    Tags others;
    auto working = rules_;
    for (auto const& file : files_) {
      if (images.contains(file.own) || others.contains(file.own)) continue;
      if (!file.own.empty()) {
        (file.image ? images : others).insert(file.own);
      } else if (file.image) {
        auto const rule = std::ranges::find_if(working, [&](Rule const& r) { return r.matches(file.path); });
        if (rule == working.end()) continue;
        images.insert(rule->target);
        working.erase(rule);
      }
    }
    return {images.begin(), images.end()};
  }

 private:
  struct Rule {
    boost::regex pattern;
    std::string target;

    [[nodiscard]] bool matches(std::string const& path) const { return test::searchFindsEnd(pattern, path); }
  };
  struct File {
    u64 uid;
    std::string path;
    std::string own;
    bool image;
  };

  [[nodiscard]] Tags tagsOf(File const& file) const {
    if (!file.own.empty()) return {file.own};
    Tags tags;
    for (auto const& rule : rules_)
      if (rule.matches(file.path)) tags.insert(rule.target);
    return tags;
  }

  std::vector<Rule> rules_;
  std::vector<File> files_;
};

/// Of the edits that a word stands for, those of files, rules and groups come up more often.
u64 tagEdit(u64 word) {
  static auto const kinds = [] {
    std::vector<u64> found;
    Tags const names{"addRecord",  "addTagGroup",    "addPathRegex",  "addAuxFile",  "addTag",       "insertTag",
                     "removeTags", "setPathPattern", "setPathTarget", "eraseRecord", "eraseAuxFile", "erasePathRegex"};
    for (u64 kind = 0; kind < std::size(test::randomEdits); ++kind)
      if (names.contains(test::randomEdits[kind].name)) found.push_back(kind);
    return found;
  }();
  return word / kinds.size() * std::size(test::randomEdits) + kinds[word % kinds.size()];
}

void expectNoLostTags(Project& project) {
  auto const images = project.imageTags();
  for (auto const group : project.tagGroups())
    for (auto const& tag : project.tags(group.id())) RC_ASSERT(std::ranges::find(images, tag) != images.end());
}

RC_GTEST_PROP(FileTags, AreThoseOfTheFilesAndRulesAtEveryTime, ()) {
  test::CurrentProject const project;
  test::BlockStore journal{*project};
  auto const check = [&] { Recount{*project}.expectSameAnswers(*project); };
  for (int transactions = *rc::gen::inRange(1, 12); transactions > 0; --transactions) {
    test::transact(*project, [&](Project& p) {
      test::RandomEdits edits{p};
      for (auto const& [word, asked] : *rc::gen::container<std::vector<std::pair<u64, std::uint8_t>>>(
               rc::gen::pair(rc::gen::resize(100, rc::gen::arbitrary<u64>()), rc::gen::arbitrary<std::uint8_t>()))) {
        edits.make(tagEdit(word));
        if (asked % 4 == 0) check();
      }
    });
    if (*rc::gen::inRange(0, 2) == 0) expectNoLostTags(*project);
    if (*rc::gen::inRange(0, 3) == 0 && !journal.blocks.empty()) test::undo(*project, journal.blocks.back());
    if (*rc::gen::inRange(0, 20) == 0) project->resetProject(), journal.blocks.clear();
    check();
  }
  auto const copy = createProject();
  RC_ASSERT(copy->tags().empty());
  auto const checkpoint = project->checkpoint();
  Journal::Transaction const blocks[] = {{checkpoint.block, 0}};
  copy->restore(blocks, checkpoint.nextUid);
  Recount{*project}.expectSameAnswers(*copy);
}

TEST(FileTags, AreFoundAlsoAfterMoreChangesThanAreRemembered) {
  test::CurrentProject const project;
  project->addRecord();
  u64 const busy = project->addPathRegex("*", "t").id();
  u64 const other = project->addPathRegex("none", "u").id();
  u64 const file = project->addAuxFile(2, "a.png", "").id();
  EXPECT_EQ(project->auxFileTags(file), std::vector<std::string>{"t"});
  for (int i = 0; i < 70'000; ++i) project->setPathRegexTarget(busy, "t" + std::to_string(i));
  project->setPathRegexExpression(other, "*.png");
  EXPECT_EQ(project->auxFileTags(file), (std::vector<std::string>{"t69999", "u"}));
}

}  // namespace
}  // namespace casebook
