#include "support/allocations.h"
#include "support/every_command.h"
#include "support/state.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <tuple>

namespace casebook {
namespace {

using test::BlockStore;
using test::Content;
using test::CurrentProject;
using test::refusalOf;
using Direction = Journal::Direction;

/// Gives any content a head that is right.
class Finalized : public Journal::TransactionWriter {
 public:
  explicit Finalized(Content const& content) {
    bytes_.truncate(0);
    std::ranges::copy(content, bytes_.append(content.size()));
    finalize();
  }
  [[nodiscard]] Content content() const { return {bytes().begin(), bytes().end()}; }
};

bool isValid(Content const& block) { return Journal::Transaction{block, 0}.valid(); }

std::string stateOf(Project& project) { return test::stateOf(project, test::CalculatedCells::Hidden); }

/// Replays damaged blocks into a project that stands where the sound one began.
class Damage {
 public:
  explicit Damage(Journal::Checkpoint start) : start_{std::move(start)} {
    restart();
    state_ = stateOf(*project_);
  }

  void restart() {
    project_->resetProject();
    Journal::Transaction const block{start_.block, 0};
    project_->restore({&block, 1}, start_.nextUid);
  }

  /// The block is refused or fits. Whichever it is, the project goes on, and undoing what it journalled takes it back.
  void replay(Journal::Transaction const& block, Direction direction) {
    auto transaction = project_->startTransaction();
    test::largestAllocation = 0;
    refusalOf([&] { project_->processJournalTransaction(block, direction); });
    auto const largest = test::largestAllocation;
    EXPECT_LT(largest, 10'000u);
    for (auto const record : project_->records())
      EXPECT_EQ(project_->getRow(record.id()).size(), project_->variables().size());
    goOn();
    transaction.commit();
    test::undo(*project_, journal_.blocks.back());
    journal_.blocks.clear();
    EXPECT_EQ(stateOf(*project_), state_);
  }

  /// As the second of two blocks it is refused, which leaves a project as reset, or fits.
  void restore(Content const& block) {
    Journal::Transaction const blocks[] = {{start_.block, 0}, {block, 0}};
    auto const project = createProject();
    auto const refusal = refusalOf([&] { project->restore(blocks, start_.nextUid); });
    if (refusal.empty()) return;
    EXPECT_TRUE(refusal.starts_with("Block 2 cannot be restored: ")) << refusal;
    project->restore({blocks, 1}, start_.nextUid);
    EXPECT_EQ(stateOf(*project), state_);
  }

 private:
  void goOn() {
    project_->addVariable("more", {}, Variant::String, "x");
    u64 const record = project_->addRecord().id();
    project_->activate(record, false);
    project_->addAuxFile(record, "more", "");
    refusalOf([&] { project_->eraseRecord(2); });
    refusalOf([&] { project_->eraseVariable(3); });
  }

  CurrentProject project_;
  BlockStore journal_{*project_};
  Journal::Checkpoint start_;
  std::string state_;
};

/// A block and the project that it is replayed into.
struct Sound {
  Journal::Checkpoint start;
  Content block;
};

class DamagedBlock : public testing::TestWithParam<std::pair<bool, Direction>> {
 protected:
  DamagedBlock() {
    CurrentProject const project;
    BlockStore journal{*project};
    auto const [isUndo, direction] = GetParam();
    for (auto const& edit : test::everyCommand) {
      auto const before = project->checkpoint();
      test::transact(*project, edit);
      auto const after = project->checkpoint();
      auto const redo = journal.blocks.back();
      test::undo(*project, redo);
      auto const undo = journal.blocks.back();
      test::undo(*project, undo);
      for (auto const* block : {&redo, &undo})
        for (auto const& command : Journal::Transaction{*block, 0}.commands()) codes_.insert(command.code);
      sounds_.push_back({isUndo == (direction == Direction::Forwards) ? after : before, isUndo ? undo : redo});
    }
  }

  /// Of every kind one command, in the blocks or in those of their undoing.
  std::set<std::uint32_t> codes_;
  std::vector<Sound> sounds_;
};

TEST_P(DamagedBlock, CutAnywhereIsRefusedOrReplaysInPart) {
  for (auto const& [start, sound] : sounds_) {
    Damage damage{start};
    ASSERT_TRUE(isValid(sound));
    for (std::size_t size = 0; size < sound.size(); ++size) {
      Content block{sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size)};
      EXPECT_FALSE(isValid(block)) << size;
      damage.replay({block, 0}, GetParam().second);
      if (size < 12) continue;
      Finalized const made{block};
      EXPECT_TRUE(isValid(made.content())) << size;
      damage.replay({made.content(), 0}, GetParam().second);
    }
  }
}

TEST_P(DamagedBlock, WithAnyByteChangedIsRefusedOrReplaysWithoutAFault) {
  EXPECT_EQ(codes_.size(), 34U);
  for (auto const& [start, sound] : sounds_) {
    Damage damage{start};
    for (std::size_t place = 0; place < sound.size(); ++place) {
      for (unsigned const change : {0x02u, 0x07u, 0x81u}) {
        auto block = sound;
        block[place] = static_cast<unsigned char>(block[place] ^ change);
        EXPECT_FALSE(isValid(block)) << place;
        if (place >= 12) block = Finalized{block}.content();
        EXPECT_EQ(isValid(block), place >= 12) << place;
        damage.replay({block, 0}, GetParam().second);
        if (change == 0x02u && GetParam().second == Direction::Forwards) damage.restore(block);
      }
      if (place % 16 == 0) damage.restart();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(OfAnEditAndOfItsUndoing, DamagedBlock,
                         testing::Values(std::pair{false, Direction::Forwards}, std::pair{false, Direction::Backwards},
                                         std::pair{true, Direction::Forwards}, std::pair{true, Direction::Backwards}));

TEST(Replay, TellsWhatDoesNotFit) {
  // The code, the first eight bytes of the payload, and how many bytes there are; the others are zero.
  std::tuple<std::uint32_t, u64, std::size_t, std::string> const rows[] = {
      {0x4002, 2, 40, "Unknown journal command. (true)"},
      {Journal::VariableNameSet, 0, 40, test::unknownEntity},
      {Journal::TagGroupCreated, 9, 15, test::readBeyondEnd},
      {Journal::FriendlyName, 4, 40, "Unknown type of value in a journal command. (true)"},
      {Journal::RecordCreated, u64{1} << 63, 16, "A journal command holds an invalid identifier. (true)"},
      {Journal::RecordCreated, 2, 16, "A journal command inserts a data entity that is there already. (true)"},
      {Journal::VariableCreated, 9, 64, "A journal command holds a column of the wrong length. (true)"},
      {Journal::RecordStatusSet, 0, 40,
       "A journal command sets a case status, and there is no Case Status variable. (true)"},
  };
  CurrentProject const project;
  project->addRecord();
  project->addAuxFile(2, "f.png", "t");
  project->addTag(project->addTagGroup("g").id(), "t");
  auto const before = stateOf(*project);
  for (auto const& [code, first, size, refusal] : rows) {
    Content block(24 + size);
    u64 const length = 12 + size;
    std::memcpy(block.data() + 12, &length, 8);
    std::memcpy(block.data() + 20, &code, 4);
    std::memcpy(block.data() + 24, &first, 8);
    EXPECT_EQ(refusalOf([&] { test::replay(*project, Finalized{block}.content()); }), refusal);
    EXPECT_EQ(stateOf(*project), before);
  }
}

}  // namespace
}  // namespace casebook
