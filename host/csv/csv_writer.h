#pragma once

#include <ostream>
#include <string_view>

namespace casebook::cli {

/// Writes rows of a table as CsvTable::parse reads them. A field stands in quotes when it needs them, and when it
/// begins with what a reader may take for a byte-order mark.
class CsvWriter {
 public:
  struct Options {
    char separator = ',';
    std::string_view lineBreak = "\n";
  };

  CsvWriter(std::ostream& out, Options options) : out_{out}, options_{options} {}

  void field(std::string_view text);
  void endRow();

 private:
  [[nodiscard]] bool needsQuotes(std::string_view text) const;
  void writeQuoted(std::string_view text);

  std::ostream& out_;
  Options options_;
  std::size_t fields_ = 0;
  bool blank_ = true;  // nothing was written for this row yet
};

}  // namespace casebook::cli
