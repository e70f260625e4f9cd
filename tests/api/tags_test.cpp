#include "support/state.h"

#include <gtest/gtest.h>

#include <tuple>

namespace casebook {
namespace {

using test::BlockStore;
using test::CurrentProject;
using test::refusalOf;
using test::stateOf;

TEST(AuxFiles, AreOnceForEachRecordPathAndTag) {
  CurrentProject const project;
  auto transaction = project->startTransaction();
  project->addRecord(), project->addRecord();
  std::tuple<u64, char const*, char const*, u64> const rows[] = {
      {2, "a.png", "", 4}, {2, "a.png", "", 4},  {2, "a.png", "t", 5}, {2, "A.png", "", 6},   {3, "a.png", "", 7},
      {2, "", "", 8},      {2, "a.png", "t", 5}, {2, "a.png", "T", 9}, {2, "./a.png", "", 10}};
  for (auto const& [record, path, tag, uid] : rows) EXPECT_EQ(project->addAuxFile(record, path, tag).id(), uid);
  EXPECT_EQ(project->auxFiles().size(), 7u);
  EXPECT_EQ(project->auxFiles(3), std::vector{WeakPtr<AuxFile>{7}});
  auto record = WeakPtr<Record>{3}.lock();
  record.addAuxFile("b", transaction, "t");
  EXPECT_EQ(record.auxFiles().at(1).lock().record(), record);
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

TEST(TagGroups, KeepTheirOrderAndRefuseWhatDoesNotFit) {
  CurrentProject const project;
  auto& p = *project;
  u64 const group = p.addTagGroup("g").id();
  u64 const other = p.addTagGroup("").id();
  for (auto const* tag : {"a", "b", "a"}) p.addTag(group, tag);
  p.insertTag(group, "first", 0);
  p.insertTag(group, "last", 4);
  p.removeTag(group, "a");
  EXPECT_EQ(p.tags(group), (std::vector<std::string>{"first", "b", "a", "last"}));
  p.setTagGroupName(group, "G");
  EXPECT_EQ(p.tagGroup("G").id() + 1, p.tagGroup("").id());
  EXPECT_FALSE(p.tagGroup("g"));
  auto const before = stateOf(p);
  auto const duplicate = "Duplicate tag group names are not allowed. (false)";
  auto const beyond = "Attempted to insert a tag beyond the end of its group. (true)";
  auto const absent = "Attempted to remove a tag that is not in its group. (true)";
  EXPECT_EQ(refusalOf([&] { p.addTagGroup("G"); }), duplicate);
  EXPECT_EQ(refusalOf([&] { p.setTagGroupName(group, "G"); }), duplicate);
  EXPECT_EQ(refusalOf([&] { p.setTagGroupName(group, ""); }), duplicate);
  EXPECT_EQ(refusalOf([&] { p.insertTag(group, "x", 5); }), beyond);
  EXPECT_EQ(refusalOf([&] { p.insertTag(group, "x", ~u64{0}); }), beyond);
  EXPECT_EQ(refusalOf([&] { p.removeTag(other, "a"); }), absent);
  EXPECT_EQ(stateOf(p), before);
}

TEST(TagGroups, TakeATagOfTheirOwnHoweverFullTheyAre) {
  CurrentProject const project;
  BlockStore const journal{*project};
  u64 const group = project->addTagGroup("g").id();
  project->addTag(group, "a tag that is too long to be kept in place");
  for (int i = 0; i < 20; ++i) project->addTag(group, project->tags(group).front());
  project->startTransaction().commit();
  auto const copy = createProject();
  test::replay(*copy, journal.blocks.front());
  EXPECT_EQ(stateOf(*copy), stateOf(*project));
  EXPECT_TRUE(TagGroupNameIs{"g"}(WeakPtr<TagGroup>{group}));
  EXPECT_FALSE(TagGroupNameIs{"G"}(WeakPtr<TagGroup>{group}));
  EXPECT_FALSE(TagGroupNameIs{""}(WeakPtr<TagGroup>{99}));
}

TEST(Rules, KeepTheirPatternAndTarget) {
  CurrentProject const project;
  auto transaction = project->startTransaction();
  auto path = project->addPathRegex("*.png", "t").lock();
  auto variable = project->addVariableRegex("a?b", project->getCaseIDColumn().lock()).lock();
  path.setTarget("u", transaction);
  path.setExpression("", transaction);
  EXPECT_EQ(path.expression() + path.target(), "u");
  auto const target = project->addVariable("x", {}, {}, {}).lock();
  variable.setTarget(target, transaction);
  EXPECT_EQ(variable.target(), target);
  std::string const longest(4096, '*');
  variable.setExpression(longest, transaction);
  EXPECT_EQ(variable.expression(), longest);
  auto const before = stateOf(*project);
  auto const refusal = "A pattern is at most 4096 bytes long. (false)";
  EXPECT_EQ(refusalOf([&] { project->addPathRegex(longest + 'a', "t"); }), refusal);
  EXPECT_EQ(refusalOf([&] { variable.setExpression(longest + 'a', transaction); }), refusal);
  EXPECT_EQ(stateOf(*project), before);
  project->resetProject();
  EXPECT_EQ(refusalOf([&] { project->addVariableRegex("*", target); }), test::unknownEntity) << "the variable is gone";
}

}  // namespace
}  // namespace casebook
