// All statistics of the table rebuilt after half of its cells changed: of each column the distinct values in ascending
// order, the cases that hold each, the number of missing values and the range.

#include "casebook_table.h"
#include "pandas_peer.h"
#include "stopwatch.h"
#include "study.h"
#include "workloads.h"

#include <atomic>
#include <functional>
#include <limits>
#include <map>
#include <ranges>
#include <set>
#include <string_view>
#include <thread>
#include <variant>

namespace casebook::bench {

namespace {

/// Calls `write(column, row, value)` for every second row, with values that differ from those of the round before.
void changeHalf(u64 records, u64 version, auto const& write) {
  for (u64 column = 1; column < studyColumns().size(); ++column)
    for (u64 row = 0; row < records; row += 2)
      write(column, row, cellValue(studyColumns()[column].content, column, row, version));
}

struct Range {
  double least = std::numeric_limits<double>::infinity();
  double greatest = -std::numeric_limits<double>::infinity();

  void add(double number) noexcept {
    least = std::min(least, number);
    greatest = std::max(greatest, number);
  }
};

/// What a column's statistics say in short.
struct Summary {
  u64 distinct = 0;
  u64 missing = 0;
  Range range;  ///< untouched for texts

  void addTo(Checksum& checksum, u64 column) const {
    checksum.addNumber(column, distinct, static_cast<double>(missing));
    if (range.least > range.greatest) return;
    checksum.addNumber(column, distinct, range.least);
    checksum.addNumber(column, distinct + 1, range.greatest);
  }
};

/// Of the first values in their order.
class FirstValues {
 public:
  template <class Values>
  void add(u64 column, Values&& values) {
    u64 place = 0;
    for (auto at = values.begin(); at != values.end() && place < compared; ++at, ++place) add(column, place, *at);
  }
  [[nodiscard]] u64 checksum() const noexcept { return checksum_.value(); }

 private:
  static constexpr u64 compared = 1000;

  void add(u64 column, u64 place, Variant const& value) { checksum_.add(column, place, value); }
  void add(u64 column, u64 place, double value) { checksum_.addNumber(column, place, value); }
  void add(u64 column, u64 place, std::string_view value) { checksum_.addText(column, place, value); }

  Checksum checksum_;
};

class Casebook : public Peer {
 public:
  explicit Casebook(u64 records) : table_{studySheet(records)}, records_{table_.records()} {
    table_.disconnectJournal();
  }

  void round(Report& report) override {
    version_ = 1 - version_;
    auto open = table_->startTransaction();
    changeHalf(records_.size(), version_, [&](u64 column, u64 row, Variant const& value) {
      table_->setValue(variables_[column], records_[row], value);
    });
    std::vector<Summary> summaries;
    Stopwatch const watch;
    open.commit();
    for (auto const& variable : variables_) summaries.push_back(ask(variable));
    report.milliseconds("all columns", watch.seconds());
    Checksum checksum;
    FirstValues first;
    for (u64 column = 0; column < summaries.size(); ++column) {
      auto const values = table_->variableUniqueValues(uidOf(variables_[column]));
      summaries[column].distinct = values.size();
      summaries[column].addTo(checksum, column);
      first.add(column, values);
    }
    report.check("statistics", checksum.value());
    report.check("first values", first.checksum());
  }

 private:
  static u64 uidOf(Variable const& variable) { return variable.getWeakPtr().id(); }

  /// The first question about a column waits until its statistics are there.
  Summary ask(Variable const& variable) {
    u64 const uid = uidOf(variable);
    Summary summary{0, table_->variableNumNullValues(uid), {}};
    if (variable.isStringType()) return summary;
    auto const [least, greatest] = table_->variableRange(uid);
    summary.range = {least, greatest};
    return summary;
  }

  CasebookTable table_;
  std::vector<Record> records_;
  std::vector<Variable> variables_ = table_.variables();
  u64 version_ = 0;
};

using Cells = std::vector<Variant>;

/// The statistics of a column in ordered containers, as one writes them first.
class MapOfSets {
 public:
  MapOfSets(Cells const& cells, Cells const& ids) {
    for (std::size_t row = 0; row < cells.size(); ++row) cases_[cells[row]].insert(ids[row].longValue());
    for (auto const& [value, held] : cases_) {
      if (value.isNull()) missing_ += held.size();
      else if (value.type() != Variant::String) range_.add(numberOf(value));
    }
  }

  [[nodiscard]] Summary summary() const { return {cases_.size() - (missing_ != 0), missing_, range_}; }
  void addTo(FirstValues& first, u64 column) const {
    first.add(column, cases_ | std::views::keys | std::views::drop(missing_ != 0 ? 1 : 0));
  }

 private:
  static double numberOf(Variant const& value) {
    return value.type() == Variant::UnsignedInteger ? static_cast<double>(value.longValue()) : value.doubleValue();
  }

  std::map<Variant, std::set<u64>> cases_;
  u64 missing_ = 0;
  Range range_;
};

void read(Variant const& cell, double& value) {
  value = cell.type() == Variant::UnsignedInteger ? static_cast<double>(cell.longValue()) : cell.doubleValue();
}
void read(Variant const& cell, std::string_view& value) { value = cell.stringValue(); }

/// The cells of a column sorted by value and case, in three arrays.
template <class Value>
class SortedCells {
 public:
  SortedCells(Cells const& cells, Cells const& caseIds) {
    std::vector<std::pair<Value, std::uint32_t>> sorted;
    sorted.reserve(cells.size());
    for (std::size_t row = 0; row < cells.size(); ++row) {
      if (cells[row].isNull()) continue;
      read(cells[row], sorted.emplace_back().first);
      sorted.back().second = static_cast<std::uint32_t>(caseIds[row].longValue());
    }
    missing_ = cells.size() - sorted.size();
    std::ranges::sort(sorted);
    ids_.reserve(sorted.size());
    for (auto const& [value, id] : sorted) {
      if (values_.empty() || values_.back() != value) {
        values_.push_back(value);
        ends_.push_back(0);
      }
      ids_.push_back(id);
      ends_.back() = static_cast<std::uint32_t>(ids_.size());
    }
  }

  [[nodiscard]] Summary summary() const {
    Summary summary{values_.size(), missing_, {}};
    if constexpr (std::is_same_v<Value, double>) summary.range = {values_.front(), values_.back()};
    return summary;
  }
  void addTo(FirstValues& first, u64 column) const { first.add(column, values_); }

 private:
  std::vector<Value> values_;
  std::vector<std::uint32_t> ends_;
  std::vector<std::uint32_t> ids_;
  u64 missing_ = 0;
};

/// The floor: numbers and texts are compared as the machine has them, and columns hold one type.
class Flat {
 public:
  Flat(Cells const& cells, Cells const& ids) : sorted_{sorted(cells, ids)} {}

  [[nodiscard]] Summary summary() const {
    return std::visit([](auto const& cells) { return cells.summary(); }, sorted_);
  }
  void addTo(FirstValues& first, u64 column) const {
    std::visit([&](auto const& cells) { cells.addTo(first, column); }, sorted_);
  }

 private:
  using Sorted = std::variant<SortedCells<double>, SortedCells<std::string_view>>;

  static Sorted sorted(Cells const& cells, Cells const& ids) {
    if (cells.back().type() == Variant::String) return SortedCells<std::string_view>{cells, ids};
    return SortedCells<double>{cells, ids};
  }

  Sorted sorted_;
};

/// Builds a `Statistics` of each column, on all processors.
template <class Statistics>
class Plain : public Peer {
 public:
  explicit Plain(u64 records) : sheet_{studySheet(records)} {}

  void round(Report& report) override {
    version_ = 1 - version_;
    changeHalf(sheet_.front().size(), version_,
               [&](u64 column, u64 row, Variant value) { sheet_[column][row] = std::move(value); });
    Stopwatch const watch;
    rebuild();
    report.milliseconds("all columns", watch.seconds());
    Checksum checksum;
    FirstValues first;
    for (u64 column = 0; column < statistics_.size(); ++column) {
      statistics_[column]->summary().addTo(checksum, column);
      statistics_[column]->addTo(first, column);
    }
    report.check("statistics", checksum.value());
    report.check("first values", first.checksum());
  }

 private:
  void rebuild() {
    std::atomic<std::size_t> next{0};
    std::vector<std::jthread> pool;
    for (unsigned thread = 0; thread < std::thread::hardware_concurrency(); ++thread)
      pool.emplace_back([&] {
        for (auto column = next++; column < sheet_.size(); column = next++)
          statistics_[column] = std::make_unique<Statistics>(sheet_[column], sheet_.front());
      });
  }

  Sheet sheet_;
  std::vector<std::unique_ptr<Statistics>> statistics_{studyColumns().size()};
  u64 version_ = 0;
};

/// What the table is in rounds of an odd and of an even number.
std::vector<Sheet> bothVersions(u64 records) {
  std::vector<Sheet> both(2, studySheet(records));
  changeHalf(records, 1, [&](u64 column, u64 row, Variant value) { both[0][column][row] = std::move(value); });
  return both;
}

}  // namespace

std::vector<Workload> statistics() {
  auto mapOfSets = contestant<Plain<MapOfSets>>("map of sets", "answers while the table stays as it is");
  mapOfSets.mostRecords = 100'000;
  return {
      {"statistics",
       "the statistics of all columns rebuilt after half of the cells changed",
       {contestant<Casebook>(library, ""),
        pandasContestant("pandas factorize, sorted", "one processor", "SortedStatistics", bothVersions),
        pandasContestant("pandas factorize", "leaves the values unordered; one processor", "Statistics", bothVersions),
        std::move(mapOfSets), contestant<Plain<Flat>>("plain", "flat arrays that nothing keeps up: the floor")},
       {10'000, 100'000, 1'000'000}}};
}

}  // namespace casebook::bench
