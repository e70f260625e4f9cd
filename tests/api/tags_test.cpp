#include "support/listener.h"
#include "support/state.h"

#include <gtest/gtest.h>

#include <tuple>

namespace casebook {
namespace {

using test::CurrentProject;
using test::Lines;
using test::Listener;
using test::refusalOf;
using test::stateOf;
using test::transact;

using Tags = std::vector<std::string>;
using TagSet = std::set<std::string>;

std::vector<u64> uidsOf(std::vector<WeakPtr<AuxFile>> const& files) {
  std::vector<u64> uids;
  for (auto const file : files) uids.push_back(file.id());
  return uids;
}

TEST(AuxFiles, AreOnceForEachRecordPathAndTag) {
  CurrentProject const project;
  project->addRecord(), project->addRecord();
  std::tuple<u64, char const*, char const*, u64> const rows[] = {
      {2, "a.png", "", 4}, {2, "a.png", "t", 5}, {2, "A.png", "", 6}, {3, "a.png", "", 7}, {2, "a.png", "t", 5}};
  for (auto const& [record, path, tag, uid] : rows) EXPECT_EQ(project->addAuxFile(record, path, tag).id(), uid);
  EXPECT_EQ(project->auxFiles(3), std::vector{WeakPtr<AuxFile>{7}});
}

TEST(AuxFiles, RelativePathsAreJoinedToTheRoot) {
  CurrentProject const project;
  project->addRecord();
  std::tuple<char const*, char const*, char const*> const rows[] = {
      {"/data", "a/b.png", "/data/a/b.png"}, {"/data", "/c/d", "/c/d"}, {"/data/", "a", "/data/a"}, {"", "a", "a"}};
  for (auto const& [root, stored, full] : rows) {
    project->setRootPath(root);
    auto const file = project->addAuxFile(2, stored, "").lock();
    EXPECT_EQ(file.filePath(), full);
    EXPECT_EQ(file.rawFilePath(), stored);
  }
}

TEST(TagGroups, KeepTheirOrderAndTakeATagOfTheirOwnHoweverFullTheyAre) {
  CurrentProject const project;
  auto& p = *project;
  u64 const group = p.addTagGroup("g").id();
  for (auto const* tag : {"a", "b", "a"}) p.addTag(group, tag);
  p.insertTag(group, "a first one that is not kept in place", 0);
  p.removeTag(group, "a");
  Tags expected{"a first one that is not kept in place", "b", "a"};
  expected.resize(20, expected.front());
  while (p.tags(group).size() < 20) p.addTag(group, p.tags(group).front());
  EXPECT_EQ(p.tags(group), expected);
  p.setTagGroupName(group, "G");
  EXPECT_TRUE(TagGroupNameIs{"G"}(p.tagGroup("G")));
  EXPECT_FALSE(p.tagGroup("g"));
}

TEST(TagGroups, AndRulesRefuseWhatDoesNotFit) {
  CurrentProject const project;
  auto& p = *project;
  p.addTagGroup("G"), p.addTagGroup("");
  p.addTag(2, "a");
  std::string const longest(4096, '*');
  p.addPathRegex(longest, "t");
  auto const duplicate = "Duplicate tag group names are not allowed. (false)";
  auto const beyond = "Attempted to insert a tag beyond the end of its group. (true)";
  auto const tooLong = "A pattern is at most 4096 bytes long. (false)";
  auto const before = stateOf(p);
  EXPECT_EQ(refusalOf([&] { p.addTagGroup("G"); }), duplicate);
  EXPECT_EQ(refusalOf([&] { p.setTagGroupName(2, "G"); }), duplicate);
  EXPECT_EQ(refusalOf([&] { p.insertTag(2, "x", 2); }), beyond);
  EXPECT_EQ(refusalOf([&] { p.removeTag(3, "a"); }), "Attempted to remove a tag that is not in its group. (true)");
  EXPECT_EQ(refusalOf([&] { p.addPathRegex(longest + 'a', "t"); }), tooLong);
  EXPECT_EQ(refusalOf([&] { p.setPathRegexExpression(4, longest + 'a'); }), tooLong);
  EXPECT_EQ(refusalOf([&] { p.addVariableRegex(longest + 'a', p.getCaseIDColumn().lock()); }), tooLong);
  EXPECT_EQ(refusalOf([&] { p.setTagGroupName(99, "G"); }), duplicate);
  EXPECT_EQ(stateOf(p), before);
}

TEST(AuxFiles, AreClassifiedByTheEndOfTheirNames) {
  CurrentProject const project;
  project->addRecord();
  std::tuple<char const*, bool, bool> const rows[] = {
      {"x/b.JpEg", true, false},  {".jpg", true, false},  {"a.png.txt", false, false},   {"a.png/b", false, false},
      {"a.png\\b", false, false}, {"apng", false, false}, {"brain.nii.GZ", false, true}, {"brain.gz", false, false}};
  for (auto const& [path, image, loadable] : rows) {
    auto const file = project->addAuxFile(2, path, "").lock();
    EXPECT_EQ(file.isImageFile(), image) << path;
    EXPECT_EQ(file.is3DXFile(), loadable) << path;
  }
  EXPECT_EQ(uidsOf(WeakPtr<Record>{2}.lock().auxFilesImage()), (std::vector<u64>{3, 4}));
  EXPECT_EQ(uidsOf(WeakPtr<Record>{2}.lock().auxFiles3DX()), std::vector<u64>{9});
  EXPECT_EQ(Project::imageExtensions(), (FileExtensions{".png", ".jpeg", ".jpg", ".bmp"}));
  EXPECT_TRUE(Project::imageExtensions().contains(".JPEG"));
  for (auto const* entry : {"*.tar.gz", ".gz", "S?AN*", ""})
    EXPECT_TRUE(fileMatchesWildcards("d/scan.TAR.gz", {entry}));
  for (auto const* entry : {"*.tar", "d/*", "s?can*"}) EXPECT_FALSE(fileMatchesWildcards("d/scan.TAR.gz", {entry}));
  EXPECT_FALSE(fileMatchesWildcards("d/scan.TAR.gz", {}));
  EXPECT_FALSE(fileMatchesWildcards("d\\scan", {"d*"}));
}

TEST(LoaderDescriptionDepot, TellsWhatItsLoadersLoad) {
  auto& depot = LoaderDescriptionDepot::getInstance();
  auto const before = depot.extensions();
  CurrentProject const project;
  project->addRecord();
  auto const file = project->addAuxFile(2, "a.TWO", "").lock();
  depot.add({"Ours", {".one", ".two"}});
  EXPECT_TRUE(file.is3DXFile());
  depot.add({"Ours", {".one"}});
  EXPECT_FALSE(file.is3DXFile());
  EXPECT_TRUE(depot.remove("Ours"));
  EXPECT_FALSE(depot.remove("Ours"));
  EXPECT_EQ(depot.extensions(), before);
}

/// A record with files of several tags.
class TaggedFiles : public testing::Test {
 protected:
  TaggedFiles() {
    transact(*project_, [](Project& p) {
      p.addRecord(), p.addRecord();         // 2 and 3
      p.addPathRegex("*.png", "photo");     // 4
      p.addPathRegex("front*", "front");    // 5
      p.addPathRegex("*f*.png", "photo");   // 6
      p.addAuxFile(2, "front.png", "");     // 7
      p.addAuxFile(2, "front.png", "own");  // 8
      p.addAuxFile(3, "back.png", "");      // 9
      p.addAuxFile(2, "front.txt", "");     // 10
      p.addAuxFile(2, "notes.txt", "own");  // 11
    });
  }

  CurrentProject const project_;
};

TEST_F(TaggedFiles, AreListedOnceForEachTag) {
  using Uids = std::vector<u64>;
  std::tuple<u64, TagSet, Uids, Uids> const rows[] = {{2, {"front", "photo"}, {7, 7, 10}, {10}},
                                                      {2, {"own"}, {8, 11}, {11}},
                                                      {2, {"", "front", "photo"}, {7, 7, 7, 10, 10}, {10, 10}},
                                                      {99, {"own"}, {}, {}}};
  for (auto const& [record, tags, all, nonImages] : rows) {
    EXPECT_EQ(uidsOf(project_->auxFiles(record, tags)), all);
    EXPECT_EQ(uidsOf(project_->auxFilesNonImage(record, tags)), nonImages);
  }
  EXPECT_EQ(refusalOf([&] { return project_->auxFiles(99); }), test::unknownEntity);
}

TEST_F(TaggedFiles, AnswerForASelectionOfCases) {
  TagOperations operations;
  using Type = TagOperations::AuxFileType;
  std::tuple<std::set<u64>, TagSet, TagSet, TagSet> const rows[] = {
      {{1, 2}, {"front", "own", "photo"}, {"front", "own"}, {"x"}},
      {{2, 77}, {"photo"}, {}, {"front", "own", "x"}},
      {{}, {}, {}, {"front", "own", "photo", "x"}}};
  for (auto const& [cases, images, others, unused] : rows) {
    EXPECT_EQ(operations.getTagsForCases(cases, Type::Image), images);
    EXPECT_EQ(operations.getTagsForCases(cases, Type::NonImage), others);
    EXPECT_EQ(operations.getUnusedTags({"front", "own", "photo", "x"}, cases), unused);
  }
  EXPECT_TRUE(project_->isCompletelyUnlocked());
}

TEST(ImageTags, AreClaimedAnewWhenAFileComesBack) {
  CurrentProject const project;
  test::BlockStore const journal{*project};
  transact(*project, [](Project& p) {
    p.addRecord();  // 2
    p.addAuxFile(2, "a.png", ""), p.addAuxFile(2, "ab.png", "");
    p.addPathRegex("*.png", "t"), p.addPathRegex("*b.png", "u");
  });
  EXPECT_EQ(project->imageTags(), (Tags{"t", "u"}));
  transact(*project, [](Project& p) { p.eraseAuxFile(3); });
  EXPECT_EQ(project->imageTags(), Tags{"t"});
  test::undo(*project, journal.blocks.back());
  EXPECT_EQ(project->imageTags(), (Tags{"t", "u"}));
}

/// Notes what its groups lose.
struct NotingProject final : Project {
  void removeTag(u64 group, std::string const& tag) override {
    calls.push_back(std::to_string(group) + tag);
    Project::removeTag(group, tag);
  }
  Tags calls;
};

TEST(TagGroups, LoseWhatNoImageFileCarriesThroughTheOperationOfTheProject) {
  auto owned = std::make_unique<NotingProject>();
  auto const& calls = owned->calls;
  CurrentProject const project{std::move(owned)};
  test::BlockStore const journal{*project};
  auto& p = *project;
  transact(p, [](Project& q) {
    q.addRecord();                     // 2
    q.addAuxFile(2, "a.png", "");      // 3
    q.addAuxFile(2, "b.txt", "text");  // 4
    q.addTagGroup("g");                // 5
    q.addPathRegex("*", "photo");
    for (auto const* tag : {"x", "photo", "text", "x", "photo"}) q.addTag(5, tag);
  });
  EXPECT_EQ(calls, (Tags{"5x", "5text", "5x"}));
  auto const before = stateOf(p);
  transact(p, [](Project& q) { q.eraseAuxFile(3); });
  EXPECT_EQ(calls.size(), 5u);
  test::undo(p, journal.blocks.back());
  EXPECT_EQ(stateOf(p), before);
  EXPECT_EQ(calls.size(), 5u) << "a replay takes tags out by their places";

  // Written into the project past a transaction's end, they go at the next, even if it does nothing.
  p.addTag(5, "x");
  transact(p, [](Project&) {});
  EXPECT_EQ(calls.back(), "5x");
}

TEST_F(TaggedFiles, GoWithTheirTags) {
  transact(*project_, [](Project& p) {
    p.addTagGroup("g"), p.addTagGroup("h");  // 12 and 13
    for (u64 const group : {12u, 13u, 12u}) p.addTag(group, "photo"), p.addTag(group, "own");
  });
  auto const before = stateOf(*project_);
  Listener listener{*project_};
  test::BlockStore const journal{*project_};
  transact(*project_, [](Project& p) {
    p.removeTags({"own", "unknown"});
    EXPECT_EQ(p.tags(12), (Tags{"photo", "photo", "own"}));
    EXPECT_EQ(p.auxFiles("own").size(), 2u);
  });
  EXPECT_EQ(listener.take(),
            (Lines{"pre -f8 -f11 -own -unknown", "change -f8 -f11 -own -unknown",
                   "journal 80007003 80007003 80004001 80004001 80007003", "pre -f8 -f11 -own -unknown ~g12 ~g13",
                   "change -f8 -f11 -own -unknown ~g12 ~g13"}));
  test::undo(*project_, journal.blocks.back());
  EXPECT_EQ(stateOf(*project_), before);

  // Both rules for the tag go, and the file without its other one's.
  transact(*project_, [](Project& p) { p.removeTags({"photo"}); });
  EXPECT_EQ(listener.take().back(), "change -P4 -P6 -f7 -f9 -photo ~g12 ~g13");
  test::undo(*project_, journal.blocks.back());

  // A file of two of the tags is asked for twice. What came before happens; no tag is named.
  listener.take();
  transact(*project_, [](Project& p) {
    EXPECT_EQ(refusalOf([&] { p.removeTags({"front", "photo"}); }),
              "Attempted to delete the same data entity twice in a single transaction (true)");
  });
  EXPECT_EQ(listener.take().back(), "change -P4 -P5 -P6 -f7 -f10 ~g12 ~g13");
  transact(*project_, [](Project& p) { p.eraseAuxFile(9); });
  EXPECT_EQ(listener.take(), (Lines{"pre -f9", "change -f9", "journal 80004001"}));
}

}  // namespace
}  // namespace casebook
