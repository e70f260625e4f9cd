#pragma once

#include <casebook/variant.h>

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

/// The table that every workload works on, the same in each run and for each peer.
namespace casebook::bench {

/// What the cells of a column hold.
enum class Content : std::uint8_t {
  CaseId,      ///< 1, 2, 3, ...
  Coded,       ///< numbers, some 100 different ones
  Continuous,  ///< numbers, all different
  Repeated,    ///< texts of 8 or 9 bytes, 20 different ones
  Distinct,    ///< texts of some 24 bytes, nearly all different
  Calculated,  ///< numbers, all different, none missing: where a workload has no calculated columns of its own
};

struct StudyColumn {
  std::string name;
  Content content;
  bool isKey = false;  ///< one of the three that together tell rows apart, though not all

  [[nodiscard]] bool isText() const noexcept { return content == Content::Repeated || content == Content::Distinct; }
};

/// The 50 columns: "Case ID", then "c1" to "c49" in the order of the contents above.
[[nodiscard]] std::vector<StudyColumn> const& studyColumns();

/// Turns neighbouring numbers into unrelated ones, none into the same.
[[nodiscard]] u64 scramble(u64 number) noexcept;

/// Each cell has two versions of its value, 0 and 1, that differ. One number in 50 is missing where the content may be.
/// Every text is made anew, as a host does that reads a file.
[[nodiscard]] Variant cellValue(Content content, u64 column, u64 row, u64 version);

/// The cells of a table, column by column. A number is of type FloatingPoint, or null where it is missing.
using Sheet = std::vector<std::vector<Variant>>;

/// Version 0 of so many rows, from row `first` on.
[[nodiscard]] Sheet studySheet(u64 rows, u64 first = 0);

/// The columns of a sheet and what it holds, for tables that come from elsewhere.
struct Incoming {
  std::vector<StudyColumn> columns;
  Sheet cells;
};

/// New rows, without case identifiers.
[[nodiscard]] Incoming newRows(u64 rows);
/// All rows of the table in its order; 30% of the cells beside the case identifiers differ.
[[nodiscard]] Incoming sameCases(u64 rows);
/// As many rows as the table has, without case identifiers, in another order. 8 in 10 have the keys of a row of their
/// own and 1 in 10 those of any row, and 30% of their other cells differ; 1 in 10 has new keys.
[[nodiscard]] Incoming sameKeys(u64 rows);

/// A number that two tables share when their cells are equal: null and missing are the same, texts count by their
/// CRC-32, which peers in other languages have as well.
class Checksum {
 public:
  void add(u64 column, u64 row, Variant const& cell) noexcept;
  void addNumber(u64 column, u64 row, double number) noexcept;
  void addText(u64 column, u64 row, std::string_view text) noexcept;
  void addMissing(u64 column, u64 row) noexcept { addHash(column, row, 1); }
  [[nodiscard]] u64 value() const noexcept { return sum_; }

 private:
  void addHash(u64 column, u64 row, u64 hash) noexcept { sum_ += hash * (column + 1) * (2 * row + 1); }

  u64 sum_ = 0;
};

[[nodiscard]] u64 checksumOf(Sheet const& sheet);

/// Writes a sheet for peers in other programs; little-endian:
///
///   file   = rows:u64 columns:u64 column*
///   column = 0:u64 number:f64*           NaN is missing
///          | 1:u64 length:u64 texts      each text ends in a line feed
void writeSheet(std::filesystem::path const& path, Sheet const& sheet);

}  // namespace casebook::bench
