#include "desk.h"

#include "csv/csv_reader.h"
#include "project/open_project.h"

#include <casebook/casebook.h>

#include <map>
#include <nlohmann/json.hpp>

namespace casebook::cli {
namespace {

using Arguments = std::vector<std::string>;
using nlohmann::json;

/// Four cases: numbers, texts, missing ones.
void makeBirds(Desk& desk) {
  Result const result = desk.import("p.casebook", "Mass,Body Mass (g),Sex\n2,10,F\n0,,\n-3,0,M\n4,40,F\n");
  ASSERT_EQ(result.code, 0) << result.err;
}

Result runOn(Desk& desk, Arguments arguments) {
  arguments.insert(arguments.begin() + 1, "p.casebook");
  return desk.run(arguments);
}

std::string tables(Desk& desk) { return desk.csv("p.casebook") + desk.done({"export", "p.casebook", "--json"}); }

std::string allFunctions() {
  std::string all;
  for (std::string_view const function : Expression::functions()) all.append(all.empty() ? "" : ", ").append(function);
  return all;
}

TEST(Expressions, AreRefusedBeforeAnythingIsWrittenWithThePlaceAndTheNearestNames) {
  struct Case {
    std::string text;
    std::string err;
  };
  std::string const tooLong = std::string(200, '1') + "+日本 + " + std::string(100, '2');
  std::vector<Case> const cases{
      {"[Body Mass (g)] / Mas",
       "There is no column \"Mas\".\n  [Body Mass (g)] / Mas\n                    ^\n"
       "hint: Did you mean Mass or [Body Mass (g)]?\n"},
      {"xyzzy",
       "There is no column \"xyzzy\".\n  xyzzy\n  ^\n"
       "hint: There are [Case ID], Mass, [Body Mass (g)], Sex, New.\n"},
      {"2 * Abbs(Mass)", "There is no function \"Abbs\".\n  2 * Abbs(Mass)\n      ^\nhint: Did you mean abs?\n"},
      {"zzzzzzz(1)", "There is no function \"zzzzzzz\".\n  zzzzzzz(1)\n  ^\nhint: There are " + allFunctions() + ".\n"},
      {"'日本' == Sex +", "The expression ends where a value is expected.\n  '日本' == Sex +\n                 ^\n"},
      {"1\n\t+ $", "\"$\" means nothing in an expression.\n  1\\n\\t+ $\n         ^\n"},
      {"", "There is no expression.\n  \n  ^\n"},
      {tooLong, "There is no column \"日本\".\n  …" + std::string(46, '1') + "+日本 + " + std::string(20, '2') + "…\n" +
                    std::string(50, ' ') + "^\nhint: There are [Case ID], Mass, [Body Mass (g)], Sex, New.\n"}};
  Desk desk;
  makeBirds(desk);
  std::string const before = contentOf("p.casebook");
  for (Case const& c : cases) {
    Result const result = runOn(desk, {"add-variable", "New", "--expression", c.text});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, "casebook: " + c.err);
  }
  struct Refusal {
    Arguments arguments;
    int code;
    std::string err;
  };
  for (Refusal const& c : std::vector<Refusal>{
           {{"set-expression", "Mass", "Masss"},
            1,
            "There is no column \"Masss\".\n  Masss\n  ^\nhint: Did you mean Mass?\n"},
           {{"set-expression", "Mass", "1"},
            1,
            "\"Mass\" is not calculated; its 4 values would be replaced.\n"
            "hint: --replace does it; casebook undo FILE brings them back.\n"},
           {{"set-expression", "Sex", "if(Sex == 'F', 1, 0)", "--replace"},
            1,
            "\"Sex\" is not calculated; an expression that reads it cannot take its place.\n"
            "hint: casebook add-variable FILE NAME --expression TEXT calculates another variable from it.\n"},
           {{"set-expression", "Case ID", "1", "--replace"}, 1, "\"Case ID\" is built in and keeps its values.\n"},
           {{"set-expression", "New", "1"},
            1,
            "There is no variable \"New\". There are \"Case ID\", \"Mass\", \"Body Mass (g)\", \"Sex\".\n"},
           {{"add-variable", "Sex", "--expression", "1"}, 1, "There is a variable \"Sex\" already.\n"},
           {{"add-variable", "New"},
            2,
            "--type or --expression is required.\nhint: casebook add-variable --help tells more.\n"}}) {
    Result const result = runOn(desk, c.arguments);
    EXPECT_EQ(result.code, c.code);
    EXPECT_EQ(result.err, "casebook: " + c.err);
  }
  EXPECT_EQ(contentOf("p.casebook"), before);
}

std::string const anew = "hint: casebook set-expression FILE NAME TEXT --replace calculates it anew.\n";

std::string madeStatic(std::string const& name, std::string const& fault) {
  return "warning: \"" + name + "\" keeps its values, but is not calculated any more: " + fault + anew;
}

TEST(CalculatedVariables, FollowTheirInputsAndAreNamedWhenTheyNoLongerDo) {
  struct Step {
    Arguments arguments;
    std::string out, err;
    std::string values;  // of all variables of case 1
  };
  std::string const noMass = "There is no column \"Mass\".\n";
  std::string const noHalf = "There is no column \"Half\".\n  2 * Half\n      ^\n";
  std::vector<Step> const steps{
      {{"add-variable", "Half", "--expression", "Mass / 2", "--independent"},
       "Added variable \"Half\", calculated as \"Mass / 2\"; 4 of 4 cases have a value.\n",
       "",
       "2,10,F,1"},
      {{"add-variable", "Twice", "--expression", "2 * Half"},
       "Added variable \"Twice\", calculated as \"2 * Half\"; 4 of 4 cases have a value.\n",
       "",
       "2,10,F,1,2"},
      {{"set", "1", "Mass", "6"}, "Case 1, \"Mass\": 2 -> 6\n", "", "6,10,F,3,6"},
      {{"set-expression", "Half", "Mass / [Body Mass (g)]"},
       "\"Half\" is calculated as \"Mass / [Body Mass (g)]\"; 3 of 4 cases have a value.\n",
       "",
       "6,10,F,0.6,1.2"},
      {{"set-expression", "Half", "Mass / [Body Mass (g)]"},
       "\"Half\" is calculated like that already.\n",
       "",
       "6,10,F,0.6,1.2"},
      {{"set-expression", "Half", "Twice"},
       "\"Half\" is calculated as \"Twice\"; 0 of 4 cases have a value.\n",
       "warning: \"Half\" is worked out from \"Twice\", and that from \"Half\": none of them has a value in any "
       "case.\n",
       "6,10,F,,"},
      {{"undo"}, "Undid 6: set expression of \"Half\" to \"Twice\"\n", "", "6,10,F,0.6,1.2"},
      {{"rename", "Mass", "Weight"},
       "Renamed \"Mass\" to \"Weight\".\n",
       madeStatic("Half", noMass + "  Mass / [Body Mass (g)]\n  ^\n"),
       "6,10,F,0.6,1.2"},
      {{"set", "1", "Weight", "1"}, "Case 1, \"Weight\": 6 -> 1\n", "", "1,10,F,0.6,1.2"},
      {{"add-case"}, "Added case 5.\n", "", "1,10,F,0.6,1.2"},
      {{"set", "1", "Half", "5"}, "Case 1, \"Half\": 0.6 -> 5\n", "", "1,10,F,5,10"},
      {{"delete", "--variable", "Half"},
       "Deleted variable \"Half\" and its 3 values; casebook undo FILE brings it back.\n",
       madeStatic("Twice", noHalf),
       "1,10,F,10"},
      {{"undo"}, "Undid 12: delete variable \"Half\"\n", "", "1,10,F,5,10"},
      {{"redo"}, "Redid 12: delete variable \"Half\"\n", madeStatic("Twice", noHalf), "1,10,F,10"},
      {{"set-expression", "Sex", "--replace", "--", "-Weight"},
       "\"Sex\" is calculated as \"-Weight\"; 4 of 5 cases have a value.\n",
       "",
       "1,10,-1,10"},
      {{"undo"},
       "Undid 15: set expression of \"Sex\" to \"-Weight\"\n",
       "warning: \"Sex\" is not calculated any more.\n",
       "1,10,F,10"},
      {{"set-expression", "Twice", "Weight + 1", "--replace"},
       "\"Twice\" is calculated as \"Weight + 1\"; 4 of 5 cases have a value.\n",
       "",
       "1,10,F,2"}};
  Desk desk;
  makeBirds(desk);
  std::string const imported = tables(desk);
  for (Step const& step : steps) {
    Result const result = runOn(desk, step.arguments);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, step.out);
    EXPECT_EQ(result.err, step.err);
    EXPECT_EQ(linesOf(desk.csv("p.casebook")).at(1), "1," + step.values);
  }
  EXPECT_EQ(runOn(desk, {"set", "1", "Twice", "5"}).err,
            "casebook: \"Twice\" is computed from other variables; it cannot be set.\n"
            "hint: casebook set-expression FILE NAME TEXT changes how.\n");
  std::string const last = tables(desk);
  EXPECT_EQ(linesOf(desk.csv("p.casebook")).back(), "5,,,,");
  std::size_t const standing = 10;
  EXPECT_EQ(runOn(desk, {"undo", std::to_string(standing)}).code, 0);
  EXPECT_EQ(tables(desk), imported);
  EXPECT_EQ(runOn(desk, {"redo", std::to_string(standing)}).code, 0);
  EXPECT_EQ(tables(desk), last);
}

TEST(CalculatedVariables, AreNamedWhenTheirExpressionsMeanOtherVariables) {
  Desk desk;
  makeBirds(desk);
  runOn(desk, {"add-variable", "Double", "--expression", "Mass * e"});
  auto const meaning = [](std::string const& names) {
    return "warning: The names in the expression of \"Double\" mean other variables now: " + names + ".\n";
  };
  EXPECT_EQ(runOn(desk, {"add-variable", "e", "--type", "number"}).err, meaning("\"Mass\", \"e\""));
  EXPECT_EQ(runOn(desk, {"undo"}).err, meaning("\"Mass\""));
  EXPECT_EQ(runOn(desk, {"rename", "Sex", "Mass"}).code, 1);
  EXPECT_EQ(runOn(desk, {"set", "1", "Mass", "5"}).err, "");
  runOn(desk, {"add-variable", "empty", "--type", "number"});
  EXPECT_EQ(runOn(desk, {"set-expression", "empty", "Mass"}).code, 0);
  EXPECT_EQ(runOn(desk, {"set-expression", "Sex", "Mass"}).code, 1);
  EXPECT_EQ(runOn(desk, {"undo", "4294967296"}).err.find("\"4294967296\" is not a whole number below 4294967296."),
            10u);
}

TEST(CalculatedVariables, AreShownAsSuchAndTheirValuesReadBack) {
  Desk desk;
  makeBirds(desk);
  runOn(desk, {"add-variable", "Log", "--expression", "ln(Mass) / ([Body Mass (g)] * 0)"});
  runOn(desk, {"set-expression", "Sex", "null", "--replace"});
  EXPECT_EQ(runOn(desk, {"add-variable", "Self", "--expression", "-Self"}).err,
            "warning: \"Self\" reads itself: it has no value in any case.\n");
  runOn(desk, {"undo"});
  Result const exported = desk.run({"export", "p.casebook", "--csv"});
  EXPECT_EQ(exported.out, "Case ID,Mass,Body Mass (g),Sex,Log\n1,2,10,,inf\n2,0,,,\n3,-3,0,,nan\n4,4,40,,inf\n");
  EXPECT_EQ(exported.err, "hint: To bring back every type, import with --type \"Sex=number\" --type \"Log=number\"\n");
  desk.import("q.casebook", exported.out, {"--type", "Sex=number", "--type", "Log=number"});
  EXPECT_EQ(desk.csv("q.casebook"), exported.out);
  auto const table = json::parse(desk.done({"export", "p.casebook", "--json"}));
  EXPECT_EQ(table.at("cases").at(0), json::parse(R"([1, 2, 10, null, "inf"])"));
  EXPECT_EQ(table.at("variables").at(3), json::parse(R"({"name": "Sex", "type": "number", "nature": "none",
      "kind": "calculated", "expression": "null"})"));
  EXPECT_EQ(desk.done({"show", "p.casebook", "--limit", "1", "--column", "Log"}),
            "Case ID  Log\n      1  inf\n\n1 of 4 cases. Calculated: \"Log\".\n");
  EXPECT_EQ(linesOf(desk.done({"info", "p.casebook"})).back(),
            "Log            number, calculated                2  ln(Mass) / ([Body Mass (g)] * 0)");
}

TEST(Stats, TellOfAllVariablesAndOfOne) {
  Desk desk;
  makeBirds(desk);
  runOn(desk, {"add-variable", "Log", "--expression", "1 / Mass"});
  EXPECT_EQ(desk.done({"stats", "p.casebook"}),
            "Variable       Type                Values  Missing  Distinct              Minimum  Maximum\n"
            "Case ID        integer                  4                  4                    1        4\n"
            "Mass           number                   4                  4                   -3        4\n"
            "Body Mass (g)  number                   3        1         3                    0       40\n"
            "Sex            text                     3        1         2\n"
            "Log            number, calculated       4                  4  -0.3333333333333333      inf\n"
            "\n4 cases.\n");
  EXPECT_EQ(desk.done({"stats", "p.casebook", "Sex"}),
            "Variable      Sex\nType          text\nValues        3 in 4 cases\nMissing       1\nDistinct      2\n\n"
            "Value  Cases   Share\nF          2  66.7 %\nM          1  33.3 %\n");
  EXPECT_EQ(desk.done({"stats", "p.casebook", "Log", "--limit", "1"}),
            "Variable      Log\nType          number, calculated\nExpression    1 / Mass\nValues        4 in 4 cases\n"
            "Missing       0\nDistinct      4\nRange         -0.3333333333333333 to inf\nMean          inf\n"
            "Median        0.375\n\n              Value  Cases   Share\n-0.3333333333333333      1  25.0 %\n\n"
            "The 1 most frequent of 4 values; --limit N lists more.\n");
  EXPECT_EQ(json::parse(desk.done({"stats", "p.casebook", "Log", "--json"})),
            json::parse(R"({"name": "Log", "type": "number", "kind": "calculated", "expression": "1 / Mass",
                "values": 4, "missing": 0, "distinct": 4, "minimum": -0.3333333333333333, "maximum": "inf",
                "mean": "inf", "median": 0.375, "counts": [{"value": -0.3333333333333333, "cases": 1},
                {"value": 0.25, "cases": 1}, {"value": 0.5, "cases": 1}, {"value": "inf", "cases": 1}]})"));
  EXPECT_EQ(desk.run({"stats", "p.casebook", "mass"}).err,
            "casebook: There is no variable \"mass\". Did you mean \"Mass\" or \"Body Mass (g)\"?\n");
}

TEST(Stats, DrawNumbersAndCountCasesThatShareAnIdentifierOnce) {
  Desk desk;
  std::string table = "Case ID,x\n";
  for (int i = 0; i < 14; ++i) table += std::to_string(i) + "," + std::to_string(i * i) + "\n";
  desk.import("p.casebook", table + "20,\n21,-inf\n", {"--type", "x=number"});
  desk.width = 34;
  auto const lines = linesOf(desk.done({"stats", "p.casebook", "x"}));
  ASSERT_GT(lines.size(), 19U);
  EXPECT_EQ((std::vector<std::string>{lines.begin() + 9, lines.begin() + 19}),
            (std::vector<std::string>{"  0 to  20  ████████████████████ 5", " 20 to  40  ████████ 2",
                                      " 40 to  60  ████ 1", " 60 to  80  ████ 1", " 80 to 100  ████ 1",
                                      "100 to 120  ████ 1", "120 to 140  ████ 1", "140 to 160  ████ 1",
                                      "160 to 180  ████ 1", "Without 1 case of infinite numbers or texts."}));
  {
    CurrentProject const project;
    ProjectFile::open("p.casebook", *project).edit("share", [](Transaction& t) {
      t->addRecord();
      t->setValue(t->getCaseIDColumn().lock(t), t->records().back().lock(t),
                  Variant{std::uint32_t{5}, Variant::UnsignedInteger});
    });
  }
  Result const shared = desk.run({"stats", "p.casebook", "Case ID", "--json"});
  EXPECT_EQ(json::parse(shared.out).at("values"), 16);
  EXPECT_EQ(shared.err, "warning: Some cases have the same \"Case ID\"; they are counted once for each value.\n");
}

/// What the program answers: the stats of a variable, as JSON.
json statsOf(Desk& desk, std::string const& variable) {
  return json::parse(desk.done({"stats", "p.casebook", variable, "--json"}));
}

// Worked out by SQLite: penguins_figures.py tells how.
TEST(Stats, OfPenguinsAreWhatAnotherToolWorksOut) {
  Desk desk;
  desk.import("p.casebook", contentOf(CASEBOOK_EXAMPLES "/data/penguins.csv"));
  CsvTable const figures = CsvTable::parse(contentOf(CASEBOOK_FIGURES), ',');
  ASSERT_GT(figures.rows(), 70U);
  std::map<std::string, json> answers;
  for (std::size_t row = 0; row < figures.rows(); ++row) {
    auto const cell = [&](std::size_t column) { return std::string{figures.cell(row, column).text}; };
    std::string const variable = cell(0) + cell(1);
    if (!answers.contains(variable)) {
      if (!cell(1).empty()) desk.done({"add-variable", "p.casebook", variable, "--expression", cell(1)});
      answers[variable] = statsOf(desk, variable);
    }
    json const& answer = answers.at(variable);
    if (cell(2) == "cases") {
      auto const isMeant = [&](json const& count) {
        auto const& value = count.at("value");
        return (value.is_string() ? value.get<std::string>() : value.dump()) == cell(3);
      };
      auto const count = std::ranges::find_if(answer.at("counts"), isMeant);
      ASSERT_NE(count, answer.at("counts").end()) << variable << " " << cell(3);
      EXPECT_EQ(count->at("cases"), json::parse(cell(4))) << variable << " " << cell(3);
    } else if (cell(2) == "mean") {
      EXPECT_NEAR(answer.at("mean").get<double>() / json::parse(cell(4)).get<double>(), 1, 1e-14) << variable;
    } else {
      EXPECT_EQ(answer.at(cell(2)).get<double>(), json::parse(cell(4)).get<double>()) << variable << " " << cell(2);
    }
  }
}

}  // namespace
}  // namespace casebook::cli
