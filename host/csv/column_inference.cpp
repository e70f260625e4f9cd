#include "csv/column_inference.h"

#include "text/numbers.h"

namespace casebook::cli {

namespace {

// A number that was written another way, such as "1,5", is more than a word for a missing one.
bool beginsLikeNumber(std::string_view word) {
  std::size_t const first = word.find_first_not_of(" +-.,");
  return first != std::string_view::npos && word[first] >= '0' && word[first] <= '9';
}

}  // namespace

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
  bool const isHint = numbers > 0 && !beginsLikeNumber(guess.loneWord);
  return isHint ? guess : ColumnGuess{guess.isNumber, {}, 0};
}

}  // namespace casebook::cli
