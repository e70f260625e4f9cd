// Ten expressions over five columns of numbers, from cells of 16 bytes and into such, on one thread.

#include "pandas_peer.h"
#include "stopwatch.h"
#include "study.h"
#include "workloads.h"

#include <casebook/expression_executor.h>

#include <muParser.h>
#include <omp.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace casebook::bench {

namespace {

constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

double numberIn(Variant const& cell) {
  return cell.type() == Variant::FloatingPoint ? std::bit_cast<double>(cell.word()) : noNumber;
}
Variant cellFor(double number) { return std::isnan(number) ? Variant{} : Variant{number}; }

/// The same twice: as text, and by hand for one record. By hand NaN stands for a missing value.
struct Case {
  char const* text;
  bool losesMissing;  ///< a peer that has NaN for a missing value has another result
  void (*loop)(Variant const* const* in, Variant* out, u64 rows);
};

template <auto f>
void overRows(Variant const* const* in, Variant* out, u64 rows) {
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
    {"a + b", false, overRows<[](auto x) { return x(0) + x(1); }>},
    {"(a - b) / (c + 1)", false, overRows<[](auto x) { return (x(0) - x(1)) / (x(2) + 1); }>},
    {"d / (e / 100)^2", false, overRows<[](auto x) { return x(3) / ((x(4) / 100) * (x(4) / 100)); }>},
    {"sqrt(a*a + b*b)", false, overRows<[](auto x) { return std::sqrt(x(0) * x(0) + x(1) * x(1)); }>},
    {"a > b ? a - b : b - a", true, overRows<[](auto x) { return distance(x(0), x(1)); }>},
    {"max(c, d, e) - min(c, d, e)", true, overRows<[](auto x) { return range(x(2), x(3), x(4)); }>},
    {"(a + b + c + d + e) / 5", false, overRows<[](auto x) { return (x(0) + x(1) + x(2) + x(3) + x(4)) / 5; }>},
    {"c > 25 && d < 75", true, overRows<[](auto x) { return within(x(2), x(3)); }>},
    {"abs(a - e) * 100 / (e + 1)", false, overRows<[](auto x) { return std::abs(x(0) - x(4)) * 100 / (x(4) + 1); }>},
    {"ln(d + 1)", false, overRows<[](auto x) { return std::log(x(3) + 1); }>},
};
constexpr std::size_t equations = std::size(cases);
std::vector<std::string> const inputs{"a", "b", "c", "d", "e"};

Sheet inputSheet(u64 rows) {
  Sheet sheet;
  for (u64 column = 0; column < inputs.size(); ++column) {
    auto& cells = sheet.emplace_back();
    for (u64 row = 0; row < rows; ++row) cells.push_back(cellValue(Content::Continuous, column, row, 0));
  }
  return sheet;
}

/// Results of peers may differ in their last digits: of those that all can have, the sums are compared to nine digits.
u64 roundedSums(Sheet const& results) {
  Checksum checksum;
  for (std::size_t i = 0; i < equations; ++i) {
    if (cases[i].losesMissing) continue;
    double sum = 0;
    for (auto const& cell : results[i]) sum += cell.isNull() ? 0 : numberIn(cell);
    checksum.addNumber(i, 0, std::round(sum / std::pow(10, std::floor(std::log10(std::abs(sum))) - 8)));
  }
  return checksum.value();
}

class ExpressionPeer : public Peer {
 public:
  explicit ExpressionPeer(u64 rows)
      : in_{inputSheet(rows)}, out_(equations, std::vector<Variant>(rows, Variant{0.0})) {}

  void round(Report& report) final {
    Stopwatch const watch;
    evaluate();
    report.milliseconds("ten expressions", watch.seconds());
    report.check("sums", roundedSums(out_));
    if (!knowsMissing()) return;
    u64 missing = 0;
    for (auto const& column : out_) missing += static_cast<u64>(std::ranges::count_if(column, &Variant::isNull));
    report.check("missing results", missing);
  }

 protected:
  [[nodiscard]] u64 rows() const noexcept { return in_.front().size(); }

  Sheet in_;
  Sheet out_;

 private:
  virtual void evaluate() = 0;
  [[nodiscard]] virtual bool knowsMissing() const { return true; }
};

/// What a host does that has no project: binds its columns, and executes.
class Casebook : public ExpressionPeer {
 public:
  using ExpressionPeer::ExpressionPeer;

 private:
  void evaluate() override {
    std::vector<ExpressionExecutor::VariableArray> bindings;
    std::vector<ExpressionExecutor::Equation> texts;
    for (std::size_t i = 0; i < inputs.size(); ++i) bindings.push_back({inputs[i], &in_[i]});
    for (std::size_t i = 0; i < equations; ++i) {
      bindings.push_back({"result" + std::to_string(i), &out_[i]});
      texts.emplace_back(bindings.back().name, cases[i].text);
    }
    ExpressionExecutor{}.execute(texts, bindings);
  }
};

/// Its bulk mode, over the columns as arrays of doubles, which it is given.
class MuParser : public ExpressionPeer {
 public:
  explicit MuParser(u64 rows) : ExpressionPeer{rows}, results_(rows) {
    omp_set_num_threads(1);  // among which it would share its rows
    for (auto const& column : in_)
      std::ranges::transform(column, std::back_inserter(numbers_.emplace_back()), numberIn);
  }

 private:
  void evaluate() override {
    for (std::size_t i = 0; i < equations; ++i) {
      mu::Parser parser;
      for (std::size_t k = 0; k < inputs.size(); ++k) parser.DefineVar(inputs[k], numbers_[k].data());
      parser.SetExpr(cases[i].text);
      parser.Eval(results_.data(), static_cast<int>(rows()));
      std::ranges::transform(results_, out_[i].begin(), cellFor);
    }
  }
  [[nodiscard]] bool knowsMissing() const override { return false; }

  std::vector<std::vector<double>> numbers_;
  std::vector<double> results_;
};

class Plain : public ExpressionPeer {
 public:
  using ExpressionPeer::ExpressionPeer;

 private:
  void evaluate() override {
    std::vector<Variant const*> in;
    for (auto const& column : in_) in.push_back(column.data());
    for (std::size_t i = 0; i < equations; ++i) cases[i].loop(in.data(), out_[i].data(), rows());
  }
};

}  // namespace

std::vector<Workload> expressions() {
  return {
      {"expressions",
       "ten expressions over all records",
       {contestant<Casebook>(library, ""),
        contestant<MuParser>("muParser, bulk", "reads packed numbers; loses missing values in comparisons and choices"),
        pandasContestant("numexpr", "reads and writes packed numbers; loses missing values in comparisons and choices",
                         "Expressions", [](u64 rows) { return std::vector<Sheet>{inputSheet(rows)}; }),
        contestant<Plain>("plain", "ten loops written by hand: the floor")}}};
}

}  // namespace casebook::bench
