#include "file_testing.h"
#include "frame_log.h"
#include "support/allocations.h"

#include <functional>
#include <optional>
#include <stdexcept>

namespace casebook {

namespace {

using Access = ProjectFile::Access;

/// A file at which one works, and which can be closed and opened again.
class HistoryTest : public ::testing::Test {
 protected:
  void reopen() {
    file.reset();
    project.emplace();
    file = ProjectFile::open(path, **project, with(system));
  }

  [[nodiscard]] std::string state() const { return project->state(); }

  void breakBlock(Frame const& frame) {
    auto content = contentOf(path);
    content[frame.offset + format::FrameHead::size + frame.label.size() + 14] ^= 1;
    setContent(path, content);
  }

  /// Verifies a copy.
  [[nodiscard]] Verification verify() {
    auto const copy = std::filesystem::path{path} += ".copy";
    setContent(copy, contentOf(path));
    TestProject other;
    return ProjectFile::verify(copy, *other, with(system));
  }

  [[nodiscard]] std::string damage(std::size_t frame, std::string const& suffix = {}) const {
    return path.string() + suffix + " is damaged at byte " + std::to_string(file->frames()[frame - 1].offset) +
           ": a frame that was whole is broken.";
  }

  TemporaryFolder folder;
  std::filesystem::path const path = folder / "a.casebook";
  FaultyFileSystem system;
  std::optional<TestProject> project{std::in_place};
  std::optional<ProjectFile> file = ProjectFile::create(path, **project, with(system));
};

TEST_F(HistoryTest, EveryStateComesBackAlsoAfterARestartAndANewEditEndsRedo) {
  std::vector<std::string> states{state()};
  for (auto const& change : {Change{addCase}, nameIt("x"), Change{addCase}}) {
    file->edit("edit", change);
    states.push_back(state());
  }
  std::size_t depth = 3;
  for (int const move : {-1, -2, +2, +1, -1}) {
    move < 0 ? file->undo(static_cast<std::size_t>(-move)) : file->redo(static_cast<std::size_t>(move));
    depth += static_cast<std::size_t>(move);
    for (int restarts = 0; restarts < 2; ++restarts, reopen()) {
      EXPECT_EQ(state(), states[depth]) << depth;
      EXPECT_EQ(file->undoable().size(), depth);
      EXPECT_EQ(file->redoable().size(), 3 - depth);
    }
  }
  auto const bytes = contentOf(path);
  EXPECT_EQ(messageOf([&] { file->undo(3); }), "There are 2 transactions to undo.");
  EXPECT_EQ(messageOf([&] { file->redo(2); }), "There are 1 transactions to redo.");
  EXPECT_EQ(contentOf(path), bytes);
  EXPECT_FALSE(file->redoEndedBy());
  file->edit("another", addCase);
  auto const last = file->frames().back();
  reopen();
  EXPECT_EQ(file->redoEndedBy(), last.sequence);
  EXPECT_TRUE(file->redoable().empty());
  EXPECT_EQ(file->undoable(), (std::vector<u64>{1, 2, last.sequence}));
  file->undo(3);
  EXPECT_FALSE(file->redoEndedBy());
  EXPECT_EQ(state(), states[0]);
  EXPECT_EQ(verify().undone, 4U);
}

TEST_F(HistoryTest, SlotsThatHoldStillAreUndoneStepByStep) {
  std::vector<std::string> states{state()};
  {
    EditingSlot const slot{**project, &*file};
    for (int k = 0; k < 2; ++k) {
      file->edit(std::string(65535, 'x'), addCase);
      states.push_back(state());
    }
    for (int k = 1; k >= 0; --k) {
      file->undo(2);
      EXPECT_EQ(state(), states[static_cast<std::size_t>(k)]);
    }
    file->redo(4);
  }
  reopen();
  EXPECT_EQ(state(), states[2]);
  EditingSlot const slot{**project, nullptr};  // one that does not
  auto const message = messageOf([&] { file->undo(2); });
  EXPECT_NE(message.find("closed: an edit failed (A slot changed the project between two steps.) and could"),
            std::string::npos);
  EXPECT_EQ(stateIn(path), states[2]);
}

TEST_F(HistoryTest, WhateverAllocationFailsTheProjectIsWhatTheFileHolds) {
  file->edit("add a case", addCase);
  std::function<void()> const steps[] = {[&] { file->edit("name it", nameIt("a name longer than any small string")); },
                                         [&] { file->undo(); }, [&] { file->redo(); }};
  for (auto const& step : steps) {
    bool ranOut = true;
    for (long count = 0; ranOut; ++count) {
      auto const before = state();
      ranOut = false;
      test::runsOut(count, [&] {
        try {
          step();
        } catch (std::exception const&) {  // also what a closed file throws
          ranOut = true;
        }
      });
      auto const inFile = stateIn(path);
      ASSERT_TRUE(!ranOut || inFile == before) << count;
      ASSERT_TRUE(!file->isOpen() || inFile == state()) << count;
      if (!file->isOpen()) reopen();
    }
  }
}

/// A file with a checkpoint behind its third frame, and more frames behind that.
class CheckpointTest : public HistoryTest {
 protected:
  static constexpr std::size_t checkpoint = 4;  // its frame's number

  CheckpointTest() {
    file->edit("add a case", addCase);
    file->edit("describe it", describeIt(longText));
    file->edit("describe it", describeIt("short"));
    atCheckpoint = state();
  }

  void goOn() { file->edit("name it", nameIt("x")); }

  std::string atCheckpoint;
};

TEST_F(CheckpointTest, OpeningBeginsThereAndNeedsNothingBefore) {
  goOn();
  auto const after = state();
  ASSERT_EQ(file->frames().size(), 5U);
  EXPECT_EQ(file->frames()[checkpoint - 1].kind, FrameKind::Checkpoint);
  EXPECT_LT(file->frames()[checkpoint - 1].blockLength, 1000U);
  EXPECT_EQ(verify().checkpoints, 1U);
  breakBlock(file->frames()[1]);
  reopen();
  EXPECT_EQ(state(), after);
  EXPECT_EQ(messageOf([&] { static_cast<void>(file->block(file->frames()[1])); }), damage(2));
  EXPECT_EQ(messageOf([&] { static_cast<void>(verify()); }), damage(2, ".copy"));
  EXPECT_EQ(messageOf([&] { file->undo(3); }), damage(2));
  EXPECT_EQ(state(), after);
  file->undo(2);
  EXPECT_EQ((*project)->description(), longText);
  file->redo(2);
  EXPECT_EQ(state(), after);
}

TEST_F(HistoryTest, UidsOfWhatIsGoneAreNotGivenOutBehindACheckpoint) {
  file->edit("add a case", addCase);
  auto const before = state();
  auto const record = (*project)->records().back();
  file->edit("delete it", [&](Transaction& transaction) { record.lock(transaction).erase(transaction); });
  file->edit("describe it", describeIt(longText));
  file->edit("describe it", describeIt("short"));
  ASSERT_EQ(file->frames().back().kind, FrameKind::Checkpoint);
  reopen();
  file->edit("add a case", addCase);
  EXPECT_GT((*project)->records().back().id(), record.id());
  file->undo(4);
  EXPECT_EQ(state(), before);
}

TEST_F(CheckpointTest, ABrokenOneIsPassedOverAndTheFileGoesOn) {
  goOn();
  auto const after = state();
  breakBlock(file->frames()[checkpoint - 1]);
  reopen();
  EXPECT_EQ(state(), after);
  ASSERT_EQ(file->passedOver().size(), 1U);
  EXPECT_EQ(file->passedOver()[0].what(), damage(checkpoint));
  EXPECT_EQ(verify().badCheckpoints.size(), 1U);
  goOn();  // the bytes before it count again
  EXPECT_EQ(file->frames().back().kind, FrameKind::Checkpoint);
  breakBlock(file->frames()[1]);
  reopen();
  EXPECT_EQ(stateIn(path), state());
  EXPECT_TRUE(file->passedOver().empty());
  breakBlock(file->frames().back());
  file->edit("undone", addCase);
  EXPECT_EQ(messageOf([&] { stateIn(path); }), damage(2, ".copy"));
}

TEST_F(CheckpointTest, OneOfAnotherStateIsFoundByVerify) {
  auto const own = (*project)->checkpoint();
  file.reset();
  auto log = FrameLog::open(system, path, with(system));
  auto const empty = createProject()->checkpoint();
  for (auto const& [block, nextUid] : {std::pair{empty.block, own.nextUid}, {own.block, own.nextUid - 1}})
    log.append(std::vector<Entry>{{block, {}, {}, FrameKind::Checkpoint, nextUid}});
  log.close();
  auto const found = verify();
  EXPECT_EQ(found.checkpoints, 3U);
  ASSERT_EQ(found.badCheckpoints.size(), 2U);
  std::string const what = found.badCheckpoints[1].what();
  EXPECT_TRUE(what.ends_with("frame 6, a checkpoint of another state than the frames before it give.")) << what;
}

TEST_F(HistoryTest, ACheckpointComesAsSoonAsItIsWorthItsBytes) {
  file->edit("a large state", [](Transaction& transaction) { transaction->setRootPath(std::string(3'000'000, '/')); });
  for (int k = 0; k < 40; ++k) file->edit("describe it", describeIt(std::string(200'000, static_cast<char>('a' + k))));
  std::vector<u64> between{0};
  for (auto const& frame : file->frames()) {
    if (frame.kind == FrameKind::Checkpoint) between.push_back(0);
    else between.back() += frame.blockLength;
  }
  ASSERT_GT(between.size(), 3U);
  for (auto const bytes : std::span{between}.subspan(1, between.size() - 2))
    EXPECT_TRUE(bytes > 3'000'000 && bytes < 4'500'000) << bytes;
  EXPECT_TRUE(verify().badCheckpoints.empty());
}

}  // namespace

}  // namespace casebook
