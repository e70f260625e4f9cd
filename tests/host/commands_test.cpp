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

TEST(Import, GivesPenguinsBackCellForCell) {
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
       {1, rc::gen::element<std::string>("", "0", "-0", "007", "1e5", "NA", "1e400", "\"", "\r\n", "\xff", ";")},
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
  std::ostringstream text;
  CsvWriter writer{text, {}};
  for (std::size_t i = 0; i < columns; ++i) writer.field("c" + std::to_string(i));
  writer.endRow();
  for (auto const& row : rows) {
    for (auto const& cell : row) writer.field(cell);
    writer.endRow();
  }
  RC_ASSERT(desk.import("p.casebook", text.str(), {"--encoding", "bytes"}).code == 0);
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
    std::vector<std::string> options;
    std::string exported;
    std::string hint;
  };
  std::vector<Case> const cases{
      {"x,Case ID\na,4294967295\nb,0\n", {}, "Case ID,x\n4294967295,a\n0,b\n", ""},
      {"x,Case Status,y\na,Active,1\nb,Inactive,2\n",
       {},
       "Case ID,x,Case Status,y\n1,a,Active,1\n2,b,Inactive,2\n",
       ""},
      {"Case Status\nActive\n", {}, "Case ID,Case Status\n1,Active\n", ""},
      {"Case Status,x\n", {}, "Case ID,x\n", "hint: \"Case Status\" comes with the first case; it is left out here.\n"},
      {"Case ID,Case Status\nx,y\n",
       {"--rename", "Case ID=Number", "--rename", "Case Status=A=B"},
       "Case ID,Number,A=B\n1,x,y\n",
       ""},
      {"x=y,z\n1,2\n", {"--rename", "x=y=q", "--rename", "z=Case ID"}, "Case ID,q\n2,1\n", ""},
      {"x,y\nNA,NA\n1,b\n", {"--missing", "NA"}, "Case ID,x,y\n1,,\n2,1,b\n", ""},
      {"x,y\nNA,NA\n1,b\n",
       {},
       "Case ID,x,y\n1,NA,NA\n2,1,b\n",
       "hint: \"x\" is text only for the word \"NA\" in 1 cell; --missing \"NA\" reads it as missing.\n"},
      {"x,y\nnan,1\n-inf,007\n", {"--type", "x=number", "--type", "y=text"}, "Case ID,x,y\n1,nan,1\n2,-inf,007\n", ""},
      {"x,y,z\n#DIV/0!,\"1,5\",1\n1,1,1\n",
       {},
       "Case ID,x,y,z\n1,#DIV/0!,\"1,5\",1\n2,1,1,1\n",
       "hint: \"x\" is text only for the word \"#DIV/0!\" in 1 cell; --missing \"#DIV/0!\" reads it as missing.\n"},
      {"x;y\n1,5;2\n", {"--separator", ";"}, "Case ID,x,y\n1,\"1,5\",2\n", ""},
      {"x;y\n1;2\n",
       {},
       "Case ID,x;y\n1,1;2\n",
       "hint: The header is one field; --separator \";\" reads it as several.\n"},
      {"x\ty\n1\t2\n", {"--separator", "tab"}, "Case ID,x,y\n1,1,2\n", ""},
      {"n\xe9\n\xe9\n", {"--encoding", "latin1"}, "Case ID,n\xc3\xa9\n1,\xc3\xa9\n", ""},
      {"x,y\n", {}, "Case ID,x,y\n", ""},
      {"\xef\xbb\xbfx\r\n1\r\n", {}, "Case ID,x\n1,1\n", ""}};
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
    std::vector<std::string> options;
    int code;
    std::string err;
  };
  std::vector<Case> const cases{
      {"", {}, 1, "casebook: table.csv:1:1: The table is empty: its first line has to name the columns.\n"},
      {"a,b\n1\n", {}, 1, "casebook: table.csv:2:1: This row has 1 field, the header has 2.\n"},
      {"a;b\n1,5;2\n",
       {},
       1,
       "casebook: table.csv:2:1: This row has 2 fields, the header has 1.\n"
       "hint: The header is one field; --separator \";\" reads it as several.\n"},
      {"a\nb\xe9\n",
       {},
       1,
       "casebook: table.csv:2:2: The byte 0xE9 is not UTF-8 here.\n"
       "hint: --encoding latin1 reads a table in ISO 8859-1.\n"},
      {"a,,b,a,\n1,2,3,4,5\n",
       {},
       1,
       "casebook: table.csv:1:3: Column 2 has no name.\ncasebook: table.csv:1:6: Column 4 is named \"a\", as column 1 "
       "is.\n"
       "casebook: table.csv:1:8: Column 5 has no name.\n"
       "hint: Every column needs a name of its own in the header; --rename gives all columns of one name the same new "
       "one.\n"},
      {"a,\n1,2\n",
       {"--rename", "a=b"},
       1,
       "casebook: table.csv:1:3: Column 2 has no name.\nhint: --rename \"=NAME\" names the column that has no name.\n"},
      {"a\n1\n",
       {"--rename", "a=b", "--rename", "a=c"},
       2,
       "casebook: --rename \"a=c\": Another --rename renames \"a\" already.\n"},
      {"\xff\xfe"
       "a",
       {"--encoding", "latin1"},
       1,
       "casebook: table.csv:1:1: The table is in UTF-16; save the table as UTF-8.\n"},
      {std::string{"a\n\xe9\0\n", 5}, {}, 1, "casebook: table.csv:2:1: The byte 0xE9 is not UTF-8 here.\n"},
      {"Case ID\n1\n\n1\nx\n4294967296\n",
       {},
       1,
       "casebook: table.csv:3:1: This case has no \"Case ID\".\n"
       "casebook: table.csv:4:1: \"Case ID\" 1 stands on line 2 already.\n"
       "casebook: table.csv:5:1: \"Case ID\" \"x\" is not a whole number below 4294967296.\n"
       "casebook: table.csv:6:1: \"Case ID\" \"4294967296\" is not a whole number below 4294967296.\n"
       "hint: --rename \"Case ID=NAME\" brings the column in as an ordinary one.\n"},
      {"x,Case Status\n\"1\n2\",active\n1,\n",
       {},
       1,
       "casebook: table.csv:3:4: \"Case Status\" \"active\" is neither \"Active\" nor \"Inactive\".\n"
       "casebook: table.csv:4:3: \"Case Status\" \"\" is neither \"Active\" nor \"Inactive\".\n"
       "hint: --rename \"Case Status=NAME\" brings the column in as an ordinary one.\n"},
      {"x\n1\na\n007\n",
       {"--type", "x=number"},
       1,
       "casebook: table.csv:3:1: \"x\" \"a\" is not a number.\ncasebook: table.csv:4:1: \"x\" \"007\" has leading "
       "zeros.\n"},
      {"x\n1\n", {"--type", "x=date"}, 2, "casebook: --type \"x=date\": A type is number, text or integer.\n"},
      {"x\n1\n",
       {"--rename", "X=y"},
       1,
       "casebook: --rename \"X=y\": The table has no column \"X\". Did you mean \"x\"?\n"},
      {"x\n1\n",
       {"--independent", "Case ID"},
       1,
       "casebook: --independent \"Case ID\": The table has no such column. There are \"x\".\n"},
      {"x\n1\n",
       {"--separator", "ab"},
       2,
       "casebook: --separator \"ab\": This is one ASCII character, neither a quote nor a line break.\n"}};
  for (Case const& c : cases) {
    Desk desk;
    Result const result = desk.import("p.casebook", c.table, c.options);
    EXPECT_EQ(result.code, c.code) << c.table;
    EXPECT_EQ(result.err, c.err);
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
  EXPECT_EQ(desk.run({"import", "p.casebook", "-"}, "Ring\nx\n").err,
            "casebook: stdin:2:1: \"Ring\" \"x\" is not a whole number from 0 to 4294967295.\n");
  desk.done({"import", "p.casebook", "t.csv", "--independent", "Sex"});
  EXPECT_EQ(desk.csv("p.casebook"), "Case ID,Ring,Sex\n1,7,MALE\n2,,\n");
  Result const again = desk.run({"import", "p.casebook", "t.csv"});
  EXPECT_EQ(again.code, 1);
  EXPECT_EQ(again.err, "casebook: p.casebook holds 2 cases already; import fills a project that has none.\n");
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
      {{"set", "7", "Mass", ""},
       "Case 7, \"Mass\": 3800 -> null\n",
       "set case 7 \"Mass\" to null",
       {"case 7, \"Mass\": 3800 -> null"}},
      {{"set", "7", "Mass", "-5"},
       "Case 7, \"Mass\": null -> -5\n",
       "set case 7 \"Mass\" to -5",
       {"case 7, \"Mass\": null -> -5"}},
      {{"set", "7", "Name", "--", "--x"},
       "Case 7, \"Name\": \"Ada\" -> \"--x\"\n",
       "set case 7 \"Name\" to \"--x\"",
       {"case 7, \"Name\": \"Ada\" -> \"--x\""}},
      {{"set", "7", "Name", "++"},
       "Case 7, \"Name\": \"--x\" -> \"++\"\n",
       "set case 7 \"Name\" to \"++\"",
       {"case 7, \"Name\": \"--x\" -> \"++\""}},
      {{"set", "7", "Name", ""},
       "Case 7, \"Name\": \"++\" -> \"\"\n",
       "set case 7 \"Name\" to \"\"",
       {"case 7, \"Name\": \"++\" -> \"\""}},
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
      {{"info", "--name", "Study"}, "Nothing to change.\n", "", {}}};

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
            "Case ID,Name,Mass,Ring,Case Status,Years\n7,,-5,1,Active,1.5\n4294967295,,,,Inactive,1.5\n"
            "1,,,,Active,1.5\n2,a=b,,,Inactive,1.5\n80,,,,Active,1.5\n");
}

TEST(Commands, AreRefusedWithReasonAndExitCode) {
  struct Case {
    std::vector<std::string> arguments;
    int code;
    std::string err;
  };
  std::vector<Case> const cases{
      {{"set", "p.casebook", "8", "Mass", "1"}, 1, "casebook: There is no case 8. The nearest are 7 and 9.\n"},
      {{"set", "p.casebook", "x", "Mass", "1"},
       1,
       "casebook: \"x\" is not a case identifier: a whole number below 4294967296.\n"},
      {{"set", "p.casebook", "7", "mass", "1"}, 1, "casebook: There is no variable \"mass\". Did you mean \"Mass\"?\n"},
      {{"set", "p.casebook", "7", "Mass", "heavy"},
       1,
       "casebook: \"heavy\" is not a number; \"Mass\" is of type number.\n"},
      {{"set", "p.casebook", "7", "Mass", "9007199254740993"},
       1,
       "casebook: \"9007199254740993\" is a whole number beyond 2^53; \"Mass\" is of type number.\n"},
      {{"set", "p.casebook", "7", "Ring", "1.5"},
       1,
       "casebook: \"1.5\" is not a whole number from 0 to 4294967295; \"Ring\" is of type integer.\n"},
      {{"set", "p.casebook", "7", "Name", "\xff"}, 1, "casebook: \"\\xff\" is not UTF-8 at its character 1.\n"},
      {{"set", "p.casebook", "7", "Name", "--null"},
       1,
       "casebook: \"Name\" is never null.\nhint: The value \"\" is the empty text.\n"},
      {{"set", "p.casebook", "7", "Case ID", "9"}, 1, "casebook: There is a case 9 already.\n"},
      {{"set", "p.casebook", "7", "Case ID", "--null"}, 1, "casebook: \"Case ID\" is never null.\n"},
      {{"set", "p.casebook", "7", "Case ID", "4294967296"},
       1,
       "casebook: \"4294967296\" is not a case identifier: a whole number below 4294967296.\n"},
      {{"set", "p.casebook", "7", "Case Status", "asleep"},
       1,
       "casebook: \"Case Status\" is \"Active\" or \"Inactive\".\n"},
      {{"set", "p.casebook", "7", "Name", "-x"},
       2,
       "casebook: The following argument was not expected: -x\nhint: For a value or a name that begins with \"-\", "
       "write -- before it: casebook set ... -- -x\n"},
      {{"set", "p.casebook", "7", "Name", "--nlul"},
       2,
       "casebook: The following argument was not expected: --nlul\nhint: Did you mean \"--null\"?\n"},
      {{"set", "p.casebook", "7", "Name", "--help"},
       2,
       "casebook: The following argument was not expected: --help\nhint: casebook set --help tells more. For a value "
       "or "
       "a name that begins with \"-\", write -- before it: casebook set ... -- -x\n"},
      {{"info", "p.casebook", "--name", "--description", "x"},
       2,
       "casebook: --name has no value: \"--description\" is an option.\nhint: For a value that is named like an option "
       "write --name=--description\n"},
      {{"export", "p.casebook", "--csv", "-o", "--crlf"},
       2,
       "casebook: -o has no value: \"--crlf\" is an option.\nhint: For a value that is named like an option write "
       "--output=--crlf\n"},
      {{"set", "p.casebook", "7", "Name"},
       2,
       "casebook: VALUE is required, or --null.\nhint: casebook set --help tells more.\n"},
      {{"add-case", "p.casebook", "Case ID=7"}, 1, "casebook: There is a case 7 already.\n"},
      {{"add-case", "p.casebook", "Name=a", "Name=b"}, 2, "casebook: \"Name\" is given twice.\n"},
      {{"add-variable", "p.casebook", "Mass", "--type", "text"},
       1,
       "casebook: There is a variable \"Mass\" already.\n"},
      {{"add-variable", "p.casebook", "Case Status", "--type", "text"},
       1,
       "casebook: The name \"Case Status\" belongs to a built-in variable.\n"},
      {{"add-variable", "p.casebook", "", "--type", "text"}, 1, "casebook: A variable needs a name.\n"},
      {{"add-variable", "p.casebook", "x", "--type", "integer", "--default", "-1"},
       1,
       "casebook: --default: \"-1\" is not a whole number from 0 to 4294967295.\n"},
      {{"add-variable", "p.casebook", "x", "--type", "date"},
       2,
       "casebook: --type \"date\": A type is number, text or integer.\n"},
      {{"rename", "p.casebook", "Case ID", "x"}, 1, "casebook: \"Case ID\" is built in and keeps its name.\n"},
      {{"rename", "p.casebook", "Mass", "Name"}, 1, "casebook: There is a variable \"Name\" already.\n"},
      {{"set-nature", "p.casebook", "Case Status", "7"},
       1,
       "casebook: \"Case Status\" is built in and keeps its nature.\n"},
      {{"set-nature", "p.casebook", "Mass", "often"},
       2,
       "casebook: \"often\" is no nature: independent, none, or a whole number below 4294967296.\n"},
      {{"export", "p.casebook", "--csv", "-o", "p.casebook"},
       1,
       "casebook: p.casebook: This is the project's own file; the output needs another.\n"},
      {{"export", "p.casebook", "--csv", "-o", "./folder/../link"},
       1,
       "casebook: ./folder/../link: This is the project's own file; the output needs another.\n"},
      {{"export", "link", "--csv", "-o", "hard"},
       1,
       "casebook: hard: This is the project's own file; the output needs another.\n"},
      {{"export", "p.casebook", "--csv", "-o", "folder"}, 1, "casebook: folder: This is a folder.\n"},
      {{"export", "p.casebook", "--csv", "-o", "none/x"},
       1,
       "casebook: none/x: Cannot be written: No such file or directory.\n"},
      {{"import", "p.casebook", "folder"}, 1, "casebook: folder: Cannot be read: Is a directory.\n"},
      {{"import", "p.casebook", "p.casebook"}, 1, "casebook: p.casebook:1:1: The byte 0x89 is not UTF-8 here.\n"},
      {{"show", "none"},
       1,
       "casebook: Cannot open none: No such file or directory\nhint: casebook create FILE makes one.\n"},
      {{"create", ""}, 2, "casebook: The name of the project's file is empty.\n"},
      {{"create", "p.casebook"}, 1, "casebook: p.casebook exists already.\n"},
      {{"exprt", "p.casebook"},
       2,
       "casebook: There is no command \"exprt\". Did you mean \"export\"?\nhint: casebook --help lists the "
       "commands.\n"}};
  Desk desk;
  makeSmall(desk);
  std::filesystem::create_symlink("p.casebook", "link");
  std::filesystem::create_hard_link("p.casebook", "hard");
  std::filesystem::create_directory("folder");
  std::string const before = contentOf("p.casebook");
  for (Case const& c : cases) {
    Result const result = desk.run(c.arguments);
    EXPECT_EQ(result.code, c.code) << c.err;
    EXPECT_EQ(result.err, c.err);
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(contentOf("p.casebook"), before);
}

TEST(Show, PrintsAPartAndSaysHowMuchItIs) {
  Desk desk;
  makeSmall(desk);
  EXPECT_EQ(desk.done({"show", "p.casebook", "--limit", "1", "--column", "Mass", "--column", "Name"}),
            "Case ID    Mass  Name\n      7  3750.5  Ada\n\n1 of 2 cases.\n");
  EXPECT_EQ(desk.done({"show", "p.casebook"}),
            "Case ID  Name    Mass  Ring\n      7  Ada   3750.5     1\n      9             ·     ·\n\n2 of 2 cases.\n");
  desk.width = 15;
  EXPECT_EQ(desk.done({"show", "p.casebook"}),
            "Case ID  Name\n      7  Ada\n      9\n\n2 of 2 cases, 2 of 4 variables; --column NAME chooses others.\n");
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
  EXPECT_EQ(desk.run({"export", "p.casebook", "--csv", "-o", "/dev/full"}).err,
            "casebook: /dev/full: Cannot be written: No space left on device.\n");
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

  bytes[9] ^= 1;  // in the header: there is nothing before it
  write("bad.casebook", bytes);
  EXPECT_EQ(desk.run({"show", "bad.casebook"}).err,
            "casebook: bad.casebook is damaged at byte 0: its header is broken.\n");

  Result const cut = desk.run({"show", "cut.casebook", "--column", "Name", "--limit", "1"});
  EXPECT_EQ(cut.code, 0);
  EXPECT_EQ(cut.err.find("warning: cut.casebook: The last write was cut off: "), 0U) << cut.err;
  EXPECT_EQ(cut.out, "Case ID  Name\n      7  Eve\n\n1 of 2 cases.\n");
}

TEST(Commands, DoNotAskTheLocale) {
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
  };
  std::locale const before = std::locale::global(std::locale{std::locale{}, new Commas});
  Desk desk;
  desk.import("p.casebook", "Case ID,x,y\n1234567,1234.5,\"1,5\"\n");
  std::string const csv = desk.csv("p.casebook");
  std::string const json = desk.done({"export", "p.casebook", "--json"});
  std::string const shown = desk.done({"show", "p.casebook", "--limit", "1000"});
  std::string const log = desk.done({"log", "p.casebook", "--json"});
  std::locale::global(before);
  EXPECT_EQ(csv, "Case ID,x,y\n1234567,1234.5,\"1,5\"\n");
  EXPECT_EQ(nlohmann::json::parse(json).at("cases").at(0), nlohmann::json::parse(R"([1234567, 1234.5, "1,5"])"));
  EXPECT_NE(shown.find("1234567  1234.5  1,5\n\n1 of 1 case."), std::string::npos) << shown;
  EXPECT_GT(nlohmann::json::parse(log).at("transactions").at(0).at("bytes"), 100);
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
