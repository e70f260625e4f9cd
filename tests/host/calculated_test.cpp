#include "desk.h"

#include "csv/csv_reader.h"
#include "project/open_project.h"

#include <casebook/casebook.h>

#include <map>
#include <nlohmann/json.hpp>

namespace casebook::cli {
namespace {

using nlohmann::json;

std::string allFunctions() {
  std::string all;
  for (std::string_view const function : Expression::functions()) all.append(all.empty() ? "" : ", ").append(function);
  return all;
}

TEST(Expressions, AreShownWithTheirPlaceHoweverTheyAreWritten) {
  Desk desk;
  desk.import("p.casebook", "Mass,Sex\n2,F\n");
  auto const refusal = [&](std::string const& text) {
    return desk.run({"add-variable", "p.casebook", "New", "--expression", text}).err;
  };
  EXPECT_EQ(refusal(""), "casebook: There is no expression.\n  \n  ^\n");
  EXPECT_EQ(refusal("1\n\t+ $"), "casebook: \"$\" means nothing in an expression.\n  1\\n\\t+ $\n         ^\n");
  EXPECT_EQ(refusal("zzzzzzz(1)"), "casebook: There is no function \"zzzzzzz\".\n  zzzzzzz(1)\n  ^\nhint: There are " +
                                       allFunctions() + ".\n");
  EXPECT_EQ(refusal(std::string(200, '1') + "+日本 + " + std::string(100, '2')),
            "casebook: There is no column \"日本\".\n  …" + std::string(46, '1') + "+日本 + " + std::string(20, '2') +
                "…\n" + std::string(50, ' ') + "^\nhint: There are [Case ID], Mass, Sex, New.\n");
}

TEST(Stats, CountCasesThatShareAnIdentifierOnce) {
  Desk desk;
  desk.import("p.casebook", "Case ID,x\n5,1\n6,2\n");
  {
    CurrentProject const project;
    ProjectFile::open("p.casebook", *project).edit("share", [](Transaction& t) {
      t->setValue(t->getCaseIDColumn().lock(t), t->records().back().lock(t),
                  Variant{std::uint32_t{5}, Variant::UnsignedInteger});
    });
  }
  Result const shared = desk.run({"stats", "p.casebook", "Case ID", "--json"});
  EXPECT_EQ(json::parse(shared.out).at("values"), 1);
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
