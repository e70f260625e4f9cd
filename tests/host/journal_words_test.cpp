#include "project/journal_words.h"
#include "project/open_project.h"

#include <casebook/casebook.h>

#include <gtest/gtest.h>

#include <functional>

namespace casebook::cli {
namespace {

/// The words for the block of each transaction, which is what a log prints.
class Speaker {
 public:
  Speaker() {
    (*project_).connectProjectJournal([this](Journal::TransactionWriter& writer) {
      auto const block = writer.finalize();
      spoken_ = words_.describe(block);
    });
  }

  std::vector<std::string> after(std::function<void(Transaction&)> const& change) {
    spoken_.clear();
    Transaction transaction = (*project_).startTransaction();
    change(transaction);
    transaction.commit();
    return spoken_;
  }

 private:
  CurrentProject project_;
  JournalWords words_;
  std::vector<std::string> spoken_;
};

using Words = std::vector<std::string>;

TEST(JournalWords, NameEntitiesAsTheyStoodThen) {
  Speaker speaker;
  u64 mass = 0;
  u64 bmi = 0;
  u64 first = 0;
  u64 second = 0;
  u64 group = 0;
  u64 rule = 0;
  u64 target = 0;
  struct Step {
    std::function<void(Transaction&)> change;
    Words words;
  };
  std::vector<Step> const steps{
      {[&](Transaction& t) {
         mass = t->addVariable("Mass", VariableNature::Independent, Variant::FloatingPoint, {}).id();
       },
       {"variable \"Mass\" added (number, independent)"}},
      {[&](Transaction& t) { bmi = t->addCalcVariable("BMI", VariableNature::Unspecified, "1").id(); },
       {"variable \"BMI\" added (computed as \"1\")"}},
      {[&](Transaction& t) { first = t->addRecord().id(), second = t->addRecord().id(); },
       {"case 1 added", "case 2 added"}},
      {[&](Transaction& t) {
         t->setValue(WeakPtr<Variable>{1}.lock(), WeakPtr<Record>{second}.lock(),
                     Variant{12, Variant::UnsignedInteger});
         t->setValue(WeakPtr<Variable>{mass}.lock(), WeakPtr<Record>{second}.lock(), Variant{1.5});
       },
       {"case 2, \"Case ID\": 2 -> 12", "case 12, \"Mass\": null -> 1.5"}},
      {[&](Transaction& t) { t->addRecord(); }, {"case 13 added"}},
      {[&](Transaction& t) { t->activate(second, true), t->activate(first, false); },
       {"variable \"Case Status\" added (text)", "case 12 is Active", "case 1: Active -> Inactive"}},
      {[&](Transaction& t) {
         t->setVariableName(mass, "Weight");
         t->setVariableNature(mass, VariableNature::Unspecified);
         t->setVariableDescription(mass, "in g");
         t->setVariableDefaultValue(mass, Variant{2.0});
         t->setVariableDataType(mass, Variant::String);
         t->setVariableExpression(bmi, "2");
         t->setVariableType(bmi, VariableType::Ordinary);
       },
       {"variable \"Mass\" renamed to \"Weight\"", "variable \"Weight\": nature independent -> none",
        "variable \"Weight\": description \"\" -> \"in g\"", "variable \"Weight\": default null -> 2",
        "variable \"Weight\": type number -> text", "variable \"BMI\": expression \"1\" -> \"2\"",
        "variable \"BMI\": kind calculated -> ordinary"}},
      {[&](Transaction& t) { t->setDescription("Two\nlines"); }, {"project description: \"\" -> \"Two\\nlines\""}},
      {[&](Transaction& t) { t->addAuxFile(first, "a.png", "photo"); }, {"file \"a.png\" attached to case 1"}},
      {[&](Transaction& t) { group = t->addTagGroup("Views").id(), t->addTag(group, "left"); },
       {"tag group \"Views\" added", "tag group \"Views\": \"left\" added"}},
      {[&](Transaction& t) { t->removeTag(group, "left"), t->setTagGroupName(group, "Sides"); },
       {"tag group \"Views\": \"left\" removed", "tag group \"Views\" renamed to \"Sides\""}},
      {[&](Transaction& t) {
         rule = t->addPathRegex("*.png", "photo").id();
         target = t->addVariableRegex("m*", WeakPtr<Variable>{mass}.lock()).id();
       },
       {"rule \"*.png\" added", "rule \"m*\" added"}},
      {[&](Transaction& t) {
         t->setPathRegexExpression(rule, "*.bmp");
         t->setPathRegexTarget(rule, "scan");
         t->setVariableRegexTarget(target, 1);
       },
       {"rule \"*.png\" renamed to \"*.bmp\"", "rule \"*.bmp\": tag \"photo\" -> \"scan\"",
        "rule \"m*\": target variable \"Weight\" -> variable \"Case ID\""}}};
  for (Step const& step : steps) EXPECT_EQ(speaker.after(step.change), step.words);
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
  for (Case const& c :
       std::initializer_list<Case>{{Journal::RecordCreated, {5, 0}, "case 1 added"},
                                   {Journal::RecordErased, {5, 0, 1, type, 0}, "case 1 removed"},
                                   {Journal::RecordErased, {5, 0, 1, type, 0}, "case #5 removed"},
                                   {Journal::RecordInserted, {5, 0, 1, identifier, 0}, "case 70 put back"},
                                   {Journal::RecordCreated, {6, 0}, "case 71 added"},
                                   {Journal::VariableErased, {9, 0, 0, 0, 0, 0, 0, 0, 0}, "variable #9 removed"},
                                   {Journal::TagGroupErased, {8, 0, 0}, "tag group #8 removed"},
                                   {Journal::VariableMadeStatic, {9, 0}, "variable #9 is not computed any more"},
                                   {0x77, {}, "command 0x77 of 0 bytes, which cannot be read here"},
                                   {Journal::CellSet, {1}, "command 0x2009 of 8 bytes, which cannot be read here"}})
    EXPECT_EQ(words.describe(blockOf(c.code, c.payload)), Words{c.words});
}

}  // namespace
}  // namespace casebook::cli
