#include "csv/csv_writer.h"

#include <array>

namespace casebook::cli {

void CsvWriter::field(std::string_view text) {
  if (fields_++ > 0) out_.put(options_.separator);
  if (needsQuotes(text)) {
    writeQuoted(text);
  } else {
    out_ << text;
  }
  blank_ = fields_ == 1 && text.empty();
}

void CsvWriter::endRow() {
  // Many readers skip a blank line, which would be a row of one empty field.
  if (blank_) out_ << "\"\"";
  out_ << options_.lineBreak;
  fields_ = 0;
  blank_ = true;
}

bool CsvWriter::needsQuotes(std::string_view text) const {
  std::array<char, 4> const special{options_.separator, '"', '\r', '\n'};
  return text.find_first_of(std::string_view{special.data(), special.size()}) != std::string_view::npos ||
         text.starts_with("\xef\xbb\xbf");
}

void CsvWriter::writeQuoted(std::string_view text) {
  out_.put('"');
  for (std::size_t quote; (quote = text.find('"')) != std::string_view::npos; text.remove_prefix(quote + 1))
    out_ << text.substr(0, quote + 1) << '"';
  out_ << text;
  out_.put('"');
}

}  // namespace casebook::cli
