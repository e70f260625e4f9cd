#include "support/state.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <boost/smart_ptr/make_shared.hpp>

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace casebook {
namespace {

using test::BlockStore;
using test::CurrentProject;
using test::refusalOf;
using test::stateOf;
using test::transact;
using test::unknownEntity;

using Column = std::vector<Variant>;
using Columns = std::vector<Column>;
using Infos = std::vector<ColumnInfo>;

constexpr auto number = Variant::FloatingPoint;
constexpr auto text = Variant::String;
constexpr auto whole = Variant::UnsignedInteger;
constexpr auto key = VariableNature::Independent;
constexpr VariableNature plain{};

constexpr auto append = MergeMethod::Append;
constexpr auto byCaseId = MergeMethod::ByCaseId;
constexpr auto byKeys = MergeMethod::ByIndependentVariables;

Variant integer(u64 value) { return Variant::ofWord(value, whole); }

/// Files by row, all but those in `listed` under the tag "t". Keeps what it was asked.
struct Files : AuxFileCollectionInterface {
  using Listed = std::map<std::pair<u64, std::string>, std::vector<std::string>>;

  explicit Files(Listed files = {}, u64 rows = 9) : listed{std::move(files)}, count{rows} {}

  bool empty() const override { return says_empty || listed.empty(); }
  std::set<std::string> tags() const override {
    std::set<std::string> tags;
    for (auto const& [place, paths] : listed) tags.insert(place.second);
    return tags;
  }
  std::vector<std::string> files(u64 row, std::string const& tag) const override {
    auto const found = listed.find({row, tag});
    return found == listed.end() ? std::vector<std::string>{} : found->second;
  }
  u64 size() const override { return count; }

  Listed listed;
  u64 count;
  bool says_empty = false;
};

boost::shared_ptr<Files> files(Files::Listed listed = {}, u64 rows = 9) {
  return boost::make_shared<Files>(std::move(listed), rows);
}

void mergeInto(Project& project, Columns const& table, Infos const& infos, MergeMethod method,
               boost::shared_ptr<Files const> const& auxFiles = files()) {
  transact(project, [&](Project& p) { p.merge(table, infos, method, auxFiles); });
}

/// The rows of a project without their case identifiers, each with its files.
std::string rowsOf(Project& project) {
  std::string rows;
  for (auto const record : project.records()) {
    auto const row = project.getRow(record.id());
    for (auto cell = row.begin() + 1; cell != row.end(); ++cell)
      rows += (cell->isNull() ? "-" : cell->toString()) + ' ';
    for (auto const file : project.auxFiles(record.id()))
      rows += '<' + project.auxFileRawPath(file.id()) + ':' + test::listed(project.auxFileTags(file.id())) + '>';
    rows += '\n';
  }
  return rows;
}

class Merge : public testing::Test {
 protected:
  CurrentProject project_;
};

TEST_F(Merge, RefusesInOrderBeforeAnythingChanges) {
  mergeInto(*project_, {{1.0}}, {{"X", plain, number}}, append);
  auto const before = stateOf(*project_);
  Column const ids{integer(1)};
  ColumnInfo const id{"Case ID", plain, whole};
  auto const mismatched = "Mismatched table and descriptions sizes (true)";
  auto const twice = "Input table contains duplicate column names. (true)";
  auto const nature = "Input column nature doesn't match existing column. (false)";
  auto const type = "Input column data type doesn't match existing column. (false)";
  auto const contents = "Input column data type doesn't match actual contents. (false)";
  auto const lengths = "The columns of the input table differ in length. (true)";
  auto const noId = "Attempt to merge by Case ID; input lacks 'Case ID' column. (false)";
  auto const notFirst = "Attempt to merge by Case ID; input lacks 'Case ID' as first column. (false)";
  auto const withId = "Attempt to merge where input contains 'Case ID' column. (false)";
  struct {
    Columns table;
    Infos infos;
    std::vector<MergeMethod> methods;
    std::string message;
    bool fromPreparing;
  } const cases[] = {
      {{}, {{"A", plain, number}}, {append, byCaseId, byKeys, MergeMethod{7}}, mismatched, true},
      {{{1.0}}, {}, {append}, mismatched, true},
      {{{1.0}, {"t"}}, {{"A", plain, number}, {"A", plain, number}}, {append}, twice, true},
      {{{"t"}, {1.0}}, {{"A", plain, number}, {"A", plain, number}}, {append}, contents, true},
      {{{"t"}}, {{"X", key, text}}, {append}, nature, true},
      {{{1.0}}, {{"X", plain, text}}, {append}, type, true},
      {{{{}, "t"}}, {{"A", plain, number}}, {append}, contents, true},
      {{{integer(1)}}, {{"A", plain, number}}, {append}, contents, true},
      {{{1.0}, {}, {"t"}}, {{"A", plain, number}, {"B", plain, text}, {"X", key, text}}, {append}, nature, true},
      {{{1.0}, {}}, {{"A", plain, number}, {"B", plain, text}}, {append, byCaseId}, lengths, true},
      {{{1.0}}, {{"case id", plain, number}}, {byCaseId}, noId, false},
      {{{1.0}, ids}, {{"A", plain, number}, id}, {byCaseId}, notFirst, false},
      {{ids}, {id}, {append, byKeys, MergeMethod{7}}, withId, false},
      {{{1.0}, ids}, {{"A", plain, number}, id}, {append}, withId, false},
  };
  for (auto const& [table, infos, methods, message, fromPreparing] : cases) {
    for (auto const method : methods) {
      EXPECT_EQ(refusalOf([&] { mergeInto(*project_, table, infos, method); }), message);
      EXPECT_EQ(refusalOf([&] {
                  auto info = project_->merge_prep(table, infos);
                  info.method = method;
                  project_->merge(info, files());
                }),
                message);
      EXPECT_EQ(refusalOf([&] { (void)project_->merge_prep(table, infos); }), fromPreparing ? message : "");
    }
  }
  EXPECT_EQ(stateOf(*project_), before);
}

TEST_F(Merge, OfNoColumnsDoesNothingAndAnUnknownMethodMakesTheVariables) {
  auto const before = stateOf(*project_);
  auto const none = project_->merge_prep({}, {});
  EXPECT_EQ(none.method, append);
  for (auto const method : {append, byCaseId, byKeys, MergeMethod{7}}) {
    project_->merge(none, files());
    project_->merge(MergeInfo{}, files());
    project_->merge({}, {}, method, files());
  }
  EXPECT_EQ(stateOf(*project_), before);
  Infos const infos{{"N", key, number}, {"T", plain, text}, {"W", VariableNature{5}, whole}};
  EXPECT_EQ(refusalOf([&] { mergeInto(*project_, {{}, {}, {}}, infos, MergeMethod{7}); }),
            "Invalid MergeMethod parameter to merge() (true)");
  EXPECT_EQ(stateOf(*project_),
            before + "variable 2 N|||0:0|2|0|2\nvariable 3 T|||3:|3|0|0\nvariable 4 W|||0:0|1|0|5\n");
}

TEST_F(Merge, FilesFollowTheirRows) {
  Infos const infos{{"k", key, number}};
  auto const collection =
      files({{{0, "t"}, {"a", "a", "b"}}, {{0, "u"}, {"a"}}, {{1, "t"}, {"c"}}, {{3, "u"}, {"d"}}}, 3);
  collection->says_empty = true;
  mergeInto(*project_, {{1.0}}, infos, append, collection);
  EXPECT_EQ(rowsOf(*project_), "1 \n") << "an empty collection is not asked";
  mergeInto(*project_, {{1.0}}, infos, byKeys, collection);
  EXPECT_EQ(rowsOf(*project_), "1 <a:t,><b:t,><a:u,>\n") << "but it is for a row that matches";
  collection->says_empty = false;
  mergeInto(*project_, {{1.0, 2.0, 3.0, 4.0}}, infos, byKeys, collection);
  EXPECT_EQ(rowsOf(*project_), "1 <a:t,><b:t,><a:u,>\n2 <c:t,>\n3 \n4 \n") << "row 3 lies beyond the collection";
  collection->count = 4;
  mergeInto(*project_, {{7.0, 2.0, 8.0, 9.0}}, infos, byKeys, collection);
  EXPECT_EQ(rowsOf(*project_), "1 <a:t,><b:t,><a:u,>\n2 <c:t,>\n3 \n4 \n7 <a:t,><b:t,><a:u,>\n8 \n9 <d:u,>\n");
  mergeInto(*project_, {{integer(77), integer(3)}}, {{"Case ID", plain, whole}}, byCaseId, collection);
  EXPECT_EQ(rowsOf(*project_), "1 <a:t,><b:t,><a:u,>\n2 <c:t,>\n3 <c:t,>\n4 \n7 <a:t,><b:t,><a:u,>\n8 \n9 <d:u,>\n");
}

TEST_F(Merge, PreparedStaysSafeWhenTheProjectChanges) {
  Infos const infos{{"k", key, number}, {"v", plain, text}};
  Columns const table{{1.0, 2.0}, {"a", "b"}};
  auto info = project_->merge_prep(table, infos);
  info.method = byKeys;
  auto const merge = [&] { transact(*project_, [&](Project& p) { p.merge(info, files()); }); };
  merge();
  merge();
  EXPECT_EQ(rowsOf(*project_), "1 a \n2 b \n") << "the second time the variables and the records are there";
  transact(*project_, [](Project& p) { p.setVariableNature(p.variable("v").id(), VariableNature{4}); });
  EXPECT_EQ(refusalOf(merge), "Input column nature doesn't match existing column. (false)");
  transact(*project_, [](Project& p) { p.setVariableNature(p.variable("v").id(), plain); });
  auto const paired = project_->merge_prep(table, infos);
  transact(*project_, [](Project& p) { p.eraseVariable(p.variable("k").id()); });
  EXPECT_EQ(refusalOf([&] { project_->merge(paired, files()); }), unknownEntity);
  EXPECT_EQ(rowsOf(*project_), "a \nb \n");
}

TEST_F(Merge, PreparedKnowsItsVariablesByNoNameAlone) {
  Infos const infos{{"A", plain, text}, {"B", plain, text}};
  Columns const table{{"a"}, {"b"}};
  mergeInto(*project_, {{"old"}}, {infos[1]}, append);
  auto const info = project_->merge_prep(table, infos);
  transact(*project_, [&](Project& p) {
    p.setVariableName(p.variable("B").id(), "A");
    p.merge(info, files());
  });
  EXPECT_EQ(rowsOf(*project_), "old  \nb a \n") << "the column A, new then, does not take the variable of B";
  project_->resetProject();
  transact(*project_, [](Project& p) { p.addVariable("n", {}, number, 1.5), p.addVariable("m", {}, number, 1.5); });
  EXPECT_EQ(refusalOf([&] { project_->merge(info, files()); }), unknownEntity) << "other variables have their UIDs";
}

/// Takes back the creation of the last record when it is asked about the first row.
struct Editing : Files {
  std::set<std::string> tags() const override { return {"t"}; }
  bool empty() const override { return false; }
  std::vector<std::string> files(u64 row, std::string const&) const override {
    if (row == 0) project->processJournalTransaction(Journal::Transaction{block, 0}, Journal::Direction::Backwards);
    return {"f"};
  }

  Project* project = nullptr;
  test::Content block;
};

TEST_F(Merge, OutlivesACollectionThatEdits) {
  Infos const infos{{"k", key, number}, {"v", plain, number}};
  mergeInto(*project_, {{1.0}, {0.0}}, infos, append);
  BlockStore journal{*project_};
  mergeInto(*project_, {{2.0}, {0.0}}, infos, append);
  auto const collection = boost::make_shared<Editing>();
  collection->project = &*project_;
  collection->block = journal.blocks.back();
  EXPECT_EQ(refusalOf([&] { mergeInto(*project_, {{1.0, 2.0}, {5.0, 6.0}}, infos, byKeys, collection); }),
            unknownEntity);
  EXPECT_EQ(rowsOf(*project_), "1 0 <f:t,>\n");
}

/// Makes every record inactive, with all that comes of it the first time.
struct Inactive : Project {
  WeakPtr<Record> addRecord() override {
    auto const record = Project::addRecord();
    activate(record.id(), false);
    return record;
  }
};

TEST(MergeIntoADerivedProject, GoesThroughItsOperations) {
  CurrentProject project{std::make_unique<Inactive>()};
  BlockStore journal{*project};
  mergeInto(*project, {{1.0, 2.0, 3.0}}, {{"k", plain, number}}, append);
  auto const state = stateOf(*project);
  EXPECT_EQ(rowsOf(*project), "1 Inactive \n2 Inactive \n3 Inactive \n");
  CurrentProject const again{test::restored(journal.blocks, 0)};
  EXPECT_EQ(stateOf(*again), state);
}

/// What a merge leads to, written the plain way: rows of values by the names of their columns.
struct Model {
  using Row = std::map<std::string, Variant>;

  std::vector<Row> rows;
  std::map<std::string, Variant> defaults;
  u64 nextCase = 1;
  u64 cellsWritten = 0;
  u64 matches = 0;

  void merge(Columns const& table, Infos const& infos, MergeMethod method) {
    std::vector<std::string> keys;
    bool isCountable = method == byKeys;
    for (auto const& info : infos) {
      bool const isKey = method == byCaseId ? info.name == "Case ID" : info.nature == key;
      bool const isNew = defaults.try_emplace(info.name, info.dataType == text ? Variant{""} : Variant{}).second;
      for (auto& row : rows) row.try_emplace(info.name, defaults[info.name]);
      if (isKey) keys.push_back(info.name);
      isCountable = isCountable && !(isKey && isNew);
    }
    bool const claims = method != append && !rows.empty() && !keys.empty();
    std::vector<Row> unmatched;
    std::set<std::size_t> claimed;
    for (std::size_t i = 0; i < table.front().size(); ++i) {
      Row input;
      for (std::size_t k = 0; k < infos.size(); ++k) input[infos[k].name] = table[k][i];
      auto const equals = [&](Row& row) {
        return std::ranges::all_of(keys, [&](auto const& name) { return row[name] == input[name]; });
      };
      std::size_t at = claims ? 0 : rows.size();
      while (at < rows.size() && (claimed.contains(at) || !equals(rows[at]))) ++at;
      if (at == rows.size()) unmatched.push_back(input);
      else if (claimed.insert(at).second)
        for (auto const& [name, value] : input)
          if (rows[at][name] != value) rows[at][name] = value, ++cellsWritten;
    }
    matches = isCountable ? claimed.size() : 0;
    if (method == byCaseId) return;
    for (auto const& input : unmatched) {
      rows.push_back(defaults);
      rows.back()["Case ID"] = integer(nextCase++);
      for (auto const& [name, value] : input) rows.back()[name] = value, ++cellsWritten;
    }
  }
};

Variant someCell(VariableDataType type) {
  static std::vector<Variant> const texts{"", "a", ";", "a;", "1", {}};
  static std::vector<Variant> const numbers{0.0, -0.0, 1.0, Variant::nan(), {}};
  if (type == whole) return *rc::gen::map(rc::gen::inRange<u64>(0, 7), integer);
  return type == text ? *rc::gen::elementOf(texts) : *rc::gen::elementOf(numbers);
}

RC_GTEST_PROP(MergeProperty, EqualsAPlainModelAndIsUndoneInOneStep, ()) {
  CurrentProject project;
  Model model;
  model.defaults["Case ID"] = {};
  std::map<std::string, ColumnInfo> const known{
      {"k", {"k", key, text}}, {"l", {"l", key, number}}, {"v", {"v", plain, number}}, {"w", {"w", plain, text}}};
  BlockStore journal{*project};
  for (int merges = *rc::gen::inRange(1, 6); merges > 0; --merges) {
    auto const method = merges == 5 ? append : *rc::gen::element(append, byCaseId, byKeys, byKeys);
    Infos infos;
    if (method == byCaseId) infos.push_back({"Case ID", plain, whole});
    for (auto const& [name, info] : known)
      if (*rc::gen::inRange(0, 4) != 0) infos.push_back(info);
    if (infos.empty()) continue;
    auto const rows = *rc::gen::inRange<std::size_t>(0, 8);
    Columns table;
    for (auto const& info : infos)
      for (table.emplace_back(); table.back().size() < rows;) table.back().push_back(someCell(info.dataType));

    auto const before = stateOf(*project);
    auto const blocks = journal.blocks.size();
    auto const foreseen = project->merge_prep(table, infos).matchCount;
    model.cellsWritten = 0;
    model.merge(table, infos, method);
    RC_ASSERT(method != byKeys || foreseen == model.matches);
    mergeInto(*project, table, infos, method);

    RC_ASSERT(project->records().size() == model.rows.size());
    auto row = model.rows.begin();
    for (auto const record : project->records()) {
      for (auto const variable : project->variables()) {
        auto const& expected = (*row)[project->variableName(variable.id())];
        RC_ASSERT(exactly(project->value(variable.lock(), record.lock())) == exactly(expected));
      }
      ++row;
    }
    if (journal.blocks.size() == blocks) continue;
    auto const after = stateOf(*project);
    auto const commands = Journal::Transaction{journal.blocks.back(), 0}.commands();
    RC_ASSERT(static_cast<u64>(std::ranges::count(commands, Journal::CellSet, &Journal::Command::code)) ==
              model.cellsWritten);
    test::undo(*project, journal.blocks.back());
    RC_ASSERT(stateOf(*project) == before);
    test::undo(*project, journal.blocks.back());
    RC_ASSERT(stateOf(*project) == after);
  }
}

}  // namespace
}  // namespace casebook
