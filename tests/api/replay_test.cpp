#include "support/edits.h"
#include "support/state.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <optional>
#include <tuple>

namespace rc {

template <>
struct Arbitrary<casebook::test::Edit> {
  static Gen<casebook::test::Edit> arbitrary() {
    using casebook::test::Edit;
    auto const number = gen::inRange<std::uint32_t>(0, 100);
    return gen::build<Edit>(gen::set(&Edit::kind, number), gen::set(&Edit::a, number), gen::set(&Edit::b, number),
                            gen::set(&Edit::c, number));
  }
};

}  // namespace rc

namespace casebook {
namespace {

using test::BlockStore;
using test::Content;
using test::CurrentProject;
using test::Edit;
using test::refusalOf;
using test::stateOf;

/// Makes edits at random depths, now and then within a slot.
class RandomHost {
 public:
  explicit RandomHost(Project& project)
      : project_{project},
        slots_{project.connectProjectChangePre([this](auto const&) { editWithin(0); }),
               project.connectProjectChange([this](auto const&) { editWithin(1); }),
               project.connectProjectJournal([this](auto&) { editWithin(2); })} {}

  void take(Edit edit) {
    auto const kinds = std::size(test::editKinds);
    switch (edit.kind % (kinds + 4)) {
      case 0: return levels_.push_back(project_.startTransaction());
      case 1: return levels_.clear();
      case 2:
        if (!levels_.empty()) levels_.pop_back();
        return;
      case 3: within_ = edit; return;
      default: edit.kind -= 4;
    }
    refusalOf([&] { make(project_, edit); });  // a refused edit is one as well
  }

  void finish() {
    levels_.clear();
    project_.startTransaction().commit();
  }

 private:
  void editWithin(std::uint32_t slot) {
    if (!within_ || within_->a % 3 != slot) return;
    auto edit = *std::exchange(within_, {});
    auto transaction = project_.startTransaction();
    edit.kind = edit.b;
    refusalOf([&] { make(project_, edit); });
    transaction.commit();
  }

  Project& project_;
  std::optional<Edit> within_;
  std::array<ScopedConnection, 3> slots_;
  std::vector<Transaction> levels_;
};

RC_GTEST_PROP(ForwardReplay, OfAllBlocksGivesTheProject, (std::vector<Edit> edits)) {
  CurrentProject const project;
  BlockStore const journal{*project};
  RandomHost host{*project};
  for (auto const& edit : edits) host.take(edit);
  host.finish();

  auto const copy = createProject();
  for (auto const& block : journal.blocks) {
    RC_ASSERT((Journal::Transaction{block, 0}.valid()));
    test::replay(*copy, block);
  }
  RC_ASSERT(copy->addRecord() == project->addRecord());
  RC_ASSERT(stateOf(*copy) == stateOf(*project));
}

// Whatever a damaged journal brings about, it is refused or recorded: the journal of its replay tells the same.
RC_GTEST_PROP(ForwardReplay, OfADamagedJournalIsRefusedOrRecorded,
              (std::vector<Edit> edits, std::vector<std::pair<std::uint16_t, unsigned char>> damages)) {
  CurrentProject const project;
  BlockStore const journal{*project};
  for (auto edit : edits) {
    auto const transaction = project->startTransaction();
    refusalOf([&] { make(*project, edit); });
  }
  auto blocks = journal.blocks;
  for (std::size_t i = 0; i < damages.size() && !blocks.empty(); ++i) {
    auto& block = blocks[i % blocks.size()];
    block[12 + damages[i].first % (block.size() - 12)] = damages[i].second;
  }
  auto const copy = createProject();
  BlockStore const again{*copy};
  for (auto const& block : blocks) refusalOf([&] { test::replay(*copy, block); });
  auto const third = createProject();
  for (auto const& block : again.blocks) test::replay(*third, block);
  RC_ASSERT(stateOf(*third) == stateOf(*copy));
}

struct Number {
  u64 value;
  std::size_t width;
};

Content contentOf(std::vector<Number> const& numbers) {
  Content bytes;
  for (auto const& [value, width] : numbers) {
    auto const* const first = reinterpret_cast<unsigned char const*>(&value);
    bytes.insert(bytes.end(), first, first + width);
  }
  return bytes;
}

/// A change item from null to null.
std::vector<Number> item(u64 uid, u64 index = 0) { return {{0, 4}, {0, 8}, {0, 4}, {0, 8}, {index, 8}, {uid, 8}}; }

TEST(ForwardReplay, RefusesWhatDoesNotFitAndKeepsWhatCameBefore) {
  constexpr auto invalid = "A journal command holds an invalid identifier. (true)";
  constexpr auto present = "A journal command inserts a data entity that is there already. (true)";
  std::tuple<std::uint32_t, std::vector<Number>, std::string> const rows[] = {
      {0x4002, item(2), "Unknown journal command. (true)"},
      {0x1004, item(0), "Unknown journal command. (true)"},
      {Journal::VariableNameSet, item(2), test::unknownEntity},
      {Journal::CellSet, item(1, 9), test::unknownEntity},
      {Journal::AuxFileCreated, {{9, 8}, {0, 8}, {0, 8}, {9, 8}}, test::unknownEntity},
      {Journal::TagGroupCreated, {{9, 8}, {0, 8}, {~u64{0}, 8}}, test::readBeyondEnd},
      {Journal::FriendlyName, {{4, 4}, {0, 8}}, "Unknown type of value in a journal command. (true)"},
      {Journal::RecordCreated, {{0, 8}, {0, 8}}, invalid},
      {Journal::RecordCreated, {{u64{1} << 63, 8}, {0, 8}}, invalid},
      {Journal::RecordCreated, {{2, 8}, {0, 8}}, present},
      {Journal::VariableCreated,
       {{9, 8}, {0, 8}, {0, 8}, {0, 8}, {0, 8}, {0, 4}, {0, 8}, {0, 4}, {0, 4}, {0, 4}},
       "A journal command holds a column of the wrong length. (true)"},
      {Journal::RecordStatusSet, item(2),
       "A journal command sets a case status, and there is no Case Status variable. (true)"},
      {Journal::TagAdded, item(3, 2), "Attempted to insert a tag beyond the end of its group. (true)"},
      {Journal::TagRemoved, item(3, 1), "A journal command removes a tag beyond the end of its group. (true)"},
  };
  CurrentProject const project;
  project->addRecord();
  project->addTag(project->addTagGroup("g").id(), "t");
  auto const before = stateOf(*project);
  for (auto const& [code, payload, refusal] : rows) {
    // The first command sets the root path to null, which is the empty text.
    auto const good = contentOf(item(0));
    auto const misfit = contentOf(payload);
    auto block = contentOf({{12 + 52 + 12 + misfit.size(), 8}, {0, 4}, {52, 8}, {Journal::RootPath, 4}});
    block.insert(block.end(), good.begin(), good.end());
    for (auto const byte : contentOf({{misfit.size() + 12, 8}, {code, 4}})) block.push_back(byte);
    block.insert(block.end(), misfit.begin(), misfit.end());
    project->setRootPath("before");
    EXPECT_EQ(refusalOf([&] { test::replay(*project, block); }), refusal) << std::hex << code;
    EXPECT_EQ(stateOf(*project), before);
  }
}

}  // namespace
}  // namespace casebook
