#include "expression_testing.h"

#include <gtest/gtest.h>
#include <muParser.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace casebook {
namespace {

std::vector<std::string> const names{"v0", "v1", "v2", "v3"};

/// Any of 0, 1, ... count - 1, also in the first and smallest cases.
std::size_t below(std::size_t count) {
  return *rc::gen::resize(rc::kNominalSize, rc::gen::inRange<std::size_t>(0, count));
}

template <class T>
T oneOf(std::vector<T> const& all) {
  return all[below(all.size())];
}

/// Shrinks to false.
bool maybe(std::size_t oneIn) { return below(oneIn) == oneIn - 1; }

/// The same expression as we write it and as the oracle does.
struct Pair {
  std::string ours;
  std::string theirs;

  Pair(std::string same) : ours{same}, theirs{std::move(same)} {}
  Pair(char const* same) : Pair{std::string{same}} {}
  Pair(std::string own, std::string other) : ours{std::move(own)}, theirs{std::move(other)} {}

  friend Pair operator+(Pair const& a, Pair const& b) { return {a.ours + b.ours, a.theirs + b.theirs}; }
};

enum class Language : std::uint8_t { OfTheOracle, Whole };

/// Random expressions: operators in a row, so that precedence decides what is done first.
class Expressions {
 public:
  explicit Expressions(Language language) : isWhole_{language == Language::Whole} {}

  Pair expression(int depth = 3) {
    auto written = operand(depth);
    for (auto more = below(4); more > 0; --more) written = written + binary() + operand(depth);
    if (depth <= 0 || !maybe(8)) return written;
    decides_ = true;
    return written + " ? " + expression(depth - 1) + " : " + expression(depth - 1);
  }

  /// Whether a missing operand does not make every result missing.
  [[nodiscard]] bool decides() const { return decides_; }

 private:
  Pair binary() {
    if (!maybe(4)) return oneOf<Pair>({" + ", " - ", "*", " / ", {"^", "**"}, "+", "-"});
    decides_ = true;
    return oneOf<Pair>({" < ", ">", "<=", ">=", "==", " != ", {" and ", " && "}, {" OR ", " || "}, "&&", "||"});
  }

  static Pair leaf() { return oneOf<Pair>({"v0", "v1", "v2", "v3", {"[v0]", "v0"}, "2", "0.5", ".25", "3e0"}); }

  Pair operand(int depth) {
    if (maybe(8)) return Pair{"-"} + unsignedOperand(depth);
    return unsignedOperand(depth);
  }

  Pair unsignedOperand(int depth) {
    if (isWhole_ && maybe(4)) return ofOursAlone(depth - 1);
    if (depth <= 0 || maybe(2)) return leaf();
    if (maybe(2)) return Pair{"("} + expression(depth - 1) + ")";
    return call(depth - 1);
  }

  Pair call(int depth) {
    // Of NaN the oracle makes a number in these; of what they are given here comes none.
    if (maybe(4)) return oneOf<Pair>({"min(", "max("}) + leaf() + ", " + leaf() + "," + leaf() + ")";
    if (maybe(8)) return Pair{"sign("} + leaf() + ")";
    if (maybe(6)) return Pair{"atan2("} + expression(depth) + ", " + expression(depth) + ")";
    // Its own sum begins with 0, and so loses the sign of -0.
    if (maybe(4)) {
      auto const [ours, begin, between, end] = oneOf<std::array<std::string, 4>>(
          {{"sum(", "((", ") + (", "))"}, {"avg(", "(((", ") + (", ")) / 2)"}, {"pow(", "((", ") ** (", "))"}});
      return Pair{ours, begin} + expression(depth) + Pair{", ", between} + expression(depth) + Pair{")", end};
    }
    if (maybe(4)) {
      decides_ = true;
      return Pair{"if(", "(("} + expression(depth) + Pair{", ", ") ? ("} + expression(depth) + Pair{",", ") : ("} +
             expression(depth) + Pair{")", "))"};
    }
    return oneOf<Pair>({"abs(", "sqrt(", "exp(", "ln(", "log(", "log10(", "sin(", "cos(", "tan(", "asin(", "acos(",
                        "atan(", "sinh(", "cosh(", "tanh("}) +
           expression(depth) + ")";
  }

  Pair ofOursAlone(int depth) {
    if (depth <= 0 || maybe(3)) return oneOf<Pair>({"null", "isnull(v0)", "isnull([v1])"});
    if (maybe(3)) return Pair{"("} + leaf() + oneOf<Pair>({" == ", "<", " >= "}) + oneOf<Pair>({"v0", "v3"}) + ")";
    if (maybe(3)) return oneOf<Pair>({"(v0 == 'x')", "('x' < v1)", "('y' >= v2)", "(v3 != 'y')"});
    auto const call = oneOf<Pair>({"coalesce(", "mod(", "min(", "coalesce(null, "});
    if (maybe(2)) return call + expression(depth) + ", " + expression(depth) + ")";
    return oneOf<Pair>({"isnull(", "(not ", "round(", "floor(", "(!"}) + expression(depth) + ")";
  }

  bool isWhole_;
  bool decides_ = false;
};

/// As many rows as blocks begin or end with; numbers among which equal ones are frequent.
test::Columns randomColumns(int textsOneIn) {
  std::mt19937 random{*rc::gen::arbitrary<unsigned>()};
  auto const draw = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
  auto const cell = [&]() -> Variant {
    if (draw(textsOneIn) == 0) return draw(2) == 0 ? "x" : "y";
    if (draw(16) == 0) return draw(2) == 0 ? Variant{} : Variant::nan();
    if (draw(8) == 0) return {static_cast<std::uint32_t>(draw(5)), Variant::UnsignedInteger};
    return (draw(33) - 16) / 4.0;
  };
  test::Columns columns{names, {}};
  auto const rows = oneOf<std::size_t>({0, 1, 63, 1023, 1024, 1025, 2049});
  for (std::size_t i = 0; i < names.size(); ++i) {
    auto& cells = columns.cells.emplace_back();
    while (cells.size() < rows) cells.push_back(cell());
  }
  return columns;
}

double numberIn(Variant const& cell) { return cell.doubleValue(); }

RC_GTEST_PROP(ExpressionProperty, NumbersAreThoseOfTheOracle, ()) {
  Expressions source{Language::OfTheOracle};
  auto const text = source.expression();
  RC_LOG() << text.ours << "\n" << text.theirs << "\n";
  auto const columns = randomColumns(32);
  auto const results = test::evaluate(text.ours, columns);

  std::array<double, 4> values{};
  mu::Parser oracle;
  oracle.EnableOptimizer(false);  // it would round differently
  // Its own power, but for squares, which we multiply.
  oracle.DefineOprt("**", [](double a, double b) { return b == 2.0 ? a * a : std::pow(a, b); }, mu::prPOW, mu::oaRIGHT);
  oracle.DefineFun("abs", [](double x) { return std::abs(x); });  // its own leaves -0 as it is
  for (std::size_t i = 0; i < names.size(); ++i) oracle.DefineVar(names[i], &values[i]);
  oracle.SetExpr(text.theirs);

  for (std::size_t row = 0; row < results.size(); ++row) {
    bool isMissing = false;
    for (std::size_t i = 0; i < names.size(); ++i) {
      values[i] = numberIn(columns.cells[i][row]);
      isMissing |= std::isnan(values[i]) && text.ours.find(names[i]) != std::string::npos;
    }
    if (isMissing && source.decides()) continue;
    RC_ASSERT(test::written(results[row]) == (isMissing ? "null" : test::written(oracle.Eval())));
  }
}

RC_GTEST_PROP(ExpressionProperty, WhateverIsWrittenIsRefusedWithItsPlaceOrWorkedOut, ()) {
  std::vector<std::string> const parts{"v0",   "[v1]",    "1", "'x'", "null", "not ", " and ",     "-",    "*",
                                       "^",    "==",      "(", ")",   ",",    "?",    ":",         "if(",  " ",
                                       "max(", "isnull(", "=", "[",   "\"",   "abs",  "coalesce(", "avg(", "\xC3\xA4"};
  std::string text;
  for (auto count = below(12); count > 0; --count) text += oneOf(parts);
  RC_LOG() << text << "\n";
  try {
    RC_ASSERT(test::evaluate(text, {{"v0", "v1"}, {{1.0}, {"x"}}}).size() == 1u);
  } catch (Expression::Error const& error) {
    RC_ASSERT(error.position() <= text.size());
  }
}

test::Columns rowAlone(test::Columns columns, std::size_t row) {
  for (auto& cells : columns.cells) cells = {cells[row]};
  return columns;
}

std::string withLiterals(std::string text, test::Columns const& columns, std::size_t row) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    auto const value = numberIn(columns.cells[i][row]);
    auto const literal = std::isnan(value) ? "null" : "(" + Variant{value}.toString() + ")";
    for (auto const& name : {"[" + names[i] + "]", names[i]})
      for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
        text.replace(at, name.size(), literal);
  }
  return text;
}

RC_GTEST_PROP(ExpressionProperty, ARowIsWhatItIsAloneAndWithLiteralsForColumns, ()) {
  auto const text = Expressions{Language::Whole}.expression().ours;
  RC_LOG() << text << "\n";
  bool const isAboutTexts = text.find('\'') != std::string::npos;
  auto const columns = randomColumns(isAboutTexts ? 2 : maybe(2) ? 8 : 1000000);
  auto const results = test::evaluate(text, columns);
  for (auto const& row : {std::size_t{0}, std::size_t{62}, std::size_t{1023}, results.size() - 1, below(2049)}) {
    if (row >= results.size()) continue;
    auto const alone = rowAlone(columns, row);
    RC_ASSERT(test::written(results[row]) == test::written(test::evaluate(text, alone).front()));
    auto const isText = [](auto const& cells) { return cells.front().type() == Variant::String; };
    if (isAboutTexts || std::ranges::any_of(alone.cells, isText)) continue;
    RC_ASSERT(test::written(results[row]) ==
              test::written(test::evaluate(withLiterals(text, columns, row), {}).front()));
  }
}

}  // namespace
}  // namespace casebook
