#pragma once

#include "csv/csv_reader.h"

#include <set>
#include <string>

namespace casebook::cli {

/// Words that a person declared to stand for a missing value.
using MissingWords = std::set<std::string, std::less<>>;

struct ColumnGuess {
  bool isNumber = false;
  /// The word, not one that begins like a number, that alone keeps a column of numbers from being one, and in how many
  /// cells it stands.
  std::string loneWord;
  std::size_t loneWordCount = 0;
};

/// A column is one of numbers when it has a cell that is neither empty nor missing, and `readNumber` reads every
/// such cell.
[[nodiscard]] ColumnGuess guessColumn(CsvTable const& table, std::size_t column, MissingWords const& missing);

}  // namespace casebook::cli
