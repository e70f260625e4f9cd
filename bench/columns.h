#pragma once

#include "sqlite.h"

#include <casebook/casebook.h>

#include <string>
#include <utility>

namespace casebook::bench {

/// What peers answer about a column of numbers.
class Column {
 public:
  virtual ~Column() = default;

  virtual u64 count(double value) = 0;
  virtual std::pair<double, double> range() = 0;
  /// The number of the cases that hold the value, and their sum.
  virtual std::pair<u64, u64> cases(double value) = 0;
};

class CasebookColumn : public Column {
 public:
  CasebookColumn(Project& project, u64 variable) : project_{project}, variable_{variable} {}

  u64 count(double value) override { return project_.variableValueCount(variable_, Variant{value}); }
  std::pair<double, double> range() override { return project_.variableRange(variable_); }
  std::pair<u64, u64> cases(double value) override {
    auto const cases = project_.variableCaseIDs(variable_, Variant{value});
    u64 sum = 0;
    for (u64 const id : cases) sum += id;
    return {cases.size(), sum};
  }

 private:
  Project& project_;
  u64 variable_;
};

/// Of a table "t" in which it has an index.
class SqliteColumn : public Column {
 public:
  SqliteColumn(sqlite::Database& database, std::string const& name)
      : count_{database.prepare("SELECT count(*) FROM t WHERE " + name + " = ?")},
        range_{database.prepare("SELECT (SELECT min(" + name + ") FROM t), (SELECT max(" + name + ") FROM t)")},
        cases_{database.prepare("SELECT id FROM t WHERE " + name + " = ?")} {}

  u64 count(double value) override {
    count_.bind(1, value);
    count_.step();
    u64 const count = count_.integer(0);
    count_.reset();
    return count;
  }
  std::pair<double, double> range() override {
    range_.step();
    std::pair const range{range_.number(0), range_.number(1)};
    range_.reset();
    return range;
  }
  std::pair<u64, u64> cases(double value) override {
    cases_.bind(1, value);
    std::pair<u64, u64> cases;
    for (; cases_.step(); ++cases.first) cases.second += cases_.integer(0);
    cases_.reset();
    return cases;
  }

 private:
  sqlite::Statement count_;
  sqlite::Statement range_;
  sqlite::Statement cases_;
};

}  // namespace casebook::bench
