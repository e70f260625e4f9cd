#include "commands/command.h"
#include "console/table_view.h"
#include "project/calculated_variables.h"
#include "project/column_statistics.h"
#include "project/lookup.h"
#include "project/open_project.h"
#include "project/words.h"
#include "text/json_text.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace casebook::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string text(double number) { return Variant{number}.toString(); }
Json json(Variant const& value) { return Json::parse(jsonCell(value)); }

Json describe(Project& project, u64 variable, ColumnStatistics const& statistics) {
  auto const type = project.variableType(variable);
  Json object{{"name", jsonText(project.variableName(variable))},
              {"type", typeWord(project.variableDataType(variable))},
              {"kind", kindWord(type)}};
  if (type == VariableType::Calculated) object["expression"] = jsonText(project.variableExpression(variable));
  object["values"] = statistics.cases;
  object["missing"] = statistics.missing;
  object["distinct"] = statistics.counts.size();
  if (auto const& numbers = statistics.numbers) {
    object["minimum"] = json(numbers->minimum);
    object["maximum"] = json(numbers->maximum);
    object["mean"] = json(numbers->mean);
    object["median"] = json(numbers->median);
  }
  return object;
}

/// `length` columns filled with a bar, to an eighth of a column.
std::string bar(double length) {
  constexpr std::array<std::string_view, 8> eighths{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  auto const filled = static_cast<std::size_t>(length * 8 + 0.5);
  std::string blocks;
  for (std::size_t i = 0; i < filled / 8; ++i) blocks += "█";
  return blocks.append(eighths[filled % 8]);
}

/// A line for each interval, with a bar as long as its share of the longest.
void draw(std::vector<Interval> const& intervals, Console& console) {
  std::size_t widthFrom = 0;
  std::size_t widthTo = 0;
  for (Interval const& interval : intervals) {
    widthFrom = std::max(widthFrom, text(interval.from).size());
    widthTo = std::max(widthTo, text(interval.to).size());
  }
  std::size_t const most = std::ranges::max(intervals, {}, &Interval::cases).cases;
  std::size_t const beside = widthFrom + widthTo + fmt::formatted_size("{}", most) + 7;
  std::size_t const room = std::clamp<std::size_t>(console.width.value_or(80), beside + 10, beside + 60) - beside;
  for (Interval const& interval : intervals) {
    double const share = static_cast<double>(interval.cases) / static_cast<double>(most);
    double const least = interval.cases == 0 ? 0 : 0.125;  // one case is seen beside thousands
    fmt::print(console.out, "{:>{}} to {:>{}}  {}{}{}\n", text(interval.from), widthFrom, text(interval.to), widthTo,
               bar(std::max(least, share * static_cast<double>(room))), interval.cases == 0 ? "" : " ", interval.cases);
  }
}

class StatsCommand : public Command {
 public:
  StatsCommand() : Command{"stats", "Count values and missing ones, of all variables or of one in detail"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("VARIABLE", variable_, "The variable's name; all by default")->option_text(" ");
    app.add_flag("--json", json_, "One JSON document, of one variable with every value");
    addCount(app, "--limit", limit_, "Lists the N most frequent values of the variable; 20 by default");
    app.footer(help);
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Reading, console};
    Project& project = open.project();
    if (variable_) {
      u64 const uid = findVariable(project, *variable_).id();
      auto const statistics = ColumnStatistics::of(project, uid);
      if (json_) writeOne(project, uid, statistics, console);
      else tellOne(project, uid, statistics, console);
    } else if (json_) {
      writeAll(project, console);
    } else {
      tellAll(project, console);
    }
    auto const ids = caseIds(project);
    if (std::ranges::adjacent_find(ids) != ids.end())
      printWarning(console, "Some cases have the same \"Case ID\"; they are counted once for each value.");
    return ExitCode::Ok;
  }

 private:
  static constexpr char const* help =
      R"(Missing are nulls, nan and empty texts. Minimum, maximum, mean and median are those of the numbers that are
there. In the histogram a number on an edge counts in the interval that begins there.)";

  static void tellAll(Project& project, Console& console) {
    TableView view;
    view.addColumn("Variable");
    view.addColumn("Type");
    constexpr std::array figures{"Values", "Missing", "Distinct", "Minimum", "Maximum"};
    for (auto const* heading : figures) view.addColumn(heading, TableView::Align::Right);
    for (auto variable : project.variables()) {
      auto const statistics = ColumnStatistics::of(project, variable.id());
      auto const& numbers = statistics.numbers;
      view.addRow({project.variableName(variable.id()), typeWords(project, variable.id()),
                   fmt::format("{}", statistics.cases),
                   statistics.missing == 0 ? "" : fmt::format("{}", statistics.missing),
                   fmt::format("{}", statistics.counts.size()), numbers ? text(numbers->minimum) : "",
                   numbers ? text(numbers->maximum) : ""});
    }
    std::size_t const columns = view.print(console);
    fmt::print(console.out, "\n{}{}.\n", counted(project.records().size(), "case"),
               columns < 2 + figures.size() ? "; there is no room for all columns, --json has them" : "");
  }

  static void writeAll(Project& project, Console& console) {
    console.out << "{\"cases\": " << project.records().size() << ",\n \"variables\": [";
    std::string_view before = "\n  ";
    for (auto variable : project.variables()) {
      console.out << before << describe(project, variable.id(), ColumnStatistics::of(project, variable.id()));
      before = ",\n  ";
    }
    console.out << "]}\n";
  }

  void tellOne(Project& project, u64 uid, ColumnStatistics const& statistics, Console& console) const {
    tellHead(project, uid, statistics, console);
    constexpr std::size_t fewValues = 12;
    auto const intervals =
        statistics.counts.size() > fewValues ? histogram(statistics.numberCounts()) : std::vector<Interval>{};
    if (!intervals.empty()) {
      console.out << '\n';
      draw(intervals, console);
      tellUndrawn(statistics, console);
    }
    tellValues(statistics, console);
  }

  static void tellUndrawn(ColumnStatistics const& statistics, Console& console) {
    std::size_t undrawn = 0;
    for (auto const& [value, cases] : statistics.counts) undrawn += std::isfinite(value.doubleValue()) ? 0 : cases;
    if (undrawn > 0) fmt::print(console.out, "Without {} of infinite numbers or texts.\n", counted(undrawn, "case"));
  }

  static void tellHead(Project& project, u64 uid, ColumnStatistics const& statistics, Console& console) {
    auto const line = [&](std::string_view heading, std::string const& words) {
      fmt::print(console.out, "{:<14}{}\n", heading, words);
    };
    line("Variable", printable(project.variableName(uid)));
    line("Type", typeWords(project, uid));
    if (project.variableType(uid) == VariableType::Calculated)
      line("Expression", printable(project.variableExpression(uid)));
    line("Values", fmt::format("{} in {}", statistics.cases, counted(project.records().size(), "case")));
    line("Missing", fmt::format("{}", statistics.missing));
    line("Distinct", fmt::format("{}", statistics.counts.size()));
    if (auto const& numbers = statistics.numbers) {
      line("Range", fmt::format("{} to {}", text(numbers->minimum), text(numbers->maximum)));
      line("Mean", text(numbers->mean));
      line("Median", text(numbers->median));
    }
  }

  void tellValues(ColumnStatistics const& statistics, Console& console) const {
    auto values = statistics.counts;
    std::ranges::sort(values, [](auto const& a, auto const& b) {
      return a.cases == b.cases ? a.value < b.value : a.cases > b.cases;
    });
    std::size_t const all = values.size();
    values.resize(std::min(all, limit_));
    if (values.empty()) return;
    TableView view;
    view.addColumn("Value", statistics.numbers ? TableView::Align::Right : TableView::Align::Left);
    view.addColumn("Cases", TableView::Align::Right);
    view.addColumn("Share", TableView::Align::Right);
    for (auto const& [value, cases] : values)
      view.addRow(
          {value.toString(), fmt::format("{}", cases),
           fmt::format("{:.1f} %", 100.0 * static_cast<double>(cases) / static_cast<double>(statistics.cases))});
    console.out << '\n';
    view.print(console);
    if (values.size() < all)
      fmt::print(console.out, "\nThe {} most frequent of {}; --limit N lists more.\n", values.size(),
                 counted(all, "value"));
  }

  static void writeOne(Project& project, u64 uid, ColumnStatistics const& statistics, Console& console) {
    Json head = describe(project, uid, statistics);
    std::string const words = head.dump();
    console.out << words.substr(0, words.size() - 1) << ",\n \"counts\": [";
    std::string_view before = "\n  ";
    for (auto const& [value, cases] : statistics.counts) {
      console.out << before << Json{{"value", json(value)}, {"cases", cases}};
      before = ",\n  ";
    }
    console.out << "]}\n";
  }

  std::string file_;
  std::optional<std::string> variable_;
  bool json_ = false;
  std::size_t limit_ = 20;
};

}  // namespace

void addStatsCommands(Commands& commands) { commands.push_back(std::make_unique<StatsCommand>()); }

}  // namespace casebook::cli
