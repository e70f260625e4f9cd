#include "console/table_view.h"

#include "text/utf8.h"

#include <fmt/color.h>
#include <fmt/ostream.h>

#include <algorithm>

namespace casebook::cli {
namespace {

constexpr std::size_t widest = 40;
constexpr std::size_t gap = 2;

std::string fitted(std::string_view text, TableView::Fit fit) {
  if (fit == TableView::Fit::Whole) return printable(text);
  return shortened(printable(text.substr(0, 16 * widest)), widest);
}

}  // namespace

void TableView::addColumn(std::string_view heading, Align align, Fit fit) {
  headings_.push_back(fitted(heading, fit));
  columns_.push_back({align, fit, displayWidth(headings_.back())});
}

void TableView::addRow(std::vector<std::string> const& cells) {
  Row row;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    row.push_back(fitted(cells.at(i), columns_[i].fit));
    columns_[i].width = std::max(columns_[i].width, displayWidth(row.back()));
  }
  rows_.push_back(std::move(row));
}

std::size_t TableView::print(Console& console) const {
  std::size_t const columns = console.width ? columnsWithin(*console.width) : columns_.size();
  std::string const head = line(headings_, columns);
  fmt::print(console.out, "{}\n", console.colourOut ? fmt::format(fmt::emphasis::bold, "{}", head) : head);
  for (Row const& row : rows_) fmt::print(console.out, "{}\n", line(row, columns));
  return columns;
}

std::size_t TableView::columnsWithin(std::size_t width) const {
  std::size_t used = 0;
  std::size_t columns = 0;
  for (; columns < columns_.size(); ++columns) {
    used += columns_[columns].width + (columns > 0 ? gap : 0);
    if (used > width && columns > 0) break;
  }
  return columns;
}

std::string TableView::line(Row const& row, std::size_t columns) const {
  std::string out;
  for (std::size_t i = 0; i < columns; ++i) {
    std::string const padding(columns_[i].width - displayWidth(row[i]), ' ');
    if (i > 0) out.append(gap, ' ');
    out += columns_[i].align == Align::Right ? padding + row[i] : row[i] + padding;
  }
  return out.erase(out.find_last_not_of(' ') + 1);
}

}  // namespace casebook::cli
