#pragma once

#include "console/console.h"

#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// A table in aligned columns, for people. What is too wide is cut with "…", unless its column is to be whole; columns
/// that the terminal has no room for are left out from the right.
class TableView {
 public:
  enum class Align { Left, Right };
  enum class Fit { Cut, Whole };

  void addColumn(std::string_view heading, Align align = Align::Left, Fit fit = Fit::Cut);
  /// A cell for each column.
  void addRow(std::vector<std::string> const& cells);

  /// Returns how many columns there was room for.
  std::size_t print(Console& console) const;

 private:
  struct Column {
    Align align;
    Fit fit;
    std::size_t width;
  };
  using Row = std::vector<std::string>;

  [[nodiscard]] std::size_t columnsWithin(std::size_t width) const;
  [[nodiscard]] std::string line(Row const& row, std::size_t columns) const;

  std::vector<Column> columns_;
  Row headings_;
  std::vector<Row> rows_;
};

}  // namespace casebook::cli
