#include "file_testing.h"
#include "frame_format.h"

#include <sys/stat.h>

#include <chrono>
#include <optional>
#include <stdexcept>

namespace casebook {

namespace {

using Access = ProjectFile::Access;

/// A new file of a new project, and what the file holds as others see it.
class ProjectFileTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string labels() const {
    std::string text;
    for (auto const& frame : file.frames()) text += std::to_string(frame.sequence) + ' ' + frame.label + '\n';
    return text;
  }

  TemporaryFolder folder;
  std::filesystem::path const path = folder / "a.casebook";
  FaultyFileSystem system;
  TestProject project;
  ProjectFile file = ProjectFile::create(path, *project, with(system));
};

TEST_F(ProjectFileTest, EditsAreThereAfterOpeningAndCanGoOn) {
  auto const before = std::chrono::system_clock::now() - std::chrono::seconds{1};
  system.most = 7;  // bytes in one call
  EXPECT_TRUE(file.edit("name it", nameIt("penguins")));
  auto transaction = project->startTransaction();
  addCase(transaction);
  EXPECT_EQ(messageOf([&] { file.flush(); }), path.string() + " cannot be written within a transaction.");
  transaction.commit();
  EXPECT_EQ(file.frames().size(), 1U);
  EXPECT_TRUE(file.edit("add a case", addCase));
  EXPECT_FALSE(file.edit("nothing", [](Transaction&) {}));
  EXPECT_EQ(labels(), "1 name it\n2 (outside an edit)\n3 add a case\n");
  EXPECT_GE(file.frames()[2].when, before);
  auto const state = project.state();
  EXPECT_EQ(stateIn(path), state);
  file.close();
  TestProject again;
  u64 done = 0;
  auto options = with(system);
  options.progress = [&](u64 n, u64 total) {
    EXPECT_TRUE(n > done && n <= total);
    done = n;
  };
  auto reopened = ProjectFile::open(path, *again, options);
  EXPECT_EQ(done, std::filesystem::file_size(path));
  EXPECT_EQ(again.state(), state);
  EXPECT_EQ(reopened.identity(), file.identity());
  EXPECT_TRUE(reopened.edit("another case", addCase));
  EXPECT_EQ(stateIn(path), again.state());
  EXPECT_FALSE(reopened.incompleteTail() || reopened.damage());
}

Change failing(Change const& change) {
  return [change](Transaction& transaction) {
    change(transaction);
    throw std::runtime_error("no");
  };
}

TEST_F(ProjectFileTest, WhatSlotsEditIsWrittenAndTakenBackWithTheEdit) {
  bool slotThrows = false;
  {
    EditingSlot const slot{*project, &file};
    file.edit("add a case", addCase);
    EXPECT_EQ(labels(), "1 add a case\n2 add a case (by a slot)\n");
    auto const state = project.state();
    EXPECT_EQ(stateIn(path), state);
    ScopedConnection const other = project->connectProjectChange([&](TransactionRecord const&) {
      if (std::exchange(slotThrows, false)) throw std::runtime_error("a slot's");
    });
    slotThrows = true;
    EXPECT_EQ(messageOf([&] { file.edit("in the commit", addCase); }), "a slot's");
    EXPECT_EQ(messageOf([&] { file.edit(std::string(65536, 'x'), addCase); }), "A label is at most 65535 bytes long.");
    EXPECT_EQ(messageOf([&] { file.edit("add a case", failing(addCase)); }), "no");
    EXPECT_EQ(project.state(), state);
    EXPECT_EQ(stateIn(path), state);
  }
  EditingSlot const slot{*project, nullptr};  // one that edits while an edit is taken back
  EXPECT_EQ(messageOf([&] { file.edit("add a case", failing(addCase)); }),
            path.string() +
                " is closed: an edit failed (no) and could not be taken back (A slot changed the project while an "
                "edit was taken back.).");
  TestProject again;
  EditingSlot const hearsNothing{*again, nullptr};
  EXPECT_EQ(ProjectFile::open(path, *again).frames().size(), 2U);
  EXPECT_EQ(again.state(), stateIn(path));
}

TEST_F(ProjectFileTest, EditsWithinEditsTransactionsAndSlotsDoNotRun) {
  int ran = 0;
  std::vector<std::string> refusals;
  auto const attempt = [&] { refusals.push_back(messageOf([&] { file.edit("x", [&](Transaction&) { ++ran; }); })); };
  ScopedConnection const slot = project->connectProjectChange([&](TransactionRecord const&) { attempt(); });
  file.edit("name it", [&](Transaction& transaction) {
    nameIt("x")(transaction);
    attempt();
    transaction.commit();
    attempt();
  });
  EXPECT_EQ(ran, 0);
  auto const cannot = path.string() + " cannot be written within ";
  EXPECT_EQ(refusals, (std::vector{cannot + "a transaction.", cannot + "a slot.", cannot + "an edit."}));
  EXPECT_EQ(labels(), "1 name it\n");
}

TEST_F(ProjectFileTest, EndsOfTheProjectAndTransactionsLeftOpenCloseTheFile) {
  std::optional<Transaction> left;
  std::pair<Change, std::string> const cases[] = {
      {[](Transaction& transaction) { transaction->resetProject(); }, "the project was reset"},
      {[](Transaction& transaction) { transaction->clearEntireProjectWithoutSignal(); }, "the project was cleared"},
      {[&](Transaction& transaction) { left = transaction; }, "an edit left a transaction open"}};
  file.close();
  for (auto const& [within, why] : cases) {
    project->resetProject();
    auto const own = folder / why;
    auto bound = ProjectFile::create(own, *project, with(system));
    bound.edit("name it", nameIt("x"));
    EXPECT_EQ(messageOf([&] { bound.edit("an edit", within); }), own.string() + " is closed: " + why + '.');
    EXPECT_FALSE(bound.isOpen());
    EXPECT_EQ(contentIn(own).substr(0, 2), "x|");
  }
}

TEST_F(ProjectFileTest, LocksKeepWritersApartAndLetReadersTogether) {
  file.edit("name it", nameIt("x"));
  auto const options = [&](Access access, int wait) {
    auto made = with(FileSystem::real(), access);
    made.lockWait = std::chrono::milliseconds{wait};
    return made;
  };
  auto const inUse = path.string() + " is in use: it stayed locked for 30 ms.";
  TestProject one;
  auto const start = std::chrono::steady_clock::now();
  for (auto const access : {Access::Read, Access::Write})
    EXPECT_EQ(messageOf([&] { ProjectFile::open(path, *one, options(access, 30)); }), inUse);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds{60});
  file.close();
  TestProject two;
  auto const reader = ProjectFile::open(path, *one, options(Access::Read, 0));
  auto second = ProjectFile::open(path, *two, options(Access::Read, 0));
  EXPECT_EQ(messageOf([&] { second.edit("x", addCase); }), path.string() + " was opened to be read.");
  TestProject three;
  EXPECT_EQ(messageOf([&] { ProjectFile::open(path, *three, options(Access::Write, 30)); }), inUse);
}

TEST_F(ProjectFileTest, WhatCannotBeOpenedOrMadeIsSaidPlainly) {
  format::FileHeader header;
  header.version = 2;
  auto const bytes = header.encode();
  setContent(folder / "later", {bytes.begin(), bytes.end()});
  setContent(folder / "short", {1, 2, 3});
  setContent(folder / "other", Content(100, 'x'));
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  auto const at = [&](std::string const& name) { return (folder / name).string(); };

  TestProject fresh;
  auto const opening = [&](std::string const& name) {
    auto const reading = messageOf([&] { ProjectFile::open(folder / name, *fresh, with(system, Access::Read)); });
    EXPECT_EQ(messageOf([&] { ProjectFile::open(folder / name, *fresh, with(system)); }), reading);
    return reading;
  };
  auto const making = [&](std::string const& name) {
    return messageOf([&] { ProjectFile::create(folder / name, *fresh, with(system)); });
  };
  auto const names = folder.names();
  EXPECT_EQ(opening("none"), "Cannot open " + at("none") + ": No such file or directory");
  EXPECT_EQ(opening("pipe"), "Cannot open " + at("pipe") + ": Illegal seek");
  EXPECT_EQ(opening("short"), at("short") + " is too short to be a casebook file.");
  EXPECT_EQ(opening("other"), at("other") + " is not a casebook file.");
  EXPECT_EQ(opening("later"), at("later") + " is of format version 2; this program knows version 1.");
  system.readOnly = true;
  EXPECT_EQ(making("new"), "Cannot create " + at("new") + ": Read-only file system");
  system.readOnly = false;
  EXPECT_EQ(making("other"), at("other") + " exists already.");
  EXPECT_EQ(contentOf(folder / "other"), Content(100, 'x'));
  EXPECT_EQ(folder.names(), names);

  auto transaction = fresh->startTransaction();
  addCase(transaction);
  transaction.commit();
  for (auto const& message : {making("new"), opening("later")})
    EXPECT_NE(message.find(" can only be opened into a project as constructed or reset."), std::string::npos);
}

}  // namespace

}  // namespace casebook
