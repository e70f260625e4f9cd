#include "platform/expression/vocabulary.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace casebook::expression {

namespace {

double negative(double x) { return -x; }
double isZero(double x) { return lanes::asNumber(x == 0.0); }
double add(double a, double b) { return a + b; }
double subtract(double a, double b) { return a - b; }
double multiply(double a, double b) { return a * b; }
double divide(double a, double b) { return a / b; }
// A square is frequent, and exact to the last digit as a product.
double power(double a, double b) { return b == 2.0 ? a * a : std::pow(a, b); }

double sign(double x) { return x > 0.0 ? 1.0 : x < 0.0 ? -1.0 : x; }
// NaN goes through, as through every other function.
double smaller(double a, double b) { return a < b || a != a ? a : b; }
double larger(double a, double b) { return a > b || a != a ? a : b; }
double modulo(double a, double b) {
  double const rest = std::fmod(a, b);
  return rest != 0.0 && (rest < 0.0) != (b < 0.0) ? rest + b : rest;
}

template <class Compare, class Exchanged>
constexpr TextComparison textComparison{
    [](std::string_view a, std::string_view b) { return Compare{}(a, b); },
    compareColumns<Compare{}>,
    compareText<Compare{}>,
    compareText<Exchanged{}>,
};

template <class Compare, class Exchanged>
constexpr BinaryOperator comparison(std::string_view symbol) {
  return {symbol, Precedence::Comparison, compareNumbers<Compare{}>, &textComparison<Compare, Exchanged>};
}

using Less = std::less<>;
using LessEqual = std::less_equal<>;
using Greater = std::greater<>;
using GreaterEqual = std::greater_equal<>;
using Equal = std::equal_to<>;
using Unequal = std::not_equal_to<>;

constexpr BinaryOperator binaryOperators[] = {
    {"or", Precedence::Or, logic<true>},
    {"||", Precedence::Or, logic<true>},
    {"and", Precedence::And, logic<false>},
    {"&&", Precedence::And, logic<false>},
    comparison<Less, Greater>("<"),
    comparison<LessEqual, GreaterEqual>("<="),
    comparison<Greater, Less>(">"),
    comparison<GreaterEqual, LessEqual>(">="),
    comparison<Equal, Equal>("=="),
    comparison<Unequal, Unequal>("!="),
    {"+", Precedence::Sum, binary<add>},
    {"-", Precedence::Sum, binary<subtract>},
    {"*", Precedence::Product, binary<multiply>},
    {"/", Precedence::Product, binary<divide>},
    {"^", Precedence::Power, binary<power>},
};

constexpr PrefixOperator prefixOperators[] = {
    {"not", Precedence::Not, unary<isZero>},
    {"!", Precedence::Not, unary<isZero>},
    {"-", Precedence::Product, unary<negative>},
    {"+", Precedence::Product, nullptr},
};

constexpr NamedConstant constants[] = {
    {"pi", std::numbers::pi},
    {"e", std::numbers::e},
    {"true", 1.0},
    {"false", 0.0},
};

constexpr Function functionRows[] = {
    {"abs", 1, Form::Whole, unary<[](double x) { return std::abs(x); }>},
    {"sign", 1, Form::Whole, unary<sign>},
    {"round", 1, Form::Whole, unary<[](double x) { return std::round(x); }>},
    {"floor", 1, Form::Whole, unary<[](double x) { return std::floor(x); }>},
    {"ceil", 1, Form::Whole, unary<[](double x) { return std::ceil(x); }>},
    {"trunc", 1, Form::Whole, unary<[](double x) { return std::trunc(x); }>},
    {"mod", 2, Form::Whole, binary<modulo>},
    {"sqrt", 1, Form::Whole, unary<[](double x) { return std::sqrt(x); }>},
    {"cbrt", 1, Form::Whole, unary<[](double x) { return std::cbrt(x); }>},
    {"pow", 2, Form::Whole, binary<power>},
    {"exp", 1, Form::Whole, unary<[](double x) { return std::exp(x); }>},
    {"ln", 1, Form::Whole, unary<[](double x) { return std::log(x); }>},
    {"log", 1, Form::Whole, unary<[](double x) { return std::log(x); }>},
    {"log10", 1, Form::Whole, unary<[](double x) { return std::log10(x); }>},
    {"log2", 1, Form::Whole, unary<[](double x) { return std::log2(x); }>},
    {"sin", 1, Form::Whole, unary<[](double x) { return std::sin(x); }>},
    {"cos", 1, Form::Whole, unary<[](double x) { return std::cos(x); }>},
    {"tan", 1, Form::Whole, unary<[](double x) { return std::tan(x); }>},
    {"asin", 1, Form::Whole, unary<[](double x) { return std::asin(x); }>},
    {"acos", 1, Form::Whole, unary<[](double x) { return std::acos(x); }>},
    {"atan", 1, Form::Whole, unary<[](double x) { return std::atan(x); }>},
    {"atan2", 2, Form::Whole, binary<[](double y, double x) { return std::atan2(y, x); }>},
    {"sinh", 1, Form::Whole, unary<[](double x) { return std::sinh(x); }>},
    {"cosh", 1, Form::Whole, unary<[](double x) { return std::cosh(x); }>},
    {"tanh", 1, Form::Whole, unary<[](double x) { return std::tanh(x); }>},
    {"min", 1, Form::Folded, binary<smaller>},
    {"max", 1, Form::Folded, binary<larger>},
    {"sum", 1, Form::Folded, binary<add>},
    {"avg", 1, Form::Average, binary<add>},
    {"if", 3, Form::Whole, select},
    {"isnull", 1, Form::Test, isMissing, isMissingCell},
    {"coalesce", 1, Form::Folded, firstPresent},
};

constexpr char lowercase(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isWord(std::string_view written, std::string_view word) noexcept {
  return std::ranges::equal(written, word, {}, lowercase);
}

template <class Rows, class Name>
auto find(Rows const& rows, Name name, std::string_view written) noexcept {
  auto const* const found = std::ranges::find_if(rows, [&](auto const& row) { return isWord(written, row.*name); });
  return found == std::end(rows) ? nullptr : found;
}

}  // namespace

std::span<Function const> functions() noexcept { return functionRows; }

Function const* findFunction(std::string_view name) noexcept { return find(functionRows, &Function::name, name); }

BinaryOperator const* findBinaryOperator(std::string_view symbol) noexcept {
  return find(binaryOperators, &BinaryOperator::symbol, symbol);
}

PrefixOperator const* findPrefixOperator(std::string_view symbol) noexcept {
  return find(prefixOperators, &PrefixOperator::symbol, symbol);
}

NamedConstant const* findConstant(std::string_view name) noexcept {
  return find(constants, &NamedConstant::name, name);
}

bool isMissingValue(std::string_view name) noexcept { return isWord(name, "null"); }

Kernel division() noexcept { return binary<divide>; }

}  // namespace casebook::expression
