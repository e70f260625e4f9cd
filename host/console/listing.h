#pragma once

#include "console/console.h"
#include "console/table_view.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// Things of one kind, listed as a table for people or as one JSON document.
class Listing {
 public:
  Listing(std::string_view noun, bool asJson) : noun_{noun}, asJson_{asJson} {}

  /// The table's columns. No terminal is too narrow for them: a path that is cut is none.
  [[nodiscard]] TableView& table() noexcept { return table_; }
  /// One thing, as it is told in either.
  void add(std::vector<std::string> const& cells, nlohmann::ordered_json json);

  /// The table, and below it how many there are; or `{"file": file, "<noun>s": [...]}`.
  void print(Console& console, std::string_view file) const;

 private:
  void printJson(Console& console, std::string_view file) const;

  std::string noun_;
  bool asJson_;
  TableView table_;
  std::vector<nlohmann::ordered_json> json_;
  std::size_t size_ = 0;
};

}  // namespace casebook::cli
