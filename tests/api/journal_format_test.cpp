#include "support/current_project.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <tuple>

namespace casebook {
namespace {

using test::BlockStore;
using test::Content;
using test::CurrentProject;
using test::refusalOf;

/// The blocks that journal_blocks.py makes from the description of the format.
constexpr char const* expectedBlocks[] = {
#include "journal_blocks.inc"
};

std::string hex(Content const& bytes) {
  std::string text;
  for (unsigned const byte : bytes) (text += "0123456789abcdef"[byte / 16]) += "0123456789abcdef"[byte % 16];
  return text;
}

void setX(Project& p, Variant const& value) {
  p.setValue(WeakPtr<Variable>{3}.lock(), WeakPtr<Record>{2}.lock(), value);
}

void setEveryProperty(Project& p) {
  p.setVariableDataType(3, Variant::String), p.setVariableType(3, VariableType::Calculated);
  p.setVariableNature(3, VariableNature{0xFFFFFFFF}), p.setVariableDescription(3, "what it is");
  p.setVariableName(3, "y"), p.setVariableExpression(3, "1+1"), p.setVariableDefaultValue(3, "none");
}

void addVariableRule(Project& p) {
  u64 const rule = p.addVariableRegex("*.dat", WeakPtr<Variable>{3}.lock()).id();
  p.setVariableRegexExpression(rule, "?"), p.setVariableRegexTarget(rule, 4);
}

/// One transaction each, with commands of every kind.
std::function<void(Project&)> const edits[] = {
    [](auto& p) { p.setFriendlyName("Zo\u00EB"); },
    [](auto& p) { p.setDescription("d"), p.setRootPath("/root"), p.setDescription("e"); },
    [](auto& p) { p.addRecord(); },
    [](auto& p) { p.addVariable("x", VariableNature::Independent, Variant::FloatingPoint, 1.5); },
    [](auto& p) { p.addCalcVariable("c", VariableNature{7}, "x*2"); },
    [](auto& p) { setX(p, {}), setX(p, Variant::nan()); },
    setEveryProperty,
    [](auto& p) { p.activate(2, false); },
    [](auto& p) { p.activate(2, true), p.activate(2, false); },
    [](auto& p) { p.setRow(2, {Variant{77u, Variant::UnsignedInteger}, "z", -0.0, "", "beyond"}); },
    [](auto& p) { p.addAuxFile(2, "a\\b.png", "front"), p.addAuxFile(2, "a\\b.png", "front"), p.addRecord(); },
    addVariableRule,
    [](auto& p) { p.addPathRegex("*.png", "t"), p.setPathRegexExpression(9, ""), p.setPathRegexTarget(9, "u"); },
    [](auto& p) { p.addTagGroup("G"), p.setTagGroupName(10, ""); },
    [](auto& p) { p.addTag(10, "a"), p.insertTag(10, "b", 0), p.addTag(10, "a"); },
    [](auto& p) { p.removeTag(10, "a"); },
    [](auto& p) { p.addVariable("w", VariableNature{0}, Variant::String, "p"); },
    [](auto& p) { p.eraseTagGroup(10), p.erasePathRegex(9), p.eraseVariableRegex(8), p.eraseVariable(11); },
    [](auto& p) { p.eraseRecord(7), p.eraseRecord(2); },
};

TEST(JournalFormat, BlocksAreWhatTheFormatSays) {
  CurrentProject const project;
  BlockStore const journal{*project};
  for (auto const& edit : edits) {
    auto transaction = project->startTransaction();
    edit(*project);
    transaction.commit();
  }
  ASSERT_EQ(journal.blocks.size(), std::size(expectedBlocks));
  for (std::size_t i = 0; i < journal.blocks.size(); ++i) {
    EXPECT_EQ(hex(journal.blocks[i]), expectedBlocks[i]) << "block " << i;
    EXPECT_TRUE((Journal::Transaction{journal.blocks[i], 0}.valid()));
  }

  for (auto const& command : journal.commands()) {
    auto const fields = Journal::fields(command);
    EXPECT_EQ(fields.front().name,
              Journal::isChangeItem(command.code) || command.code == Journal::CellSet ? "oldValue" : "uid");
    auto const shorter = command.payload.first(command.payload.size() - 1);
    EXPECT_EQ(refusalOf([&] { return Journal::fields({command.code, shorter}); }), test::readBeyondEnd) << command.code;
  }
  auto const last = Journal::fields(journal.commands().back());
  EXPECT_EQ(std::get<u64>(last[0].value), 7u);
  EXPECT_EQ(std::get<std::vector<Variant>>(last[2].value),
            (std::vector<Variant>{{78u, Variant::UnsignedInteger}, "none", 0.0, "Active"}));
  EXPECT_EQ(refusalOf([] { return Journal::fields({0x4002, {}}); }), "Unknown journal command. (true)");
  EXPECT_FALSE(Journal::isChangeItem(0x4002));
}

TEST(JournalFormat, TheHeadIsZeroUntilItIsFinalizedHoweverOften) {
  CurrentProject const project;
  BlockStore const journal{*project};
  std::vector<Content> seen;
  auto const keep = [&](Journal::Bytes bytes) { seen.emplace_back(bytes.begin(), bytes.end()); };
  auto const first = project->connectProjectJournal([&](auto& block) { keep(block.finalize()); });
  project->setFriendlyName("a");
  project->startTransaction().commit();
  EXPECT_EQ(seen, journal.blocks);
  Journal::TransactionWriter empty;
  keep(empty.bytes());
  keep(empty.finalize());
  EXPECT_EQ(hex(seen[1]), std::string(24, '0'));
  EXPECT_EQ(hex(seen[2]), "0c0000000000000000000000");
}

Content blockOf(u64 length, std::uint32_t crc, std::string_view content) {
  Content block(12 + content.size());
  std::memcpy(block.data(), &length, 8);
  std::memcpy(block.data() + 8, &crc, 4);
  std::ranges::copy(content, block.begin() + 12);
  return block;
}

TEST(JournalBlock, ClaimsAreComparedWithTheBytes) {
  constexpr std::uint32_t check = 0xCBF43926;  // the published CRC-32 of 123456789
  auto const nines = [](u64 length) { return blockOf(length, check, "123456789"); };
  auto amidst = Content(5, 0xFF);
  for (auto const byte : nines(21)) amidst.push_back(byte);
  amidst.resize(amidst.size() + 3, 0xFF);
  u64 const all = ~u64{0};
  std::tuple<Content, u64, bool, u64> const rows[] = {{nines(21), 0, true, 21},
                                                      {amidst, 5, true, 21},
                                                      {blockOf(12, 0, ""), 0, true, 12},
                                                      {blockOf(12, 99, "-"), 0, true, 12},
                                                      {blockOf(21, check + 1, "123456789"), 0, false, 21},
                                                      {nines(20), 0, false, 20},
                                                      {nines(22), 0, false, 22},
                                                      {nines(11), 0, false, 11},
                                                      {nines(0), 0, false, 0},
                                                      {nines(all), 0, false, all},
                                                      {nines(all - 4), 0, false, all - 4},
                                                      {{}, 0, false, 0},
                                                      {Content(11, 12), 0, false, 0},
                                                      {nines(21), 10, false, 0},
                                                      {nines(21), 21, false, 0},
                                                      {nines(21), 22, false, 0},
                                                      {nines(21), all, false, 0},
                                                      {nines(21), all - 11, false, 0}};
  for (auto const& [bytes, offset, valid, length] : rows) {
    Journal::Transaction const block{bytes, offset};
    EXPECT_EQ(block.valid(), valid) << hex(bytes) << " at " << offset;
    EXPECT_EQ(block.length(), length) << hex(bytes) << " at " << offset;
    EXPECT_TRUE(block.commands().empty()) << hex(bytes) << " at " << offset;
  }
}

TEST(JournalBlock, AnyDamageIsSeenAndLeadingWholeCommandsAreFound) {
  CurrentProject const project;
  BlockStore const journal{*project};
  auto transaction = project->startTransaction();
  project->setFriendlyName("a"), project->addRecord(), project->setDescription("b");
  transaction.commit();
  Content const block = journal.blocks.at(0);
  std::size_t const first = 12 + 53;
  std::size_t const second = first + 28;
  ASSERT_EQ(block.size(), second + 53);
  auto const commandsIn = [](Content const& bytes) { return Journal::Transaction{bytes, 0}.commands().size(); };
  for (std::size_t cut = 0; cut < block.size(); ++cut) {
    auto shorter = block;
    shorter.resize(cut);
    EXPECT_FALSE((Journal::Transaction{shorter, 0}.valid())) << cut;
    EXPECT_EQ(commandsIn(shorter), (cut >= first) + (cut >= second)) << cut;
  }
  for (std::size_t bit = 0; bit < 8 * block.size(); ++bit) {
    auto damaged = block;
    damaged[bit / 8] = static_cast<unsigned char>(damaged[bit / 8] ^ (1 << bit % 8));
    EXPECT_FALSE((Journal::Transaction{damaged, 0}.valid())) << bit;
  }
  for (u64 const length : {u64{0}, u64{11}, u64{block.size()}, ~u64{0}, ~u64{0} - 11}) {
    auto damaged = block;
    std::memcpy(damaged.data() + first, &length, 8);
    EXPECT_EQ(commandsIn(damaged), 1u) << length;
  }
}

}  // namespace
}  // namespace casebook
