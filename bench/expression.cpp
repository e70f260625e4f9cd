// Ten expressions over ten columns, from cells and into cells, on one thread.

#include <benchmark/benchmark.h>
#include <casebook/expression_executor.h>
#include <muParser.h>
#include <omp.h>

#include <bit>
#include <cmath>
#include <limits>
#include <string>

#include "table.h"
#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

constexpr u64 rows = 100'000;
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

double numberIn(Variant const& cell) {
  return cell.type() == Variant::FloatingPoint ? std::bit_cast<double>(cell.word()) : noNumber;
}
Variant cellFor(double number) { return std::isnan(number) ? Variant{} : Variant{number}; }

/// The same twice: as text, and by hand for one record. By hand NaN stands for a missing value.
struct Case {
  char const* text;
  void (*loop)(Variant const* const* in, Variant* out);
};

template <auto f>
void overRows(Variant const* const* in, Variant* out) {
  for (u64 row = 0; row < rows; ++row)
    out[row] = cellFor(f([in, row](std::size_t column) { return numberIn(in[column][row]); }));
}

// What a comparison or a choice loses: that its operands were missing.
double unlessMissing(double a, double b, double result) { return std::isnan(a) || std::isnan(b) ? noNumber : result; }

double distance(double a, double b) { return unlessMissing(a, b, a > b ? a - b : b - a); }
double within(double a, double b) { return a <= 25 || b >= 75 ? 0.0 : unlessMissing(a, b, 1.0); }
double range(double a, double b, double c) {
  return unlessMissing(a, b, std::isnan(c) ? c : std::max({a, b, c}) - std::min({a, b, c}));
}

Case const cases[] = {
    {"a + b", overRows<[](auto x) { return x(0) + x(1); }>},
    {"(a - b) / (c + 1)", overRows<[](auto x) { return (x(0) - x(1)) / (x(2) + 1); }>},
    {"d / (e / 100)^2", overRows<[](auto x) { return x(3) / ((x(4) / 100) * (x(4) / 100)); }>},
    {"sqrt(a*a + b*b)", overRows<[](auto x) { return std::sqrt(x(0) * x(0) + x(1) * x(1)); }>},
    {"a > b ? a - b : b - a", overRows<[](auto x) { return distance(x(0), x(1)); }>},
    {"max(c, d, e) - min(c, d, e)", overRows<[](auto x) { return range(x(2), x(3), x(4)); }>},
    {"(a + b + c + d + e) / 5", overRows<[](auto x) { return (x(0) + x(1) + x(2) + x(3) + x(4)) / 5; }>},
    {"c > 25 && d < 75", overRows<[](auto x) { return within(x(2), x(3)); }>},
    {"abs(a - e) * 100 / (e + 1)", overRows<[](auto x) { return std::abs(x(0) - x(4)) * 100 / (x(4) + 1); }>},
    {"ln(d + 1)", overRows<[](auto x) { return std::log(x(3) + 1); }>},
};
constexpr std::size_t equations = std::size(cases);
std::vector<std::string> const inputs{"a", "b", "c", "d", "e"};

using Column = std::vector<Variant>;

struct Sheet {
  std::vector<Column> in;
  std::vector<Column> out = std::vector<Column>(equations, Column(rows, Variant{0.0}));

  Sheet() {
    for (u64 column = 0; column < inputs.size(); ++column) {
      auto& cells = in.emplace_back();
      for (u64 row = 0; row < rows; ++row) cells.push_back(cellValue(Content::Continuous, column, row, 0));
    }
  }
};

/// What a host does that has no project: binds its columns, and executes.
void withCasebook(Sheet& sheet) {
  std::vector<ExpressionExecutor::VariableArray> bindings;
  std::vector<ExpressionExecutor::Equation> texts;
  for (std::size_t i = 0; i < inputs.size(); ++i) bindings.push_back({inputs[i], &sheet.in[i]});
  for (std::size_t i = 0; i < equations; ++i) {
    bindings.push_back({"result" + std::to_string(i), &sheet.out[i]});
    texts.emplace_back(bindings.back().name, cases[i].text);
  }
  ExpressionExecutor{}.execute(texts, bindings);
}

/// Its bulk mode, over the columns as arrays of doubles. It knows no missing values: NaN stands for them.
void withMuParser(Sheet& sheet) {
  std::vector<std::vector<double>> numbers(inputs.size(), std::vector<double>(rows));
  for (std::size_t i = 0; i < inputs.size(); ++i) std::ranges::transform(sheet.in[i], numbers[i].begin(), numberIn);
  std::vector<double> results(rows);
  for (std::size_t i = 0; i < equations; ++i) {
    mu::Parser parser;
    for (std::size_t k = 0; k < inputs.size(); ++k) parser.DefineVar(inputs[k], numbers[k].data());
    parser.SetExpr(cases[i].text);
    parser.Eval(results.data(), static_cast<int>(rows));
    std::ranges::transform(results, sheet.out[i].begin(), cellFor);
  }
}

void byHand(Sheet& sheet) {
  std::vector<Variant const*> in;
  for (auto const& column : sheet.in) in.push_back(column.data());
  for (std::size_t i = 0; i < equations; ++i) cases[i].loop(in.data(), sheet.out[i].data());
}

/// To the last digits, in which the peers may differ.
bool isSame(Variant const& a, Variant const& b) {
  if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
  return std::abs(numberIn(a) - numberIn(b)) <= 1e-12 * std::abs(numberIn(a));
}

template <auto work>
void evaluate(benchmark::State& state, bool knowsMissing) {
  Sheet sheet;
  Fastest times;
  for (auto _ : state) {
    Stopwatch const watch;
    work(sheet);
    benchmark::ClobberMemory();
    times.add(watch.cpu());
  }
  state.counters["ns/result"] = times.nanosecondsEach(static_cast<double>(equations * rows));

  Sheet expected;
  byHand(expected);
  for (std::size_t i = 0; knowsMissing && i < equations; ++i)
    if (!std::ranges::equal(sheet.out[i], expected.out[i], isSame)) state.SkipWithError(cases[i].text);
}

template <auto work>
void registerPeer(std::string const& peer, bool knowsMissing) {
  benchmark::RegisterBenchmark(("expressions/" + peer + "/" + std::to_string(rows)).c_str(),
                               [knowsMissing](benchmark::State& state) { evaluate<work>(state, knowsMissing); })
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerExpressions() {
  omp_set_num_threads(1);  // in which muParser would share its rows
  registerPeer<withCasebook>("casebook", true);
  registerPeer<byHand>("loop", true);
  registerPeer<withMuParser>("muparser", false);
}

}  // namespace casebook::bench
