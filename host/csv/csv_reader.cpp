#include "csv/csv_reader.h"

#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace casebook::cli {

Place placeIn(std::string_view text, std::size_t offset) {
  std::string_view const before = text.substr(0, offset);
  std::size_t const lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
  return {static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1, characters(before.substr(lineStart)) + 1};
}

class CsvParser {
 public:
  CsvParser(std::string source, char separator) : special_{separator, '"', '\r', '\n'}, separator_{separator} {
    table_.source_ = std::make_unique<std::string const>(std::move(source));
    text_ = *table_.source_;
  }

  CsvTable parse() {
    if (text_.empty()) fail(0, "The table is empty: its first line has to name the columns.");
    row();
    table_.columns_ = table_.cells_.size();
    while (position_ < text_.size()) checkedRow();
    return std::move(table_);
  }

 private:
  void checkedRow() {
    std::size_t const start = position_;
    std::size_t const before = table_.cells_.size();
    row();
    std::size_t const found = table_.cells_.size() - before;
    bool const isEmpty = text_[start] == '\n' || text_[start] == '\r';
    if (isEmpty && table_.columns_ > 1)
      fail(start, fmt::format("This line is empty, the header has {} fields.", table_.columns_));
    if (found != table_.columns_)
      fail(start, fmt::format("This row has {}, the header has {}.", counted(found, "field"), table_.columns_));
  }

  void row() {
    field();
    while (takes(separator_)) field();
    lineBreak();
  }

  void field() {
    std::size_t const start = position_;
    std::string_view const text = takes('"') ? quotedField(start) : plainField();
    table_.cells_.push_back({text, start});
  }

  std::string_view plainField() {
    std::size_t const start = position_;
    position_ = std::min(text_.find_first_of(std::string_view{special_.data(), special_.size()}, start), text_.size());
    if (at('"')) fail(position_, "A quote within a field that does not begin with one.");
    return text_.substr(start, position_ - start);
  }

  std::string_view quotedField(std::size_t opening) {
    std::string* unescaped = nullptr;
    for (std::size_t from = position_;;) {
      std::size_t const quote = text_.find('"', from);
      if (quote == std::string_view::npos) fail(opening, "The quote that opens this field is never closed.");
      position_ = quote + 1;
      std::string_view const piece = text_.substr(from, quote - from);
      bool const doubled = at('"');
      if (!doubled && !unescaped) return closed(piece);
      if (!unescaped) unescaped = &table_.unescaped_.emplace_back();
      unescaped->append(piece);
      if (!doubled) return closed(*unescaped);
      unescaped->push_back('"');
      from = ++position_;
    }
  }

  std::string_view closed(std::string_view text) {
    bool const ends = position_ == text_.size() || at(separator_) || at('\n') || at('\r');
    if (!ends) fail(position_, "Text after the quote that closes a field; a quote within a field is doubled.");
    return text;
  }

  void lineBreak() {
    std::size_t const start = position_;
    bool const carriageReturn = takes('\r');
    if (!takes('\n') && carriageReturn)
      fail(start, "A carriage return without a line feed; within a cell it stands in quotes.");
  }

  [[nodiscard]] bool at(char c) const { return position_ < text_.size() && text_[position_] == c; }
  bool takes(char c) {
    bool const there = at(c);
    if (there) ++position_;
    return there;
  }
  [[noreturn]] void fail(std::size_t offset, std::string const& message) const {
    throw CsvError{placeIn(text_, offset), message};
  }

  CsvTable table_;
  std::string_view text_;
  std::size_t position_ = 0;
  std::array<char, 4> special_;
  char separator_;
};

std::size_t CsvTable::linesBetween(std::size_t from, std::size_t to) const {
  return static_cast<std::size_t>(std::ranges::count(std::string_view{*source_}.substr(from, to - from), '\n'));
}

CsvTable CsvTable::parse(std::string source, char separator) { return CsvParser{std::move(source), separator}.parse(); }

std::string decodeTable(std::string bytes, Encoding encoding) {
  if (bytes.starts_with("\xef\xbb\xbf")) bytes.erase(0, 3);
  if (encoding == Encoding::Bytes) return bytes;
  if (bytes.starts_with("\xff\xfe") || bytes.starts_with("\xfe\xff"))
    throw CsvError{{}, "The table is in UTF-16; save the table as UTF-8."};
  if (encoding == Encoding::Latin1) return latin1ToUtf8(bytes);
  std::size_t const bad = firstInvalidUtf8(bytes);
  if (bad == std::string_view::npos) return bytes;
  bool const isText = bytes.find('\0') == std::string::npos;
  throw CsvError{placeIn(bytes, bad),
                 fmt::format("The byte 0x{:02X} is not UTF-8 here.",
                             static_cast<unsigned>(static_cast<unsigned char>(bytes[bad]))),
                 isText ? "--encoding latin1 reads a table in ISO 8859-1." : ""};
}

namespace {

/// The first line without what stands in quotes.
std::string unquotedHeader(std::string_view source) {
  std::string header;
  bool quoted = false;
  for (char c : source) {
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (c == '\n') break;
    header += c;
  }
  return header;
}

}  // namespace

std::optional<char> likelierSeparator(std::string_view source, char separator) {
  std::string const header = unquotedHeader(source);
  if (header.find(separator) != std::string_view::npos) return {};
  for (char candidate : {';', '\t'})
    if (header.find(candidate) != std::string_view::npos) return candidate;
  return {};
}

}  // namespace casebook::cli
