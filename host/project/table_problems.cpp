#include "project/table_problems.h"

#include "console/messages.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>

namespace casebook::cli {

void LineNumbers::add(std::size_t line) {
  if (!ranges_.empty() && line <= ranges_.back().second + 1) {
    ranges_.back().second = line;
  } else {
    ranges_.emplace_back(line, line);
  }
}

std::string LineNumbers::words() const {
  constexpr std::size_t told = 16;
  std::string words;
  for (auto const& [first, last] : std::span{ranges_}.first(std::min(told, ranges_.size()))) {
    words += fmt::format("{}{}", words.empty() ? "" : ", ", first);
    if (last != first) words += fmt::format("-{}", last);
  }
  if (ranges_.size() > told) words += " and further ones";
  bool const isOne = ranges_.size() == 1 && ranges_.front().first == ranges_.front().second;
  return fmt::format("{} {}", isOne ? "line" : "lines", words);
}

bool TableProblems::isAmongFirst(CsvCell const& cell) {
  constexpr std::size_t told = 8;
  line_ += table_.linesBetween(std::exchange(offset_, cell.offset), cell.offset);
  if (++found_ <= told) return true;
  others_.add(line_);
  return false;
}

std::string TableProblems::at(CsvCell const& cell, std::string_view message) const {
  return cli::at(source_, table_.place(cell), message);
}

std::vector<std::string> TableProblems::sentences() const {
  auto sentences = sentences_;
  if (found_ > sentences.size())
    sentences.push_back(
        fmt::format("{}: {} more like these, on {}.", source_, found_ - sentences.size(), others_.words()));
  return sentences;
}

void TableProblems::throwIfAny(std::string const& hint) const {
  if (found_ > 0) throw Failure{sentences(), hint};
}

std::string at(std::string_view source, Place place, std::string_view message) {
  return fmt::format("{}:{}:{}: {}", source, place.line, place.column, message);
}

}  // namespace casebook::cli
