#include "support/allocations.h"
#include "support/state.h"

#include <gtest/gtest.h>

#include <set>

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
  explicit Finalized(Content content) {
    bytes_ = std::move(content);
    finalize();
  }
  [[nodiscard]] Content const& content() const noexcept { return bytes_; }
};

bool isValid(Content const& block) { return Journal::Transaction{block, 0}.valid(); }

std::string stateOf(Project& project) { return test::stateOf(project, test::CalculatedCells::Hidden); }

/// What there is before the transaction of one command of each kind.
void prepare(Project& p) {
  p.addRecord();                                           // 2
  p.addVariable("x", {}, Variant::String, "d");            // 3
  p.addVariable("y", {}, Variant::FloatingPoint, 1.5);     // 4
  p.addTag(p.addTagGroup("g").id(), "t");                  // 5
  p.addTagGroup("h");                                      // 6
  p.addPathRegex("*", "t");                                // 7
  p.addPathRegex("?", "u");                                // 8
  p.addVariableRegex("*", Variable{3, NoLockRequired{}});  // 9
  p.addVariableRegex("?", Variable{4, NoLockRequired{}});  // 10
  p.addRecord();                                           // 11
  p.addAuxFile(2, "f", "t");                               // 12
  p.addAuxFile(11, "f", "");                               // 13
}

void makeOneOfEachKind(Project& p) {
  p.setFriendlyName("n");
  p.setDescription("d");
  p.setRootPath("/r");
  p.addVariable("z", VariableNature::Independent, Variant::UnsignedInteger, {});
  p.setVariableDataType(3, Variant::Null);
  p.setVariableNature(3, VariableNature{7});
  p.setVariableDescription(3, "e");
  p.setVariableName(3, "y");
  p.setVariableExpression(3, "1");
  p.setVariableDefaultValue(3, 2.5);
  p.setRow(2, {{7, Variant::UnsignedInteger}, "cell", {}, {}});
  p.setVariableType(3, VariableType::Calculated);
  p.activate(2, false);
  p.addAuxFile(p.addRecord().id(), "g", "");
  p.addVariableRegex("v", Variable{1, NoLockRequired{}});
  p.setVariableRegexExpression(9, "w");
  p.setVariableRegexTarget(9, 4);
  p.addPathRegex("p", "t");
  p.setPathRegexExpression(7, "q");
  p.setPathRegexTarget(7, "v");
  p.addTagGroup("i");
  p.setTagGroupName(5, "j");
  p.addTag(5, "u");
  p.removeTag(5, "t");
  p.eraseVariable(4);
  p.eraseAuxFile(12);
  p.eraseRecord(11);
  p.eraseTagGroup(6);
  p.erasePathRegex(8);
  p.eraseVariableRegex(10);
}

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
    auto const journalled = journal_.blocks.back();
    auto undo = project_->startTransaction();
    project_->processJournalTransaction(Journal::Transaction{journalled, 0}, Direction::Backwards);
    undo.commit();
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

class DamagedBlock : public testing::TestWithParam<std::pair<bool, Direction>> {
 protected:
  DamagedBlock() {
    CurrentProject const project;
    BlockStore journal{*project};
    auto const transact = [&](auto&& edit) {
      auto transaction = project->startTransaction();
      edit();
      transaction.commit();
    };
    transact([&] { prepare(*project); });
    auto before = project->checkpoint();
    transact([&] { makeOneOfEachKind(*project); });
    auto after = project->checkpoint();
    auto const redo = journal.blocks.back();
    transact([&] { project->processJournalTransaction(Journal::Transaction{redo, 0}, Direction::Backwards); });
    auto const undo = journal.blocks.back();
    for (auto const* block : {&redo, &undo})
      for (auto const& command : Journal::Transaction{*block, 0}.commands()) codes_.insert(command.code);

    auto const [isUndo, direction] = GetParam();
    sound_ = isUndo ? undo : redo;
    start_ = isUndo == (direction == Direction::Forwards) ? std::move(after) : std::move(before);
  }

  /// Of every kind one command, in the block or in that of its undoing.
  std::set<std::uint32_t> codes_;
  Content sound_;
  Journal::Checkpoint start_;
};

TEST_P(DamagedBlock, CutAnywhereIsRefusedOrReplaysInPart) {
  Damage damage{start_};
  ASSERT_TRUE(isValid(sound_));
  for (std::size_t size = 0; size < sound_.size(); ++size) {
    Content block{sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(size)};
    EXPECT_FALSE(isValid(block)) << size;
    damage.replay({block, 0}, GetParam().second);
    if (size < 12) continue;
    Finalized const made{block};
    EXPECT_TRUE(isValid(made.content())) << size;
    damage.replay({made.content(), 0}, GetParam().second);
  }
}

TEST_P(DamagedBlock, WithAnyByteChangedIsRefusedOrReplaysWithoutAFault) {
  std::set<std::uint32_t> const all{0x1001,     0x1002,     0x1003,     0x2001,     0x2002,     0x2003,     0x2004,
                                    0x2005,     0x2006,     0x2007,     0x2008,     0x2009,     0x200A,     0x3001,
                                    0x3002,     0x3003,     0x4001,     0x5001,     0x5002,     0x5003,     0x6001,
                                    0x6002,     0x6003,     0x7001,     0x7002,     0x7003,     0x80002001, 0x8000200A,
                                    0x80003002, 0x80004001, 0x80005001, 0x80006001, 0x80007001, 0x80007003};
  EXPECT_EQ(codes_, all);
  Damage damage{start_};
  for (std::size_t place = 0; place < sound_.size(); ++place) {
    for (unsigned const change : {0x01u, 0x80u, 0xFFu}) {
      auto block = sound_;
      block[place] = static_cast<unsigned char>(block[place] ^ change);
      EXPECT_FALSE(isValid(block)) << place;
      if (place >= 12) block = Finalized{block}.content();
      EXPECT_EQ(isValid(block), place >= 12) << place;
      damage.replay({block, 0}, GetParam().second);
      if (change == 0x01u && GetParam().second == Direction::Forwards) damage.restore(block);
    }
    if (place % 16 == 0) damage.restart();
  }
}

INSTANTIATE_TEST_SUITE_P(OfAnEditAndOfItsUndoing, DamagedBlock,
                         testing::Values(std::pair{false, Direction::Forwards}, std::pair{false, Direction::Backwards},
                                         std::pair{true, Direction::Forwards}, std::pair{true, Direction::Backwards}));

}  // namespace
}  // namespace casebook
