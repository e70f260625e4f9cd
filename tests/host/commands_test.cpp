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
  LocaleOfCommas const commas;
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

TEST(Import, ReadsOtherEncodingsAndSeparators) {
  Desk desk;
  EXPECT_EQ(desk.import("p.casebook", "n\xe9\n\xe9\n", {"--encoding", "latin1"}).err, "");
  EXPECT_EQ(desk.csv("p.casebook"), "Case ID,n\xc3\xa9\n1,\xc3\xa9\n");
  EXPECT_EQ(desk.import("p.casebook", "\xef\xbb\xbfx\ty\r\n1\t2\r\n", {"--separator", "tab"}).err, "");
  EXPECT_EQ(desk.csv("p.casebook"), "Case ID,x,y\n1,1,2\n");
  EXPECT_EQ(desk.import("p.casebook", "a\nb\xe9\n").err,
            "casebook: table.csv:2:2: The byte 0xE9 is not UTF-8 here.\n"
            "hint: --encoding latin1 reads a table in ISO 8859-1.\n");
  EXPECT_EQ(desk.import("p.casebook", "\xff\xfe", {"--encoding", "latin1"}).err,
            "casebook: table.csv:1:1: The table is in UTF-16; save the table as UTF-8.\n");
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

TEST(Commands, RefuseTextsThatAreNotUtf8AndTheProjectsOwnFile) {
  Desk desk;
  makeSmall(desk);
  std::filesystem::create_hard_link("p.casebook", "hard");
  EXPECT_EQ(desk.run({"set", "p.casebook", "7", "Name", "\xff"}).err,
            "casebook: \"\\xff\" is not UTF-8 at its character 1.\n");
  EXPECT_EQ(desk.run({"export", "p.casebook", "--csv", "-o", "hard"}).err,
            "casebook: hard: This is the project's own file; the output needs another.\n");
}

TEST(Show, LeavesOutColumnsThatDoNotFit) {
  Desk desk;
  desk.import("p.casebook", "Case ID,Größe,Name,Note\n7,5.5,日本,\"a\nb\"\n");
  desk.width = 19;
  EXPECT_EQ(desk.done({"show", "p.casebook"}),
            "Case ID  Größe\n      7    5.5\n\n1 of 1 case, 2 of 4 variables; --column NAME chooses others.\n");
}

TEST(Export, ReplacesAFileOnlyByAWholeOne) {
  Desk desk;
  makeSmall(desk);
  write("real.csv", "old");
  std::filesystem::permissions("real.csv", std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  std::filesystem::create_symlink("real.csv", "out.csv");
  EXPECT_EQ(desk.run({"export", "p.casebook", "--csv", "--crlf", "-o", "out.csv"}).out, "");
  EXPECT_TRUE(std::filesystem::is_symlink("out.csv"));
  EXPECT_EQ(contentOf("real.csv"), "Case ID,Name,Mass,Ring\r\n7,Ada,3750.5,1\r\n9,,,\r\n");
  EXPECT_EQ(std::filesystem::status("real.csv").permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  std::size_t const names = static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator{"."}, {}));
  EXPECT_EQ(names, 4U) << "p.casebook, table.csv, real.csv, out.csv";
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
  Result const refused = desk.run({"show", "bad.casebook"});
  EXPECT_EQ(refused.code, 1);
  EXPECT_EQ(refused.err.find("casebook: " + place), 0U) << refused.err;
  Result const rescued = desk.run({"export", "bad.casebook", "--csv", "--until-damage"});
  EXPECT_EQ(rescued.code, 3);
  EXPECT_EQ(rescued.err.find("warning: " + place), 0U) << rescued.err;
  EXPECT_EQ(rescued.out, table);
  EXPECT_EQ(contentOf("bad.casebook"), bytes);

  Result const cut = desk.run({"show", "cut.casebook", "--column", "Name", "--limit", "1"});
  EXPECT_EQ(cut.code, 0);
  EXPECT_EQ(cut.err.find("warning: cut.casebook: The last write was cut off: "), 0U) << cut.err;
  EXPECT_EQ(cut.out, "Case ID  Name\n      7  Eve\n\n1 of 2 cases.\n");
  Result const kept = desk.run({"set", "cut.casebook", "7", "Name", "Eve"});
  EXPECT_TRUE(kept.err.ends_with(" are left out. They are kept in cut.casebook.tail.\n")) << kept.err;
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
