#include "csv/csv_reader.h"

#include <gtest/gtest.h>

namespace casebook::cli {
namespace {

using Rows = std::vector<std::vector<std::string>>;

Rows rowsOf(CsvTable const& table) {
  Rows rows(1);
  for (CsvCell const& cell : table.header()) rows.front().emplace_back(cell.text);
  for (std::size_t row = 0; row < table.rows(); ++row) {
    rows.emplace_back();
    for (std::size_t i = 0; i < table.columns(); ++i) rows.back().emplace_back(table.cell(row, i).text);
  }
  return rows;
}

TEST(Csv, ReadsWhatTheGrammarAllows) {
  struct Case {
    std::string text;
    Rows rows;
    char separator = ',';
  };
  std::string const huge(300000, 'x');
  std::vector<Case> const cases{
      {"a,b\n1,2\n", {{"a", "b"}, {"1", "2"}}},
      {"a,b\r\n1,2\r\n3,4", {{"a", "b"}, {"1", "2"}, {"3", "4"}}},
      {"a,b", {{"a", "b"}}},
      {"a\n\n", {{"a"}, {""}}},
      {"\"a\",\"\"\n\"1,\"\"2\"\"\r\n3\",4\n", {{"a", ""}, {"1,\"2\"\r\n3", "4"}}},
      {"\"a\"\r\n\"\"\"\"", {{"a"}, {"\""}}},
      {std::string{"a,b\n\0,x\0y\n", 9}, {{"a", "b"}, {std::string{'\0'}, std::string{"x\0y", 3}}}},
      {"a\n" + huge + "\n\"" + huge + "\"\n", {{"a"}, {huge}, {huge}}}};
  for (Case const& c : cases) EXPECT_EQ(rowsOf(CsvTable::parse(c.text, c.separator)), c.rows) << c.text.substr(0, 80);
}

TEST(Csv, SaysWhereATableIsBroken) {
  struct Case {
    std::string text;
    std::size_t line, column;
    std::string message;
  };
  std::vector<Case> const cases{
      {"a,b\n1,2\n3\n", 3, 1, "This row has 1 field, the header has 2."},
      {"a,b\n1,2\n\n3,4\n", 3, 1, "This line is empty, the header has 2 fields."},
      {"a,b\n1,2\r", 2, 4, "A carriage return without a line feed; within a cell it stands in quotes."}};
  for (Case const& c : cases) {
    try {
      (void)CsvTable::parse(c.text, ',');
      ADD_FAILURE() << c.text;
    } catch (CsvError const& e) {
      EXPECT_EQ(e.what(), c.message) << c.text;
      EXPECT_EQ(e.place().line, c.line) << c.text;
      EXPECT_EQ(e.place().column, c.column) << c.text;
    }
  }
}

TEST(Csv, DecodesByTheEncodingThatIsSaid) {
  std::string const mark = "\xef\xbb\xbf";
  EXPECT_EQ(decodeTable(mark + "a\xc3\xa9", Encoding::Utf8), "a\xc3\xa9");
  EXPECT_EQ(decodeTable(mark + "a\xe9\xff", Encoding::Latin1), "a\xc3\xa9\xc3\xbf");
  EXPECT_EQ(decodeTable("a\xe9\xff", Encoding::Bytes), "a\xe9\xff");
  for (std::string const broken :
       {"\xe9", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82z", "\xf0\x80\x80\x80", "\x80"}) {
    try {
      (void)decodeTable("one\n\xe2\x82\xac-" + broken, Encoding::Utf8);
      ADD_FAILURE() << testing::PrintToString(broken);
    } catch (CsvError const& e) {
      EXPECT_EQ(e.place().line, 2U);
      EXPECT_EQ(e.place().column, 3U);
    }
  }
}

TEST(Csv, GuessesASeparatorOnlyFromAHeaderOfOneField) {
  EXPECT_EQ(likelierSeparator("a;b\n", ','), ';');
  EXPECT_EQ(likelierSeparator("a\tb\n", ','), '\t');
  EXPECT_EQ(likelierSeparator("a;b,c\n", ','), std::nullopt);
  EXPECT_EQ(likelierSeparator("a\nb;c\n", ','), std::nullopt);
  EXPECT_EQ(likelierSeparator("\"x,\ny\";b\n", ','), ';');
  EXPECT_EQ(likelierSeparator("a;b\n", ';'), std::nullopt);
}

}  // namespace
}  // namespace casebook::cli
