#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// A place in a text file, as editors count: from 1, columns in characters. Lines end with LF.
struct Place {
  std::size_t line = 1;
  std::size_t column = 1;
};

[[nodiscard]] Place placeIn(std::string_view text, std::size_t offset);

/// What is wrong with a table's text, and where.
class CsvError : public std::runtime_error {
 public:
  CsvError(Place place, std::string const& message, std::string hint = {})
      : std::runtime_error{message}, place_{place}, hint_{std::move(hint)} {}
  [[nodiscard]] Place place() const noexcept { return place_; }
  /// What the person may do about it; empty when nothing is known.
  [[nodiscard]] std::string const& hint() const noexcept { return hint_; }

 private:
  Place place_;
  std::string hint_;
};

struct CsvCell {
  std::string_view text;
  std::size_t offset = 0;  ///< of the field, its quote included, in the source
};

/// A table as its text has it: a header and rows of as many cells. The cells live as long as the table, also when it
/// is moved.
class CsvTable {
 public:
  /// Reads
  ///
  ///   table  = header *( break row ) [break]
  ///   header = row
  ///   row    = field *( separator field )      as many fields in each row
  ///   field  = *plain | quote *( not-quote | quote quote ) quote
  ///   plain  = any byte but separator, quote, CR and LF
  ///   break  = LF | CR LF
  ///
  /// Throws CsvError for anything else.
  static CsvTable parse(std::string source, char separator);

  [[nodiscard]] std::size_t columns() const noexcept { return columns_; }
  /// Without the header.
  [[nodiscard]] std::size_t rows() const noexcept { return cells_.size() / columns_ - 1; }
  [[nodiscard]] std::span<CsvCell const> header() const noexcept { return {cells_.data(), columns_}; }
  [[nodiscard]] CsvCell const& cell(std::size_t row, std::size_t column) const noexcept {
    return cells_[(row + 1) * columns_ + column];
  }
  /// Counts from the start of the source: for messages.
  [[nodiscard]] Place place(CsvCell const& cell) const { return placeIn(*source_, cell.offset); }
  /// How many lines lie between two offsets in the source.
  [[nodiscard]] std::size_t linesBetween(std::size_t from, std::size_t to) const;

 private:
  friend class CsvParser;
  CsvTable() = default;

  std::unique_ptr<std::string const> source_;
  std::deque<std::string> unescaped_;  // texts of cells with doubled quotes
  std::vector<CsvCell> cells_;         // the header first
  std::size_t columns_ = 0;
};

enum class Encoding {
  Utf8,
  Latin1,  ///< ISO 8859-1
  Bytes    ///< taken as they are
};

/// The bytes of a file as UTF-8, without a byte-order mark. Throws CsvError where they are not what the
/// encoding says; Bytes is never wrong.
[[nodiscard]] std::string decodeTable(std::string bytes, Encoding encoding);

/// The separator that a header seems to be written with when it is one field for this one: ';' or a tab.
[[nodiscard]] std::optional<char> likelierSeparator(std::string_view source, char separator);

}  // namespace casebook::cli
