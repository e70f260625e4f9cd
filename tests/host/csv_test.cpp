#include "csv/csv_reader.h"
#include "csv/csv_writer.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <sstream>

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

std::string written(Rows const& rows, CsvWriter::Options options) {
  std::ostringstream out;
  CsvWriter writer{out, options};
  for (auto const& row : rows) {
    for (auto const& field : row) writer.field(field);
    writer.endRow();
  }
  return out.str();
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
      {"a,b\n,\n", {{"a", "b"}, {"", ""}}},
      {"\"a\",\"\"\n\"1,\"\"2\"\"\r\n3\",4\n", {{"a", ""}, {"1,\"2\"\r\n3", "4"}}},
      {"\"a\"\r\n\"\"\"\"", {{"a"}, {"\""}}},
      {"a;b\n1,5;x\n", {{"a", "b"}, {"1,5", "x"}}, ';'},
      {"a\tb\n1\t\"\t\"\n", {{"a", "b"}, {"1", "\t"}}, '\t'},
      {std::string{"a,b\n\0,x\0y\n", 9}, {{"a", "b"}, {std::string{'\0'}, std::string{"x\0y", 3}}}},
      {"a\n" + huge + "\n\"" + huge + "\"\n", {{"a"}, {huge}, {huge}}},
      {"a\n\"\r\"\n", {{"a"}, {"\r"}}}};
  for (Case const& c : cases) EXPECT_EQ(rowsOf(CsvTable::parse(c.text, c.separator)), c.rows) << c.text.substr(0, 80);
}

TEST(Csv, SaysWhereATableIsBroken) {
  struct Case {
    std::string text;
    std::size_t line, column;
    std::string message;
  };
  std::vector<Case> const cases{
      {"", 1, 1, "The table is empty: its first line has to name the columns."},
      {"a,b\n1,2\n3\n", 3, 1, "This row has 1 field, the header has 2."},
      {"a,b\n\"x\ny\",2\n3,4,5\n", 4, 1, "This row has 3 fields, the header has 2."},
      {"a,b\n1,2\n\n3,4\n", 3, 1, "This line is empty, the header has 2 fields."},
      {"a,b\n1,\"2\n3,4\n", 2, 3, "The quote that opens this field is never closed."},
      {"a,b\n1,2\"3\n", 2, 4, "A quote within a field that does not begin with one."},
      {"a,b\n\xc3\xa9\xc3\xa9,2 \"x\"\n", 2, 6, "A quote within a field that does not begin with one."},
      {"a,b\n\"1\"2,3\n", 2, 4, "Text after the quote that closes a field; a quote within a field is doubled."},
      {"a,b\n1\r2,3\n", 2, 2, "A carriage return without a line feed; within a cell it stands in quotes."},
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
  EXPECT_EQ(decodeTable("\xef\xbb\xbf"
                        "a\xc3\xa9",
                        Encoding::Utf8),
            "a\xc3\xa9");
  EXPECT_EQ(decodeTable("\xef\xbb\xbf"
                        "a\xe9\xff",
                        Encoding::Latin1),
            "a\xc3\xa9\xc3\xbf");
  EXPECT_EQ(decodeTable("a\xe9\xff", Encoding::Bytes), "a\xe9\xff");
  std::string const broken[] = {
      "\xe9", "\xc3", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82z", "\xf0\x80\x80\x80", "\x80"};
  for (std::string const& bytes : broken) {
    try {
      (void)decodeTable(
          "one\n\xe2\x82\xac"
          "b" +
              bytes,
          Encoding::Utf8);
      ADD_FAILURE() << testing::PrintToString(bytes);
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

rc::Gen<std::string> nastyText() {
  auto const piece = rc::gen::weightedOneOf<std::string>(
      {{3, rc::gen::element<std::string>(",", ";", "\t", "\"", "\r", "\n", "\r\n", " ", "\xef\xbb\xbf", "\xc3\xa9")},
       {1, rc::gen::arbitrary<std::string>()}});
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(piece), [](std::vector<std::string> const& pieces) {
    std::string text;
    for (auto const& p : pieces) text += p;
    return text;
  });
}

RC_GTEST_PROP(Csv, ReadsBackWhatItWrote, ()) {
  auto const columns = *rc::gen::inRange<std::size_t>(1, 5);
  auto const row = rc::gen::container<std::vector<std::string>>(columns, nastyText());
  Rows const rows = *rc::gen::suchThat(rc::gen::container<Rows>(row), [](Rows const& r) { return !r.empty(); });
  CsvWriter::Options const options{*rc::gen::element(',', ';', '\t', '|'),
                                   *rc::gen::element<std::string_view>("\n", "\r\n")};
  std::string const text = written(rows, options);
  RC_ASSERT(rowsOf(CsvTable::parse(decodeTable(text, Encoding::Bytes), options.separator)) == rows);
}

}  // namespace
}  // namespace casebook::cli
