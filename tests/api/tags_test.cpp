#include "support/state.h"

#include <gtest/gtest.h>

#include <tuple>

namespace casebook {
namespace {

using test::CurrentProject;
using test::refusalOf;
using test::stateOf;

TEST(AuxFiles, AreOnceForEachRecordPathAndTag) {
  CurrentProject const project;
  project->addRecord(), project->addRecord();
  std::tuple<u64, char const*, char const*, u64> const rows[] = {
      {2, "a.png", "", 4}, {2, "a.png", "", 4},  {2, "a.png", "t", 5}, {2, "A.png", "", 6},   {3, "a.png", "", 7},
      {2, "", "", 8},      {2, "a.png", "t", 5}, {2, "a.png", "T", 9}, {2, "./a.png", "", 10}};
  for (auto const& [record, path, tag, uid] : rows) EXPECT_EQ(project->addAuxFile(record, path, tag).id(), uid);
  EXPECT_EQ(project->auxFiles().size(), 7u);
  EXPECT_EQ(project->auxFiles(3), std::vector{WeakPtr<AuxFile>{7}});
}

TEST(AuxFiles, RelativePathsAreJoinedToTheRoot) {
  CurrentProject const project;
  project->addRecord();
  std::tuple<char const*, char const*, char const*> const rows[] = {{"/data", "a/b.png", "/data/a/b.png"},
                                                                    {"/data", "/c/d", "/c/d"},
                                                                    {"/data/", "a", "/data/a"},
                                                                    {"/data", "", "/data"},
                                                                    {"", "a", "a"},
                                                                    {"data", "../a", "data/../a"}};
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
  std::vector<std::string> expected{"a first one that is not kept in place", "b", "a"};
  EXPECT_EQ(p.tags(group), expected);
  expected.resize(20, expected.front());
  while (p.tags(group).size() < 20) p.addTag(group, p.tags(group).front());
  EXPECT_EQ(p.tags(group), expected);
  p.setTagGroupName(group, "G");
  EXPECT_EQ(p.tagGroup("G").id(), group);
  EXPECT_FALSE(p.tagGroup("g"));
}

TEST(TagGroups, AndRulesRefuseWhatDoesNotFit) {
  CurrentProject const project;
  auto& p = *project;
  p.addTagGroup("G"), p.addTagGroup("");
  p.addTag(2, "a");
  std::string const longest(4096, '*');
  p.addPathRegex(longest, "t");
  auto const target = p.addVariable("x", {}, {}, {}).lock();
  auto const duplicate = "Duplicate tag group names are not allowed. (false)";
  auto const beyond = "Attempted to insert a tag beyond the end of its group. (true)";
  auto const tooLong = "A pattern is at most 4096 bytes long. (false)";
  auto const before = stateOf(p);
  EXPECT_EQ(refusalOf([&] { p.addTagGroup("G"); }), duplicate);
  EXPECT_EQ(refusalOf([&] { p.setTagGroupName(2, "G"); }), duplicate);
  EXPECT_EQ(refusalOf([&] { p.insertTag(2, "x", 2); }), beyond);
  EXPECT_EQ(refusalOf([&] { p.insertTag(2, "x", ~u64{0}); }), beyond);
  EXPECT_EQ(refusalOf([&] { p.removeTag(3, "a"); }), "Attempted to remove a tag that is not in its group. (true)");
  EXPECT_EQ(refusalOf([&] { p.addPathRegex(longest + 'a', "t"); }), tooLong);
  EXPECT_EQ(refusalOf([&] { p.setPathRegexExpression(4, longest + 'a'); }), tooLong);
  EXPECT_EQ(stateOf(p), before);
  p.resetProject();
  EXPECT_EQ(refusalOf([&] { p.addVariableRegex("*", target); }), test::unknownEntity) << "the variable is gone";
}

}  // namespace
}  // namespace casebook
