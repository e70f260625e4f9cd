#include "csv/column_inference.h"

#include "text/numbers.h"

namespace casebook::cli {

ColumnGuess guessColumn(CsvTable const& table, std::size_t column, MissingWords const& missing) {
  std::size_t numbers = 0;
  ColumnGuess guess;
  for (std::size_t row = 0; row < table.rows(); ++row) {
    std::string_view const text = table.cell(row, column).text;
    if (text.empty() || missing.contains(text)) continue;
    if (readNumber(text).value) {
      ++numbers;
    } else if (guess.loneWordCount == 0 || guess.loneWord == text) {
      guess.loneWord = text;
      ++guess.loneWordCount;
    } else {
      return {};
    }
  }
  guess.isNumber = numbers > 0 && guess.loneWordCount == 0;
  bool const isHint = numbers > 0 && guess.loneWord.find_first_of("0123456789") == std::string::npos;
  return isHint ? guess : ColumnGuess{guess.isNumber, {}, 0};
}

}  // namespace casebook::cli
