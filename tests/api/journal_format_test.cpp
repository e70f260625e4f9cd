#include "support/every_command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
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

TEST(JournalFormat, BlocksAreWhatTheFormatSays) {
  CurrentProject const project;
  BlockStore const journal{*project};
  for (auto const& edit : test::everyCommand) test::transact(*project, edit);
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
            (std::vector<Variant>{{78u, Variant::UnsignedInteger}, 2.0, 0.0, "Active"}));
  EXPECT_EQ(refusalOf([] { return Journal::fields({0x4002, {}}); }), "Unknown journal command. (true)");
  EXPECT_FALSE(Journal::isChangeItem(0x4002));
}

TEST(JournalFormat, TheHeadIsZeroUntilItIsFinalized) {
  Journal::TransactionWriter empty;
  auto const hexOf = [](Journal::Bytes bytes) { return hex({bytes.begin(), bytes.end()}); };
  EXPECT_EQ(hexOf(empty.bytes()), std::string(24, '0'));
  for (int i = 0; i < 2; ++i) EXPECT_EQ(hexOf(empty.finalize()), "0c0000000000000000000000");
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
                                                      {nines(20), 0, false, 20},
                                                      {blockOf(21, check + 1, "123456789"), 0, false, 21},
                                                      {nines(22), 0, false, 22},
                                                      {nines(all), 0, false, all},
                                                      {nines(all - 4), 0, false, all - 4},
                                                      {Content(11, 12), 0, false, 0},
                                                      {nines(21), 21, false, 0},
                                                      {nines(21), all - 11, false, 0}};
  for (auto const& [bytes, offset, valid, length] : rows) {
    Journal::Transaction const block{bytes, offset};
    EXPECT_EQ(block.valid(), valid) << hex(bytes) << " at " << offset;
    EXPECT_EQ(block.length(), length) << hex(bytes) << " at " << offset;
    EXPECT_TRUE(block.commands().empty()) << hex(bytes) << " at " << offset;
  }
}

TEST(JournalBlock, LeadingWholeCommandsAreFound) {
  CurrentProject const project;
  BlockStore const journal{*project};
  test::transact(*project, [](Project& p) { p.setFriendlyName("a"), p.addRecord(), p.setDescription("b"); });
  Content const block = journal.blocks.at(0);
  std::size_t const first = 12 + 53;
  std::size_t const second = first + 28;
  ASSERT_EQ(block.size(), second + 53);
  auto const commandsIn = [](Content const& bytes) { return Journal::Transaction{bytes, 0}.commands().size(); };
  for (std::size_t cut = 0; cut < block.size(); ++cut) {
    auto shorter = block;
    shorter.resize(cut);
    EXPECT_EQ(commandsIn(shorter), (cut >= first) + (cut >= second)) << cut;
  }
  for (u64 const length : {u64{0}, u64{11}, u64{block.size()}, ~u64{0}, ~u64{0} - 11}) {
    auto damaged = block;
    std::memcpy(damaged.data() + first, &length, 8);
    EXPECT_EQ(commandsIn(damaged), 1u) << length;
  }
}

}  // namespace
}  // namespace casebook
