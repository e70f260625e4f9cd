#include "project/journal_words.h"
#include "project/open_project.h"

#include <casebook/casebook.h>

#include <gtest/gtest.h>

namespace casebook::cli {
namespace {

using Words = std::vector<std::string>;

// The words for what no command of the program does; those of the commands stand in their sessions.
TEST(JournalWords, TellOfRulesAndDescriptions) {
  JournalWords words;
  Words spoken;
  CurrentProject const project;
  (*project).connectProjectJournal(
      [&](Journal::TransactionWriter& writer) { spoken = words.describe(writer.finalize()); });
  Transaction t = (*project).startTransaction();
  u64 const mass = t->addVariable("Mass", VariableNature::Independent, Variant::FloatingPoint, {}).id();
  t->setVariableDescription(mass, "in g");
  u64 const rule = t->addPathRegex("*.png", "photo").id();
  u64 const target = t->addVariableRegex("m*", WeakPtr<Variable>{mass}.lock()).id();
  t->setPathRegexExpression(rule, "*.bmp");
  t->setPathRegexTarget(rule, "scan");
  t->setVariableRegexTarget(target, 1);
  t.commit();
  EXPECT_EQ(spoken,
            (Words{"variable \"Mass\" added (number, independent)", "variable \"Mass\": description \"\" -> \"in g\"",
                   "rule \"*.png\" for the tag \"photo\" added", "rule \"m*\" for variable \"Mass\" added",
                   "rule \"*.png\" changed to \"*.bmp\"", "rule \"*.bmp\": tag \"photo\" -> \"scan\"",
                   "rule \"m*\": target variable \"Mass\" -> variable \"Case ID\""}));
}

/// A block of one command.
std::vector<unsigned char> blockOf(std::uint32_t code, std::vector<u64> const& payload) {
  SimpleSerializer out;
  auto const write = [&out](auto number) { out.write(reinterpret_cast<unsigned char const*>(&number), sizeof number); };
  u64 const commandSize = 12 + 8 * payload.size();
  write(12 + commandSize), write(std::uint32_t{0});
  write(commandSize), write(code);
  for (u64 number : payload) write(number);
  auto const [bytes, size] = out.finalize();
  return {bytes, bytes + size};
}

TEST(JournalWords, FollowErasuresAndSayWhatCannotBeRead) {
  JournalWords words;
  struct Case {
    std::uint32_t code;
    std::vector<u64> payload;
    std::string words;
  };
  u64 const type = Variant::UnsignedInteger;
  // A row of one value, whose type is 4 bytes long: the word that follows is read from the middle of two numbers.
  u64 const identifier = u64{70} << 32 | type;
  for (Case const& c : std::initializer_list<Case>{
           {Journal::RecordCreated, {5, 0}, "case 1 added"},
           {Journal::RecordErased, {5, 0, 1, type, 0}, "case 1 removed"},
           {Journal::RecordErased, {5, 0, 1, type, 0}, "case #5 removed"},
           {Journal::RecordInserted, {5, 0, 1, identifier, 0}, "case 70 put back"},
           {Journal::RecordCreated, {6, 0}, "case 71 added"},
           {Journal::VariableErased, {9, 0, 0, 0, 0, 0, 0, 0, 0}, "variable #9 removed"},
           {Journal::TagGroupErased, {8, 0, 0}, "tag group #8 removed"},
           {Journal::VariableMadeStatic, {9, 0}, "variable #9 is not computed any more"},
           {Journal::VariableMadeStatic | Journal::Inverse, {9, 0}, "variable #9 is computed from now on"},
           {0x77, {}, "command 0x77 of 0 bytes, which cannot be read here"},
           {Journal::CellSet, {1}, "command 0x2009 of 8 bytes, which cannot be read here"}})
    EXPECT_EQ(words.describe(blockOf(c.code, c.payload)), Words{c.words});
}

}  // namespace
}  // namespace casebook::cli
