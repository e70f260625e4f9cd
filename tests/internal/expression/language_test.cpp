#include "expression_testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace casebook {
namespace {

using test::evaluate;
using test::refusalAt;
using test::written;

std::string page() {
  std::ifstream file{CASEBOOK_DOCS "/expressions.md"};
  return {std::istreambuf_iterator<char>{file}, {}};
}

/// The record that the examples are for.
test::Columns const record{{"Age", "Weight", "Body Mass (g)", "Sex", "Ring No.", "Measured"},
                           {{4.0}, {Variant{3800u, Variant::UnsignedInteger}}, {3800.0}, {"FEMALE"}, {"A[7]"}, {{}}}};

/// What stands between the backquotes before and behind each " is " that joins two.
std::vector<std::pair<std::string, std::string>> examplesOn(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  std::vector<std::pair<std::string, std::string>> examples;
  constexpr std::string_view join = "` is `";
  for (auto at = text.find(join); at != std::string::npos; at = text.find(join, at + 1)) {
    auto const begin = text.rfind('`', at - 1) + 1;
    auto const value = at + join.size();
    examples.emplace_back(text.substr(begin, at - begin), text.substr(value, text.find('`', value) - value));
  }
  return examples;
}

TEST(Expression, ExamplesOnThePageGiveWhatItSays) {
  auto const examples = examplesOn(page());
  EXPECT_GT(examples.size(), 50u);
  for (auto const& [text, result] : examples) EXPECT_EQ(written(evaluate(text, record).front()), result) << text;
}

TEST(Expression, EveryFunctionIsOnThePage) {
  auto const text = page();
  for (auto const name : Expression::functions())
    EXPECT_NE(text.find("`" + std::string{name} + "("), std::string::npos) << name;
}

TEST(Expression, IsReadAsWritten) {
  test::Columns const columns{{"a", "länge_2", "a", "Body [x] (g)", "e", "NOT", "min", ""},
                              {{1.0}, {20.0}, {300.0}, {4.0}, {5.0}, {6.0}, {7.0}, {8.0}}};
  struct Case {
    char const* text;
    Variant value;
  } const cases[] = {
      {"a", 1.0},
      {"länge_2+a", 21.0},
      {"[Body [x]] (g)]", 4.0},
      {"e + E", 5.0 + 2.718281828459045},
      {"NOT + 1", 7.0},
      {"min + min(min, 3)", 10.0},
      {".5 + 1. + 1.5E+1 + 1e-1", 16.6},
      {"'it''s' == \"it's\"", 1.0},
      {"\"say \"\"x\"\"\" == 'say \"x\"'", 1.0},
      {"'a' < 'B'", 0.0},
      {"1 AND Not 0 and !0 && 1", 1.0},
      {"2 * not 0 > 1 + 1", 2.0},
      {"--+-a", -1.0},
      {"1 ? 0 ? 2 : 3 : 4", 3.0},
      {"(1 ? 2 : 3) + min(0 ? 1 : 5, 9)", 7.0},
      {"min(2, 0/0) + max(1, 2)", Variant::nan()},
      {"min(0/0, 2)", Variant::nan()},
      {"mod(7, -3) + 10 * mod(-7, -3) + 100 * mod(6, -3)", -12.0},
      {"isnull(0/0) + isnull(null) + isnull(1)", 1.0},
      {"if(0/0, 1, 2)", 1.0},
      {"coalesce(null, null + 1, 3, null)", 3.0},
  };
  for (auto const& [text, value] : cases) EXPECT_EQ(evaluate(text, columns).front(), value) << text;

  for (auto const& name : columns.names) {
    auto const read = Expression{Expression::written(name), columns.names}.columns();
    EXPECT_EQ(columns.names[read.at(0)], name);
  }
  Expression const expression{"e + a + min(e, a) + isnull([a])", columns.names};
  EXPECT_EQ(expression.columns(), (std::vector<std::size_t>{0, 4}));
  EXPECT_EQ(expression.text(), "e + a + min(e, a) + isnull([a])");
}

TEST(Expression, RefusesWithThePlaceAndTheReason) {
  std::vector<std::string> const names{"a", "b"};
  struct Case {
    char const* text;
    char const* refusal;
  } const cases[] = {
      {"", "0: There is no expression."},
      {"a +", "3: The expression ends where a value is expected."},
      {"a + * b", "4: A value is expected before \"*\"."},
      {"min(a,)", "6: A value is expected before \")\"."},
      {"a b", "2: An operator is expected before \"b\"."},
      {"a (b)", "0: There is no function \"a\"."},
      {"(a + (b)", "0: This \"(\" is never closed."},
      {"b + MIN(a", "4: \"min(\" is never closed."},
      {"a) + b", "1: There is no \"(\" before this \")\"."},
      {"a ? b", "2: This \"?\" needs a \":\" with the other value."},
      {"a : b", "2: There is no \"?\" before this \":\"."},
      {"1,5+1", "1: A comma separates the arguments of a function; the decimal point is a point."},
      {"a = b", "2: Nothing can be assigned here; to compare two values write \"==\"."},
      {"a <> b", "2: Unequal is written \"!=\"."},
      {"a ** 2", "2: A power is written \"^\"."},
      {"a % b", "2: What remains after a division is written \"mod(a, b)\"."},
      {"a # b", "2: \"#\" means nothing in an expression."},
      {"a + \x7F", "4: The byte 0x7F means nothing in an expression."},
      {"1e999", "0: This number is too large or too small."},
      {"a + [b", "4: This [ is never closed."},
      {"a == \"b", "5: This \" is never closed."},
      {"a + [B]", "4: There is no column \"B\"."},
      {"a\xC2\xA0+\xC2\xA0 B", "7: There is no column \"B\"."},
      {"1 + atan2(a)", "4: \"atan2\" takes 2 arguments, not 1."},
      {"sum()", "0: \"sum\" takes at least 1 argument, not 0."},
      {"abs(a, b)", "0: \"abs\" takes 1 argument, not 2."},
      {"'x'", "0: A text can only be compared, with a column or with another text."},
      {"a + 1 == ('y')", "10: A text can only be compared, with a column or with another text."},
      {"isnull('y')", "7: A text can only be compared, with a column or with another text."},
  };
  for (auto const& [text, refusal] : cases) EXPECT_EQ(refusalAt(text, names), refusal) << text;
}

std::string repeated(std::string const& part, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += part;
  return all;
}

std::string nested(std::string const& before, std::string const& inside, std::string const& after, std::size_t times) {
  return repeated(before, times) + inside + repeated(after, times);
}

TEST(Expression, LongAndNestedTextsNeedLittleStack) {
  test::Columns const columns{{"a"}, {{1.0}}};
  struct Shape {
    char const* before;
    char const* after;
    double value;
  };
  // Each nests once; the operators on the way in wait for what is inside.
  Shape const shapes[] = {{"(", ")", 1.0},    {"-", "", 1.0},        {"1^", "", 1.0},
                          {"abs(", ")", 1.0}, {"0 ? 1 : ", "", 1.0}, {"0 or 1 and 1 < 2 - 1 * 1 / (", ")", 0.0}};
  test::runOnSmallStack([&] {
    EXPECT_EQ(evaluate("a" + repeated("+a", 30000), columns).front(), Variant{30001.0});
    EXPECT_EQ(evaluate("0" + repeated("+(a)", 300), columns).front(), Variant{300.0});
    EXPECT_EQ(evaluate("sum(a+0" + repeated(",a+0", 15000) + ")", columns).front(), Variant{15001.0});
    for (auto const& [before, after, value] : shapes) {
      auto const deepest = nested(before, "a", after, 256);
      EXPECT_EQ(evaluate(deepest, columns).front(), Variant{value}) << before;
      EXPECT_TRUE(refusalAt(nested(before, "a", after, 257), {"a"})
                      .ends_with(": The expression is nested more than 256 levels deep."));
    }
    EXPECT_EQ(refusalAt(repeated(" ", 65535) + "1"), "");
    EXPECT_EQ(refusalAt(repeated(" ", 65536) + "1"), "65536: An expression is at most 65536 bytes long.");
    EXPECT_NE(refusalAt(repeated("(", 65536)), "");
  });
}

}  // namespace
}  // namespace casebook
