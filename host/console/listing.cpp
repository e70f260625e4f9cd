#include "console/listing.h"

#include "text/json_text.h"
#include "text/numbers.h"

#include <fmt/ostream.h>

namespace casebook::cli {

void Listing::add(std::vector<std::string> const& cells, nlohmann::ordered_json json) {
  ++size_;
  if (asJson_) json_.push_back(std::move(json));
  else table_.addRow(cells);
}

void Listing::print(Console& console, std::string_view file) const {
  if (asJson_) return printJson(console, file);
  Console unbounded = console;
  unbounded.width.reset();
  if (size_ > 0) {
    table_.print(unbounded);
    console.out << '\n';
  }
  fmt::print(console.out, "{}.\n", counted(size_, noun_));
}

void Listing::printJson(Console& console, std::string_view file) const {
  console.out << "{\"file\": " << jsonText(file) << ",\n \"" << noun_ << "s\": [";
  std::string_view before = "\n  ";
  for (auto const& entry : json_) {
    console.out << before << entry;
    before = ",\n  ";
  }
  console.out << "]}\n";
}

}  // namespace casebook::cli
