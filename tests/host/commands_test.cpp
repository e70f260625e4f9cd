#include "desk.h"

#include "csv/csv_reader.h"
#include "csv/csv_writer.h"
#include "text/numbers.h"

#include <casebook/variant.h>

#include <rapidcheck/gtest.h>

#include <locale>
#include <nlohmann/json.hpp>

namespace casebook::cli {
namespace {

std::string const penguins = contentOf(CASEBOOK_EXAMPLES "/data/penguins.csv");

std::string without(std::string text, char c) {
  std::erase(text, c);
  return text;
}

/// Two cases, and a variable of each type.
void makeSmall(Desk& desk, std::string const& file = "p.casebook") {
  Result const result = desk.import(file, "Case ID,Name,Mass,Ring\n7,Ada,3750.5,1\n9,,,\n", {"--type", "Ring=integer"});
  ASSERT_EQ(result.code, 0) << result.err;
}

/// While it lives, streams write 1234.5 as 1.2.3.4,5.
class LocaleOfCommas {
 public:
  LocaleOfCommas() : before_{std::locale::global(std::locale{std::locale{}, new Commas})} {}
  LocaleOfCommas(LocaleOfCommas const&) = delete;
  ~LocaleOfCommas() { std::locale::global(before_); }

 private:
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
  };
  std::locale before_;
};

TEST(Import, GivesPenguinsBackCellForCell) {
  LocaleOfCommas const commas;
  Desk desk;
  Result const imported = desk.import("p.casebook", penguins);
  EXPECT_EQ(imported.code, 0);
  EXPECT_EQ(imported.err, "");
  EXPECT_EQ(linesOf(imported.out).front(), "Imported 344 cases from table.csv.");

  std::string expected;
  std::size_t caseId = 0;
  for (std::string const& line : linesOf(without(penguins, '\r')))
    expected += (caseId == 0 ? "Case ID" : std::to_string(caseId)) + "," + line + "\n", ++caseId;
  EXPECT_EQ(desk.csv("p.casebook"), expected);

  auto const json = nlohmann::json::parse(desk.done({"export", "p.casebook", "--json"}));
  EXPECT_EQ(json.at("variables").at(3).at("type"), "number");
  EXPECT_EQ(json.at("cases").size(), 344U);
  EXPECT_EQ(json.at("cases").at(3), nlohmann::json::parse(R"([4,"Adelie","Torgersen",null,null,null,null,""])"));

  Result const again = desk.import("q.casebook", desk.done({"export", "p.casebook", "--csv", "--crlf"}));
  EXPECT_EQ(again.code, 0);
  EXPECT_EQ(desk.csv("q.casebook"), expected);
  EXPECT_EQ(linesOf(desk.done({"log", "q.casebook"})).size(), 1U);
}

rc::Gen<std::string> anyCell() {
  return rc::gen::weightedOneOf<std::string>(
      {{2, rc::gen::map(rc::gen::arbitrary<double>(), [](double x) { return Variant{x}.toString(); })},
       {1, rc::gen::element<std::string>("", "0", "-0", "007", "1e5", "NA", "1e400", "\"", "\r\n", "\xff",
                                         "\xef\xbb\xbf", "a\"b,c;\td\n", "\r")},
       {1, rc::gen::arbitrary<std::string>()}});
}

// What an export reads back to: texts by bytes, numbers by value.
bool same(std::string_view a, std::string_view b) {
  auto const x = readNumber(a).value;
  return a == b || (x && x == readNumber(b).value);
}

RC_GTEST_PROP(Import, OfAnyTableIsExportedAsItWas, ()) {
  Desk desk;
  auto const columns = *rc::gen::inRange<std::size_t>(1, 4);
  auto const rows = *rc::gen::container<std::vector<std::vector<std::string>>>(
      rc::gen::container<std::vector<std::string>>(columns, anyCell()));
  auto const separator = *rc::gen::element(',', ';', '|');
  std::ostringstream text;
  CsvWriter writer{text, {separator, *rc::gen::element<std::string_view>("\n", "\r\n")}};
  for (std::size_t i = 0; i < columns; ++i) writer.field("c\",;|\n" + std::to_string(i));
  writer.endRow();
  for (auto const& row : rows) {
    for (auto const& cell : row) writer.field(cell);
    writer.endRow();
  }
  std::vector<std::string> const options{"--encoding", "bytes", "--separator", {separator}};
  RC_ASSERT(desk.import("p.casebook", text.str(), options).code == 0);
  std::string const exported = desk.csv("p.casebook");
  CsvTable const table = CsvTable::parse(exported, ',');
  RC_ASSERT(table.rows() == rows.size());
  for (std::size_t row = 0; row < rows.size(); ++row)
    for (std::size_t i = 0; i < columns; ++i) RC_ASSERT(same(table.cell(row, i + 1).text, rows[row][i]));
  RC_ASSERT(nlohmann::json::parse(desk.done({"export", "p.casebook", "--json"})).at("cases").size() == rows.size());
}

TEST(Import, TakesBuiltInColumnsAndWishes) {
  struct Case {
    std::string table;
    std::string exported;
    std::vector<std::string> options = {};
    std::string hint = {};
  };
  std::vector<Case> const cases{
      {"x,Case ID\na,4294967295\nb,0\n", "Case ID,x\n4294967295,a\n0,b\n"},
      {"x,Case Status,y\na,Active,1\nb,Inactive,2\n", "Case ID,x,Case Status,y\n1,a,Active,1\n2,b,Inactive,2\n"},
      {"Case Status,x\n", "Case ID,x\n", {}, "hint: \"Case Status\" comes with the first case; it is left out here.\n"},
      {"Case ID,Case Status\nx,y\n",
       "Case ID,Number,A=B\n1,x,y\n",
       {"--rename", "Case ID=Number", "--rename", "Case Status=A=B"}},
      {"x=y,z\n1,2\n", "Case ID,q\n2,1\n", {"--rename", "x=y=q", "--rename", "z=Case ID"}},
      {"x,y\nNA,NA\n1,b\n", "Case ID,x,y\n1,,\n2,1,b\n", {"--missing", "NA"}},
      {"x,y\nNA,NA\n1,b\n",
       "Case ID,x,y\n1,NA,NA\n2,1,b\n",
       {},
       "hint: \"x\" is text only for the word \"NA\" in 1 cell; --missing \"NA\" reads it as missing.\n"},
      {"x,y\nnan,1\n-inf,007\n", "Case ID,x,y\n1,nan,1\n2,-inf,007\n", {"--type", "x=number", "--type", "y=text"}},
      {"x;y\n1;2\n",
       "Case ID,x;y\n1,1;2\n",
       {},
       "hint: The header is one field; --separator \";\" reads it as several.\n"},
      {"x\ty\n1\t2\n", "Case ID,x,y\n1,1,2\n", {"--separator", "tab"}},
      {"n\xe9\n\xe9\n", "Case ID,n\xc3\xa9\n1,\xc3\xa9\n", {"--encoding", "latin1"}},
      {"\xef\xbb\xbfx\r\n1\r\n", "Case ID,x\n1,1\n"}};
  for (Case const& c : cases) {
    Desk desk;
    Result const result = desk.import("p.casebook", c.table, c.options);
    EXPECT_EQ(result.code, 0) << c.table;
    EXPECT_EQ(result.err, c.hint) << c.table;
    EXPECT_EQ(desk.csv("p.casebook"), c.exported);
  }
}

TEST(Import, IsRefusedWithEveryPlaceAndLeavesTheProjectAsItWas) {
  struct Case {
    std::string table;
    std::vector<std::string> places;
    std::string hint = {};
    std::vector<std::string> options = {};
  };
  std::vector<Case> const cases{
      {"a;b\n1,5;2\n",
       {"2:1: This row has 2 fields, the header has 1."},
       "The header is one field; --separator \";\" reads it as several."},
      {"a\nb\xe9\n", {"2:2: The byte 0xE9 is not UTF-8 here."}, "--encoding latin1 reads a table in ISO 8859-1."},
      {"a,,b,a,\n1,2,3,4,5\n",
       {"1:3: Column 2 has no name.", "1:6: Column 4 is named \"a\", as column 1 is.", "1:8: Column 5 has no name."},
       "Every column needs a name of its own in the header; --rename gives all columns of one name the same new one."},
      {"\xff\xfe", {"1:1: The table is in UTF-16; save the table as UTF-8."}, "", {"--encoding", "latin1"}},
      {"Case ID\n1\n\n1\nx\n4294967296\n",
       {"3:1: This case has no \"Case ID\".", "4:1: \"Case ID\" 1 stands on line 2 already.",
        "5:1: \"Case ID\" \"x\" is not a whole number below 4294967296.",
        "6:1: \"Case ID\" \"4294967296\" is not a whole number below 4294967296."},
       "--rename \"Case ID=NAME\" brings the column in as an ordinary one."},
      {"x,Case Status\n\"1\n2\",active\n1,\n",
       {"3:4: \"Case Status\" \"active\" is neither \"Active\" nor \"Inactive\".",
        "4:3: \"Case Status\" \"\" is neither \"Active\" nor \"Inactive\"."},
       "--rename \"Case Status=NAME\" brings the column in as an ordinary one."},
      {"x\n1\na\n007\n",
       {"3:1: \"x\" \"a\" is not a number.", "4:1: \"x\" \"007\" has leading zeros."},
       "",
       {"--type", "x=number"}}};
  for (Case const& c : cases) {
    std::string err;
    for (std::string const& place : c.places) err += "casebook: table.csv:" + place + "\n";
    if (!c.hint.empty()) err += "hint: " + c.hint + "\n";
    Desk desk;
    Result const result = desk.import("p.casebook", c.table, c.options);
    EXPECT_EQ(result.code, 1) << c.table;
    EXPECT_EQ(result.err, err);
    EXPECT_EQ(desk.csv("p.casebook"), "Case ID\n");
    EXPECT_EQ(desk.done({"log", "p.casebook"}), "");
  }
}

TEST(Import, OfManyWrongCellsTellsOfTheFirstAndNamesTheOtherLines) {
  Desk desk;
  std::string table = "Case ID\n";
  for (int i = 0; i < 20000; ++i) table += i == 50 ? "7\n" : "5\n";
  auto const lines = linesOf(desk.import("p.casebook", table).err);
  ASSERT_EQ(lines.size(), 10U);
  EXPECT_EQ(lines[7], "casebook: table.csv:10:1: \"Case ID\" 5 stands on line 2 already.");
  EXPECT_EQ(lines[8], "casebook: table.csv: 19990 more like these, on lines 11-51, 53-20001.");
}

TEST(Import, MeetsVariablesThatAreThereAndRefusesCases) {
  Desk desk;
  desk.done({"create", "p.casebook"});
  desk.done({"add-variable", "p.casebook", "Ring", "--type", "integer", "--default", "5"});
  write("t.csv", "Sex,Ring\nMALE,7\n,\n");
  EXPECT_EQ(desk.run({"import", "p.casebook", "-", "--independent", "Sex"}, "Ring\n1\n").err,
            "casebook: --independent \"Sex\": The table has no such column. There are \"Ring\".\n");
  EXPECT_EQ(desk.run({"import", "p.casebook", "-", "--rename", "Ring=b", "--rename", "Ring=c"}, "Ring\n1\n").code, 2);
  EXPECT_EQ(desk.run({"import", "p.casebook", "-", "--rename", "ring=y"}, "Ring\n1\n").err,
            "casebook: --rename \"ring=y\": The table has no column \"ring\". Did you mean \"Ring\"?\n");
  EXPECT_EQ(desk.run({"import", "p.casebook", "-"}, "Ring\nx\n").err,
            "casebook: stdin:2:1: \"Ring\" \"x\" is not a whole number from 0 to 4294967295.\n");
  desk.done({"import", "p.casebook", "t.csv", "--independent", "Sex", "--independent", "Ring"});
  EXPECT_EQ(desk.csv("p.casebook"), "Case ID,Ring,Sex\n1,7,MALE\n2,,\n");
  Result const again = desk.run({"import", "p.casebook", "t.csv"});
  EXPECT_EQ(again.code, 1);
  EXPECT_EQ(
      again.err,
      "casebook: p.casebook holds 2 cases already; import fills a project that has none.\nhint: --mode append adds "
      "the rows as new cases; --mode by-id and --mode by-key bring them into the cases that they match.\n");
}

TEST(Edits, SayWhatTheyDidAndAreLogged) {
  struct Step {
    std::vector<std::string> arguments;  // without the file
    std::string out;
    std::string label;  // empty when nothing is to be written
    std::vector<std::string> words;
  };
  std::vector<Step> const steps{
      {{"set", "7", "Mass", "3800"},
       "Case 7, \"Mass\": 3750.5 -> 3800\n",
       "set case 7 \"Mass\" to 3800",
       {"case 7, \"Mass\": 3750.5 -> 3800"}},
      {{"set", "7", "Mass", "3800"}, "Case 7, \"Mass\" is 3800 already.\n", "", {}},
      {{"set", "7", "Name", "--", "--x"},
       "Case 7, \"Name\": \"Ada\" -> \"--x\"\n",
       "set case 7 \"Name\" to \"--x\"",
       {"case 7, \"Name\": \"Ada\" -> \"--x\""}},
      {{"set", "9", "Ring", "4294967295"},
       "Case 9, \"Ring\": null -> 4294967295\n",
       "set case 9 \"Ring\" to 4294967295",
       {"case 9, \"Ring\": null -> 4294967295"}},
      {{"set", "9", "Ring", "--null"},
       "Case 9, \"Ring\": 4294967295 -> null\n",
       "set case 9 \"Ring\" to null",
       {"case 9, \"Ring\": 4294967295 -> null"}},
      {{"set", "9", "Case Status", "Inactive"},
       "Case 9, \"Case Status\": \"Active\" -> \"Inactive\"\n",
       "set case 9 \"Case Status\" to \"Inactive\"",
       {"variable \"Case Status\" added (text)", "case 9: Active -> Inactive"}},
      {{"set", "9", "Case ID", "4294967295"},
       "Case 9, \"Case ID\": 9 -> 4294967295\n",
       "set case 9 \"Case ID\" to 4294967295",
       {"case 9, \"Case ID\": 9 -> 4294967295"}},
      {{"add-case"}, "Added case 1.\n", "add case 1", {"case 0 added", "case 0, \"Case ID\": 0 -> 1"}},
      {{"add-case", "Name=a=b", "Case Status=Inactive"},
       "Added case 2.\n",
       "add case 2: \"Name\" \"a=b\", \"Case Status\" \"Inactive\"",
       {"case 2 added", "case 2, \"Name\": \"\" -> \"a=b\"", "case 2: Active -> Inactive"}},
      {{"add-case", "Case ID=80", "Name=", "Mass=", "Ring=", "Case Status=Active"},
       "Added case 80.\n",
       "add case 80: \"Case ID\" 80, \"Name\" \"\", \"Mass\" null and 2 more",
       {"case 3 added", "case 3, \"Case ID\": 3 -> 80"}},
      {{"add-variable", "Age", "--type", "number", "--independent", "--default", "1.5"},
       "Added variable \"Age\" (number); every case holds 1.5.\n",
       "add variable \"Age\" (number)",
       {"variable \"Age\" added (number, independent)"}},
      {{"rename", "Age", "Years"},
       "Renamed \"Age\" to \"Years\".\n",
       "rename \"Age\" to \"Years\"",
       {"variable \"Age\" renamed to \"Years\""}},
      {{"set-nature", "Years", "7"},
       "Set the nature of \"Years\" to 7.\n",
       "set nature of \"Years\" to 7",
       {"variable \"Years\": nature independent -> 7"}},
      {{"info", "--name", "Study", "--root", "/data"},
       "Name is \"Study\".\nRoot folder is \"/data\".\n",
       "info --name \"Study\" --root \"/data\"",
       {"project name: \"\" -> \"Study\"", "project root: \"\" -> \"/data\""}},
      {{"info", "--name", "Study"}, "Nothing to change.\n", "", {}},
      {{"activate", "2"}, "Case 2 is active now.\n", "activate case 2", {"case 2: Inactive -> Active"}},
      {{"activate", "2"}, "Case 2 is active already.\n", "", {}},
      {{"deactivate", "7"}, "Case 7 is inactive now.\n", "deactivate case 7", {"case 7: Active -> Inactive"}},
      {{"delete", "--case", "80"},
       "Deleted case 80; casebook undo FILE brings it back.\n",
       "delete case 80",
       {"case 80 removed"}},
      {{"delete", "--variable", "Mass"},
       "Deleted variable \"Mass\" and its 1 value; casebook undo FILE brings it back.\n",
       "delete variable \"Mass\"",
       {"variable \"Mass\" removed"}},
      {{"delete", "--variable", "Case Status"},
       "Deleted variable \"Case Status\" and its 4 values, so that every case is active now; casebook undo FILE brings "
       "it back.\n",
       "delete variable \"Case Status\"",
       {"variable \"Case Status\" removed"}},
      {{"deactivate", "2"},
       "Case 2 is inactive now.\n",
       "deactivate case 2",
       {"variable \"Case Status\" added (text)", "case 2: Active -> Inactive"}}};

  Desk desk;
  makeSmall(desk);
  std::size_t transactions = 1;
  for (Step const& step : steps) {
    auto arguments = step.arguments;
    arguments.insert(arguments.begin() + 1, "p.casebook");
    EXPECT_EQ(desk.done(arguments), step.out);
    if (step.label.empty()) continue;
    auto const log = nlohmann::json::parse(desk.done({"log", "p.casebook", "--json", "--commands", "--last", "1"}));
    auto const& entry = log.at("transactions").at(0);
    EXPECT_EQ(entry.at("sequence"), ++transactions);
    EXPECT_EQ(entry.at("label"), step.label);
    EXPECT_EQ(entry.at("changes").get<std::vector<std::string>>(), step.words);
    EXPECT_EQ(entry.at("commands"), step.words.size());
  }
  EXPECT_EQ(linesOf(desk.done({"log", "p.casebook"})).size(), transactions);
  EXPECT_EQ(desk.csv("p.casebook"),
            "Case ID,Name,Ring,Years,Case Status\n7,--x,1,1.5,Active\n4294967295,,,1.5,Active\n"
            "1,,,1.5,Active\n2,a=b,,1.5,Inactive\n");
}

TEST(Commands, AreRefusedWithReasonAndExitCode) {
  struct Case {
    std::vector<std::string> arguments;  // without the file
    int code;
    std::string err;
  };
  std::vector<Case> const cases{
      {{"set", "8", "Mass", "1"}, 1, "There is no case 8. The nearest are 7 and 9.\n"},
      {{"set", "7", "mass", "1"}, 1, "There is no variable \"mass\". Did you mean \"Mass\"?\n"},
      {{"set", "7", "Mass", "heavy"}, 1, "\"heavy\" is not a number; \"Mass\" is of type number.\n"},
      {{"set", "7", "Name", "\xff"}, 1, "\"\\xff\" is not UTF-8 at its character 1.\n"},
      {{"set", "7", "Name", "--null"}, 1, "\"Name\" is never null.\nhint: The value \"\" is the empty text.\n"},
      {{"set", "7", "Case ID", "9"}, 1, "There is a case 9 already.\n"},
      {{"set", "7", "Case Status", "asleep"}, 1, "\"Case Status\" is \"Active\" or \"Inactive\".\n"},
      {{"set", "7", "Name", "-x"},
       2,
       "The following argument was not expected: -x\nhint: For a value or a name that begins with \"-\", "
       "write -- before it: casebook set ... -- -x\n"},
      {{"set", "7", "Name", "--help"},
       2,
       "The following argument was not expected: --help\nhint: casebook set --help tells more. For a value "
       "or "
       "a name that begins with \"-\", write -- before it: casebook set ... -- -x\n"},
      {{"info", "--name", "--description", "x"},
       2,
       "--name has no value: \"--description\" is an option.\nhint: For a value that is named like an option "
       "write --name=--description\n"},
      {{"set", "7", "Name"}, 2, "VALUE is required, or --null.\nhint: casebook set --help tells more.\n"},
      {{"add-case", "Name=a", "Name=b"}, 2, "\"Name\" is given twice.\n"},
      {{"add-variable", "Mass", "--type", "text"}, 1, "There is a variable \"Mass\" already.\n"},
      {{"add-variable", "", "--type", "text"}, 1, "A variable needs a name.\n"},
      {{"add-variable", "x", "--type", "integer", "--default", "-1"},
       1,
       "--default: \"-1\" is not a whole number from 0 to 4294967295.\n"},
      {{"rename", "Case ID", "x"}, 1, "\"Case ID\" is built in and keeps its name.\n"},
      {{"set-nature", "Mass", "often"},
       2,
       "\"often\" is no nature: independent, none, or a whole number below 4294967296.\n"},
      {{"delete"}, 2, "--case ID or --variable NAME is required.\nhint: casebook delete --help tells more.\n"},
      {{"delete", "--case", "7", "--variable", "Mass"},
       2,
       "--case ID or --variable NAME, not both.\nhint: casebook delete --help tells more.\n"},
      {{"delete", "--case", "8"}, 1, "There is no case 8. The nearest are 7 and 9.\n"},
      {{"delete", "--variable", "Case ID"}, 1, "\"Case ID\" is built in and stays: it numbers the cases.\n"},
      {{"undo", "0"}, 2, "N is a whole number from 1 on.\n"},
      {{"undo", "2"}, 1, "There is only 1 transaction to undo.\n"},
      {{"redo"}, 1, "nothing to redo: nothing is undone.\n"},
      {{"export", "--csv", "-o", "hard"}, 1, "hard: This is the project's own file; the output needs another.\n"},
      {{"export", "--csv", "-o", "folder"}, 1, "folder: This is a folder.\n"},
      {{"import", "folder"}, 1, "folder: Cannot be read: Is a directory.\n"},
      {{"import", "table.csv", "--separator", "ab"},
       2,
       "--separator \"ab\": This is one ASCII character, neither a quote nor a line break.\n"},
      {{"create"}, 1, "p.casebook exists already.\n"},
      {{"exprt"},
       2,
       "There is no command \"exprt\". Did you mean \"export\"?\nhint: casebook --help lists the "
       "commands.\n"}};
  Desk desk;
  makeSmall(desk);
  std::filesystem::create_hard_link("p.casebook", "hard");
  std::filesystem::create_directory("folder");
  std::string const before = contentOf("p.casebook");
  for (Case const& c : cases) {
    auto arguments = c.arguments;
    arguments.insert(arguments.begin() + 1, "p.casebook");
    Result const result = desk.run(arguments);
    EXPECT_EQ(result.code, c.code) << c.err;
    EXPECT_EQ(result.err, "casebook: " + c.err);
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(contentOf("p.casebook"), before);
}

TEST(Show, AlignsAPartAndSaysHowMuchItIs) {
  Desk desk;
  desk.import("p.casebook", "Case ID,Größe,Name,Note\n7,5.5,日本,\"a\nb\"\n9,,Ada," + std::string(50, 'x') + "\n");
  EXPECT_EQ(desk.done({"show", "p.casebook", "--limit", "1", "--column", "Name", "--column", "Größe"}),
            "Case ID  Name  Größe\n      7  日本    5.5\n\n1 of 2 cases.\n");
  EXPECT_EQ(desk.done({"show", "p.casebook"}),
            "Case ID  Größe  Name  Note\n      7    5.5  日本  a\\nb\n      9      ·  Ada   " + std::string(39, 'x') +
                "…\n\n2 of 2 cases.\n");
  desk.width = 17;
  EXPECT_EQ(desk.done({"show", "p.casebook", "--limit", "1"}),
            "Case ID  Größe\n      7    5.5\n\n1 of 2 cases, 2 of 4 variables; --column NAME chooses others.\n");
}

TEST(Info, TellsWhatThereIs) {
  Desk desk;
  makeSmall(desk);
  desk.done({"info", "p.casebook", "--description", "Two birds"});
  auto lines = linesOf(desk.done({"info", "p.casebook"}));
  ASSERT_GT(lines.size(), 2U);
  EXPECT_EQ(lines[1].substr(0, 14), "Identity      ");
  EXPECT_EQ(lines[1].size(), 14U + 32);
  lines.erase(lines.begin() + 1);
  EXPECT_EQ(lines, (std::vector<std::string>{"File          p.casebook", "Name          -", "Description   Two birds",
                                             "Root folder   -", "Transactions  2", "Cases         2", "Files         0",
                                             "Tag groups    0", "Rules         0", "Variables     4", "",
                                             "Variable  Type     Nature  Missing", "Case ID   integer",
                                             "Name      text                   1", "Mass      number                 1",
                                             "Ring      integer                1"}));
}

TEST(Export, ReplacesAFileOnlyByAWholeOne) {
  Desk desk;
  makeSmall(desk);
  write("real.csv", "old");
  std::filesystem::permissions("real.csv", std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  std::filesystem::create_symlink("real.csv", "out.csv");
  EXPECT_EQ(desk.run({"export", "p.casebook", "--csv", "-o", "out.csv"}).out, "");
  EXPECT_TRUE(std::filesystem::is_symlink("out.csv"));
  EXPECT_EQ(contentOf("real.csv"), desk.csv("p.casebook"));
  EXPECT_EQ(std::filesystem::status("real.csv").permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  std::size_t const names = static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator{"."}, {}));
  EXPECT_EQ(names, 4U) << "p.casebook, table.csv, real.csv, out.csv";
}

TEST(Export, NamesTheTypesThatAnImportHasToBeTold) {
  Desk desk;
  std::vector<std::string> const types{"--type", "t=text",         "--type", "empty=number",
                                       "--type", "special=number", "--type", "i=integer"};
  desk.import("p.casebook", "t,empty,special,i,plain\n1,,nan,5,1.5\n2,,1,,x\n", types);
  Result const exported = desk.run({"export", "p.casebook", "--csv"});
  EXPECT_EQ(exported.err,
            "hint: To bring back every type, import with --type \"t=text\" --type \"empty=number\" --type "
            "\"special=number\" --type \"i=integer\"\n");
  desk.import("q.casebook", exported.out, types);
  EXPECT_EQ(desk.done({"export", "q.casebook", "--json"}), desk.done({"export", "p.casebook", "--json"}));
}

TEST(Damage, IsRefusedAndWhatStandsBeforeItIsGivenOut) {
  Desk desk;
  makeSmall(desk);
  std::string const table = desk.csv("p.casebook");
  std::size_t const offset = std::filesystem::file_size("p.casebook");
  desk.done({"set", "p.casebook", "7", "Name", "Eve"});
  desk.done({"set", "p.casebook", "7", "Name", "Zoe"});
  std::string bytes = contentOf("p.casebook");
  write("cut.casebook", bytes.substr(0, bytes.size() - 3));
  bytes[offset + 70] ^= 1;
  write("bad.casebook", bytes);

  std::string const place = "bad.casebook is damaged at byte " + std::to_string(offset);
  for (std::vector<std::string> const& arguments : {std::vector<std::string>{"show", "bad.casebook"},
                                                    {"export", "bad.casebook", "--csv"},
                                                    {"log", "bad.casebook"},
                                                    {"set", "bad.casebook", "7", "Name", "x"}}) {
    Result const refused = desk.run(arguments);
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err.find("casebook: " + place), 0U) << refused.err;
    EXPECT_EQ(refused.out, "");
  }
  Result const rescued = desk.run({"export", "bad.casebook", "--csv", "--until-damage"});
  EXPECT_EQ(rescued.code, 3);
  EXPECT_EQ(rescued.err.find("warning: " + place), 0U) << rescued.err;
  EXPECT_EQ(rescued.out, table);
  EXPECT_EQ(contentOf("bad.casebook"), bytes);

  Result const cut = desk.run({"show", "cut.casebook", "--column", "Name", "--limit", "1"});
  EXPECT_EQ(cut.code, 0);
  EXPECT_EQ(cut.err.find("warning: cut.casebook: The last write was cut off: "), 0U) << cut.err;
  EXPECT_EQ(cut.out, "Case ID  Name\n      7  Eve\n\n1 of 2 cases.\n");
}

TEST(Help, IsThereForEveryCommand) {
  Desk desk;
  std::string const help = desk.done({"--help"});
  EXPECT_EQ(desk.done({"help"}), help);
  for (std::string const& line : linesOf(help)) {
    if (!line.starts_with("  ") || line.find_first_of("0123456789") == 2) continue;
    std::string const name = line.substr(2, line.find(' ', 2) - 2);
    EXPECT_NE(desk.done({name, "--help"}).find("Usage: casebook " + name), std::string::npos) << name;
  }
  EXPECT_EQ(desk.run({}).code, 2);
  EXPECT_EQ(desk.run({}).err, help);
}

}  // namespace
}  // namespace casebook::cli
