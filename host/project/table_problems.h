#pragma once

#include "csv/csv_reader.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace casebook::cli {

/// Line numbers that grow: "lines 10, 12-15".
class LineNumbers {
 public:
  void add(std::size_t line);

  [[nodiscard]] std::string words() const;

 private:
  std::vector<std::pair<std::size_t, std::size_t>> ranges_;
};

/// Collects what there is to say of cells, in the order in which they stand in the table: of the first few a sentence,
/// of the others the line. The table and its name are borrowed.
class TableProblems {
 public:
  TableProblems(CsvTable const& table, std::string_view source) : table_{table}, source_{source} {}

  /// `message` makes the sentence, when it is needed.
  template <class Message>
  void add(CsvCell const& cell, Message const& message) {
    if (isAmongFirst(cell)) sentences_.push_back(at(cell, message()));
  }

  [[nodiscard]] std::size_t lineOf(CsvCell const& cell) const { return table_.place(cell).line; }
  [[nodiscard]] std::size_t found() const noexcept { return found_; }

  /// The sentences, "source:line:column: message", the last of which counts the others and names their lines.
  [[nodiscard]] std::vector<std::string> sentences() const;

  /// Throws Failure with the sentences.
  void throwIfAny(std::string const& hint) const;

 private:
  bool isAmongFirst(CsvCell const& cell);
  [[nodiscard]] std::string at(CsvCell const& cell, std::string_view message) const;

  CsvTable const& table_;
  std::string_view source_;
  std::vector<std::string> sentences_;
  LineNumbers others_;
  std::size_t found_ = 0;
  std::size_t offset_ = 0;  // of the last cell
  std::size_t line_ = 1;    // where it stands
};

/// "source:line:column: message".
[[nodiscard]] std::string at(std::string_view source, Place place, std::string_view message);

}  // namespace casebook::cli
