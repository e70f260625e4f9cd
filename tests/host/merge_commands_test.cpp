#include "desk.h"

#include <nlohmann/json.hpp>

namespace casebook::cli {
namespace {

using Arguments = std::vector<std::string>;

/// A project that the tables are merged into, in a folder with a few files.
class Study : public Desk {
 public:
  Study() {
    std::filesystem::create_directory("photos");
    for (auto const* name : {"photos/1.png", "photos/2.png"}) write(name, "");
  }

  void begin(std::string const& table, std::vector<std::string> const& keys) {
    Arguments options;
    for (std::string const& key : keys) options.insert(options.end(), {"--independent", key});
    Result const result = import("p.casebook", table, options);
    ASSERT_EQ(result.code, 0) << result.err;
    done({"info", "p.casebook", "--root", "."});
  }

  Result merge(std::string const& table, Arguments const& options, Arguments const& more = {}) {
    write("more.csv", table);
    Arguments arguments{"import", "p.casebook", "more.csv"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments);
  }

  std::string everything() { return csv("p.casebook") + done({"files", "p.casebook", "--json"}); }
};

std::string const begun = "Ring,Site,Mass\n1,A,10\n2,A,20\n2,A,21\n3,B,\n";

/// Rings 1, 2, 2 and 3 are the cases 1 to 4.
struct Merge {
  std::string table;
  Arguments options;
  std::string told;  // without the first line and the table of columns
  std::string exported;
  std::string err = {};
  std::vector<std::string> keys = {"Ring"};
  std::string begun = cli::begun;
};

std::vector<Merge> const merges{
    {"Site,Ring,Sex\nC,9,\nD,1,F\n",
     {"--mode", "append"},
     "Cases added     2\n",
     "Case ID,Ring,Site,Mass,Sex\n1,1,A,10,\n2,2,A,20,\n3,2,A,21,\n4,3,B,,\n5,9,C,,\n6,1,D,,F\n"},
    {"Mass,Case ID,Sex,Photo\n5,4,M,photos/1.png\n,1,F,\n9,8,,gone.png\n7,77,,photos/2.png\n",
     {"--mode", "by-id", "--files", "Photo"},
     "Rows matched    2, by \"Case ID\"\nRows left out   2\nCells changed   2, 1 of them emptied\nFiles attached  1\n",
     "Case ID,Ring,Site,Mass,Sex\n1,1,A,,F\n2,2,A,20,\n3,2,A,21,\n4,3,B,5,M\n",
     "warning: more.csv:4:3: There is no case 8; the row is left out.\n"
     "warning: more.csv:5:3: There is no case 77; the row is left out.\n"},
    {"Mass,Ring\n30,2\n11,1\n31,2\n32,2\n-,7\n",
     {"--mode", "by-key", "--key", "Ring", "--missing", "-"},
     "Rows matched    3, by \"Ring\"\nCases added     2\nCells changed   3\n",
     "Case ID,Ring,Site,Mass\n1,1,A,11\n2,2,A,30\n3,2,A,31\n4,3,B,\n5,2,,32\n6,7,,\n"},
    {"Ring,Site,Mass\n2,B,1\n2,A,2\n,,3\n",
     {"--mode", "by-key", "--key", "Site"},
     "Rows matched    1, by \"Ring\", \"Site\"\nCases added     2\nCells changed   1\n",
     "Case ID,Ring,Site,Mass\n1,1,A,10\n2,2,A,2\n3,2,A,21\n4,3,B,\n5,2,B,1\n6,,,3\n",
     "hint: Rows match by \"Ring\" too: it is an independent variable.\n"
     "hint: 1 row without a key, the first on line 4: such rows match the cases that have none.\n",
     {"Ring", "Site"}},
    {"Case Status,Ring\nInactive,3\nActive,1\nInactive,8\n",
     {"--mode", "by-key", "--missing", "Inactive"},
     "Rows matched    2, by \"Ring\"\nCases added     1\nCells changed   1\n",
     "Case ID,Ring,Site,Mass,Case Status\n1,1,A,10,Active\n2,2,A,20,Active\n3,2,A,21,Active\n4,3,B,,Inactive\n"
     "5,8,,,Inactive\n"},
    {"Case ID,Mass\n1,5\n,6\n",
     {"--mode", "append", "--ignore-case-id"},
     "Cases added     2\n",
     "Case ID,Mass\n4294967295,1\n9,2\n8,3\n1,5\n2,6\n",
     "",
     {},
     "Case ID,Mass\n4294967295,1\n9,2\n8,3\n"},
    {"Mass\n3\n",
     {"--mode", "append"},
     "Cases added     1\n",
     "Case ID,Mass\n4294967294,1\n4,2\n4294967293,3\n4294967295,3\n",
     "",
     {},
     "Case ID,Mass\n4294967294,1\n4,2\n4294967293,3\n"},
    {"Ring,Photo,Side\n3,photos/1.png,\n5,./photos/2.png,gone.png\n",
     {"--mode", "by-key", "--files", "Photo", "--files", "Side"},
     "Rows matched    1, by \"Ring\"\nCases added     1\nCells changed   0\nFiles attached  3\n",
     "Case ID,Ring,Site,Mass\n1,1,A,10\n2,2,A,20\n3,2,A,21\n4,3,B,\n5,5,,\n",
     "warning: more.csv:3:18: \"gone.png\": There is no such file.\n"}};

// A dry run tells what the merge tells and stores nothing; one step undoes the merge.
TEST(Merge, DoesWhatItsDryRunTellsAndIsUndoneInOneStep) {
  for (Merge const& m : merges) {
    SCOPED_TRACE(m.table);
    Study study;
    study.begin(m.begun, m.keys);
    std::string const before = study.everything();
    std::string const bytes = contentOf("p.casebook");
    Result const dry = study.merge(m.table, m.options, {"--dry-run"});
    EXPECT_EQ(contentOf("p.casebook"), bytes);
    Result const merged = study.merge(m.table, m.options);
    EXPECT_EQ(merged.code, 0);
    EXPECT_EQ(merged.err, m.err);
    EXPECT_EQ(dry.err, m.err);
    std::size_t const rows = linesOf(m.table).size() - 1;
    std::string const from =
        std::to_string(rows) + (rows == 1 ? " row" : " rows") + " from more.csv.\n" + m.told + "\n";
    EXPECT_EQ(merged.out.substr(0, from.size() + 9), "Imported " + from);
    EXPECT_EQ(dry.out, "Dry run, nothing is stored: " + merged.out.substr(9));
    EXPECT_EQ(study.csv("p.casebook"), m.exported);
    std::string const after = study.everything();
    study.done({"undo", "p.casebook"});
    EXPECT_EQ(study.everything(), before);
    study.done({"redo", "p.casebook"});
    EXPECT_EQ(study.everything(), after);
  }
}

TEST(Merge, TellsOfEachColumnAndIsLogged) {
  Study study;
  study.begin(begun, {"Ring"});
  Result const result =
      study.merge("Ring,Mass,Sex,Photo\n1,,F,photos/1.png\n2,5,F,\n", {"--mode", "by-key", "--files", "Photo"});
  auto const lines = linesOf(result.out);
  EXPECT_EQ((std::vector<std::string>{lines.end() - 5, lines.end()}),
            (std::vector<std::string>{"Column  Type       Missing  Changed  Emptied", "Ring    number",
                                      "Mass    number           1        2        1", "Sex     text, new",
                                      "Photo   files            1"}));
  auto const files = nlohmann::json::parse(study.done({"files", "p.casebook", "--json"})).at("files");
  ASSERT_EQ(files.size(), 1U);
  EXPECT_EQ(files[0].at("case"), 1);
  EXPECT_EQ(files[0].at("path"), "photos/1.png");
  EXPECT_EQ(files[0].at("tags"), nlohmann::json::parse(R"(["Photo"])"));
  auto const log = nlohmann::json::parse(study.done({"log", "p.casebook", "--json", "--last", "1"}));
  EXPECT_EQ(log.at("transactions").at(0).at("label"), "import more.csv by-key: 2 rows, 4 columns");
}

TEST(Merge, KnowsFilesThatWereAttachedBeforeTheRootWasSet) {
  Study study;
  study.import("p.casebook", begun, {"--independent", "Ring"});
  study.run({"attach", "p.casebook", "1", "photos/1.png", "--tag", "Photo"});
  study.done({"info", "p.casebook", "--root", "."});
  study.merge("Ring,Photo\n1,photos/1.png\n", {"--mode", "by-key", "--files", "Photo"});
  EXPECT_EQ(nlohmann::json::parse(study.done({"files", "p.casebook", "--json"})).at("files").size(), 1U);
}

TEST(Merge, IntoAProjectWithoutCasesMakesCasesOfAllRows) {
  for (auto const* mode : {"append", "by-key"}) {
    Study study;
    study.done({"create", "p.casebook"});
    EXPECT_EQ(study.merge("Case ID\n1\n", {"--mode", "by-id"}).err,
              "casebook: The project has no cases that rows could go into.\n"
              "hint: Without --mode, import fills a project.\n");
    EXPECT_EQ(study.merge("Case Status\nActive\n", {"--mode", "append"}).err,
              "casebook: more.csv: No column is left that becomes a variable.\n");
    EXPECT_EQ(
        study.merge("Case Status,Ring\nActive,4\nInactive,4\nActive,\n", {"--mode", mode, "--independent", "Ring"}).err,
        "");
    EXPECT_EQ(study.csv("p.casebook"), "Case ID,Ring,Case Status\n1,4,Active\n2,4,Inactive\n3,,Active\n");
    Result const again = study.merge("Ring,Mass\n4,1\n4,2\n4,3\n", {"--mode", "by-key"});
    EXPECT_EQ(linesOf(again.out)[1], "Rows matched    2, by \"Ring\"");
  }
}

TEST(Merge, IsRefusedWithThePlaceAndLeavesTheFileAsItWas) {
  struct Case {
    std::string table;
    Arguments options;
    std::string err;
    int code = 1;
  };
  std::vector<Case> const cases{
      {"Ring,Case ID,New\n1,x,1\n",
       {"--mode", "append"},
       "casebook: more.csv:1:6: Attempt to merge where input contains 'Case ID' column.\n"
       "hint: --ignore-case-id leaves the column out; --mode by-id matches rows by it.\n"},
      {"Ring,case id\n1,1\n",
       {"--mode", "by-id"},
       "casebook: more.csv: Attempt to merge by Case ID; input lacks 'Case ID' column.\n"
       "hint: --rename \"NAME=Case ID\" tells which column holds the cases' numbers.\n"},
      {"Case ID,Mass\n1,2\n1,3\n,x\n",
       {"--mode", "by-id"},
       "casebook: more.csv:3:1: \"Case ID\" 1 stands on line 2 already.\n"
       "casebook: more.csv:4:1: This case has no \"Case ID\".\n"
       "hint: The numbers of cases are whole, without a sign or leading zeros, each once.\n"},
      {"Mass,Ring\n1,1\nheavy,2\n",
       {"--mode", "by-key"},
       "casebook: more.csv:3:1: \"Mass\" \"heavy\" is not a number.\n"},
      {"Mass\n1\n",
       {"--mode", "by-key"},
       "casebook: more.csv: There is no column to match by: none is an independent variable.\n"
       "hint: Independent in the project: \"Ring\"; --rename \"OLD=NEW\" gives a column such a name.\n"},
      {"Ring,Nr\n1,1\n",
       {"--mode", "by-key", "--key", "Nr"},
       "casebook: more.csv:1:6: \"Nr\" is new to the project: no case can match by it.\n"
       "hint: Without it rows match by the other keys; casebook set-nature makes it independent when it is there.\n"},
      {"Ring,Mass\n1,1\n",
       {"--mode", "by-key", "--key", "Mass"},
       "casebook: --key \"Mass\": The project has this variable already, of the nature none.\n"
       "hint: casebook set-nature FILE \"Mass\" independent changes that.\n"},
      {"Ring,Double\n1,1\n",
       {"--mode", "by-key"},
       "casebook: more.csv:1:6: The project computes \"Double\"; it takes no values.\n"
       "hint: --rename \"OLD=NEW\" brings a column in under another name.\n"},
      {"Ring,Case Status\n1,asleep\n",
       {"--mode", "by-key"},
       "casebook: more.csv:2:3: \"Case Status\" \"asleep\" is neither \"Active\" nor \"Inactive\".\n"
       "hint: --rename \"Case Status=NAME\" brings the column in as an ordinary one.\n"},
      {"Photo\nx.png\n",
       {"--mode", "append", "--files", "Photo"},
       "casebook: more.csv: No column is left that becomes a variable.\n"},
      {"Photo\nx.png\n",
       {"--mode", "append", "--files", "photo"},
       "casebook: --files \"photo\": The table has no such column. Did you mean \"Photo\"?\n"},
      {"Ring,Photo\n1,x.png\n",
       {"--mode", "by-key", "--files", "Photo", "--key", "Photo"},
       "casebook: --key \"Photo\": This column holds paths of files.\n"},
      {"Ring\n1\n",
       {"--key", "Ring"},
       "casebook: --key goes with --mode by-key.\nhint: --independent NAME marks a variable alone.\n",
       2},
      {"Ring\n1\n",
       {"--mode", "by-id", "--ignore-case-id"},
       "casebook: --mode by-id or --ignore-case-id, not both.\n",
       2}};
  Study study;
  study.begin(begun, {"Ring"});
  study.done({"add-variable", "p.casebook", "Double", "--expression", "2 * [Mass]"});
  std::string const bytes = contentOf("p.casebook");
  for (Case const& c : cases)
    for (Arguments const& more : {Arguments{}, Arguments{"--dry-run"}}) {
      Result const result = study.merge(c.table, c.options, more);
      EXPECT_EQ(result.code, c.code) << c.err;
      EXPECT_EQ(result.err, c.err);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(contentOf("p.casebook"), bytes) << c.err;
    }
}

TEST(Import, BringsFilesAlongAndTellsInADryRunWhatWouldCome) {
  Study study;
  study.done({"create", "p.casebook"});
  std::string const table = "Case ID,Name,Photo\n7,Ada,photos/1.png\n9,Eve,NA\n";
  Arguments const options{"--files", "Photo", "--missing", "NA"};
  std::string const bytes = contentOf("p.casebook");
  Result const dry = study.merge(table, options, {"--dry-run"});
  EXPECT_EQ(contentOf("p.casebook"), bytes);
  Result const imported = study.merge(table, options);
  EXPECT_EQ(linesOf(imported.out)[1], "Files attached  1");
  EXPECT_EQ(dry.out, "Dry run, nothing is stored: " + imported.out.substr(9));
  EXPECT_EQ(imported.err.find("hint: The project has no root folder"), 0U) << imported.err;
  EXPECT_EQ(study.csv("p.casebook"), "Case ID,Name\n7,Ada\n9,Eve\n");
  EXPECT_EQ(nlohmann::json::parse(study.done({"files", "p.casebook", "--json"})).at("files").at(0).at("case"), 7);
}

using Columns = std::vector<std::size_t>;

/// Parts of the penguins' table, its rows numbered from 1 in column 0.
class Penguins {
 public:
  explicit Penguins(std::string const& number) {
    for (std::string line : linesOf(contentOf(CASEBOOK_EXAMPLES "/data/penguins.csv"))) {
      std::erase(line, '\r');
      auto& fields = rows_.emplace_back();
      std::istringstream text{(rows_.size() == 1 ? number : std::to_string(rows_.size() - 1)) + "," + line + ","};
      for (std::string field; std::getline(text, field, ',');) fields.push_back(field);
    }
  }

  [[nodiscard]] std::string table(Columns const& columns, std::size_t from = 1, std::size_t before = 345) const {
    std::string text;
    for (std::size_t row = 0; row < before; row = std::max(row + 1, from))
      for (std::size_t i = 0; i < columns.size(); ++i)
        text += rows_[row][columns[i]] + (i + 1 == columns.size() ? "\n" : ",");
    return text;
  }

 private:
  std::vector<std::vector<std::string>> rows_;
};

// What is split into tables, some of which have cases in common and each its own columns, comes together again.
TEST(Merge, GivesPenguinsBackThatWereSplit) {
  struct Part {
    Columns columns;
    std::size_t from;
    std::size_t before;
    Arguments options;
    std::string told;
  };
  struct Split {
    std::string number;
    std::vector<Part> parts;
    Columns whole;
  };
  std::vector<Split> const splits{
      {"Nr",
       {{{0, 1, 2, 3, 4}, 1, 220, {"--independent", "Nr"}, ""},
        {{7, 6, 5, 0, 4, 3, 2, 1}, 120, 345, {"--mode", "by-key"}, "Rows matched    100, by \"Nr\""},
        {{5, 0, 6, 7}, 1, 120, {"--mode", "by-key", "--key", "Nr"}, "Rows matched    119, by \"Nr\""}},
       {0, 1, 2, 3, 4, 7, 6, 5}},
      {"Case ID",
       {{{0, 1, 2, 3}, 1, 345, {}, ""},
        {{7, 0, 3, 4}, 150, 345, {"--mode", "by-id"}, "Rows matched    195, by \"Case ID\""},
        {{7, 0, 4}, 1, 200, {"--mode", "by-id"}, "Rows matched    199, by \"Case ID\""}},
       {0, 1, 2, 3, 7, 4}},
      {"Nr",
       {{{0, 1, 2, 5}, 1, 150, {"--mode", "append"}, "Cases added     149"},
        {{5, 2, 1, 0}, 150, 345, {"--mode", "append"}, "Cases added     195"}},
       {0, 1, 2, 5}}};
  for (Split const& split : splits) {
    Penguins const penguins{split.number};
    Study study;
    study.done({"create", "p.casebook"});
    for (Part const& part : split.parts) {
      Result const merged = study.merge(penguins.table(part.columns, part.from, part.before), part.options);
      EXPECT_EQ(merged.err, "");
      EXPECT_EQ(linesOf(merged.out)[1], part.told);
    }
    study.import("whole.casebook", penguins.table(split.whole));
    EXPECT_EQ(study.csv("p.casebook"), study.csv("whole.casebook"));
  }
}

// Many penguins are of one species, island and sex: each row finds the next of them.
TEST(Merge, MatchesEqualKeysOneToOneInTheirOrder) {
  std::string const table = Penguins{"Nr"}.table({0, 1, 2, 6, 7});
  Study study;
  study.begin(table, {"Species", "Island", "Sex"});
  auto const lines = linesOf(study.merge(table, {"--mode", "by-key"}).out);
  EXPECT_EQ((std::vector<std::string>{lines.begin() + 1, lines.begin() + 4}),
            (std::vector<std::string>{"Rows matched    344, by \"Species\", \"Island\", \"Sex\"", "Cases added     0",
                                      "Cells changed   0"}));
}

}  // namespace
}  // namespace casebook::cli
