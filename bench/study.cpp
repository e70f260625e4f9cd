#include "study.h"

#include <libdeflate.h>

#include <bit>
#include <fstream>
#include <limits>
#include <numeric>

namespace casebook::bench {

namespace {

constexpr u64 seed = 20240229;

struct Group {
  Content content;
  std::size_t columns;
};
constexpr Group groups[] = {{Content::CaseId, 1},    {Content::Coded, 10},   {Content::Continuous, 15},
                            {Content::Repeated, 10}, {Content::Distinct, 4}, {Content::Calculated, 10}};

double fraction(u64 draw) { return static_cast<double>(scramble(draw) >> 11) * 0x1p-53; }

u64 drawFor(u64 column, u64 row) { return scramble(scramble(seed + column) + row); }

/// The version that an incoming cell has: the other one in 3 of 10.
u64 incomingVersion(u64 column, u64 row) { return scramble(drawFor(column, row)) % 10 < 3 ? 1 : 0; }

std::vector<StudyColumn> withoutCaseIds() {
  auto columns = studyColumns();
  columns.erase(columns.begin());
  return columns;
}

/// Calls `cell(column, row)` for every cell of a sheet; columns count as in the study.
template <class Cell>
Sheet fill(u64 firstColumn, u64 rows, Cell cell) {
  Sheet sheet;
  for (u64 column = firstColumn; column < studyColumns().size(); ++column) {
    auto& cells = sheet.emplace_back();
    cells.reserve(rows);
    for (u64 row = 0; row < rows; ++row) cells.push_back(cell(column, row));
  }
  return sheet;
}

Variant cellOf(u64 column, u64 row, u64 version) {
  return cellValue(studyColumns()[column].content, column, row, version);
}

/// Steps through all rows in an order far from their own.
u64 shuffled(u64 row, u64 rows) {
  u64 step = rows * 5 / 8 + 1;
  while (std::gcd(step, rows) != 1) ++step;
  return row * step % rows;
}

/// The row of the table that an incoming row stands for.
u64 sourceOf(u64 row, u64 rows) {
  u64 const draw = drawFor(studyColumns().size(), row);
  return draw % 10 == 1 ? draw / 10 % rows : shuffled(row, rows);
}
bool hasNewKeys(u64 row) { return drawFor(studyColumns().size(), row) % 10 == 0; }

void writeWord(std::ostream& file, u64 word) { file.write(reinterpret_cast<char const*>(&word), sizeof word); }

void writeTexts(std::ostream& file, std::vector<Variant> const& column) {
  std::string texts;
  for (auto const& cell : column) texts += cell.stringValue() + '\n';
  writeWord(file, 1);
  writeWord(file, texts.size());
  file << texts;
}

void writeNumbers(std::ostream& file, std::vector<Variant> const& column) {
  writeWord(file, 0);
  for (auto const& cell : column)
    writeWord(file, std::bit_cast<u64>(cell.type() == Variant::UnsignedInteger ? static_cast<double>(cell.longValue())
                                                                               : cell.doubleValue()));
}

}  // namespace

u64 scramble(u64 number) noexcept {
  number += 0x9e3779b97f4a7c15;
  number = (number ^ (number >> 30)) * 0xbf58476d1ce4e5b9;
  number = (number ^ (number >> 27)) * 0x94d049bb133111eb;
  return number ^ (number >> 31);
}

std::vector<StudyColumn> const& studyColumns() {
  static auto const columns = [] {
    std::vector<StudyColumn> all;
    for (auto const& [content, count] : groups)
      for (std::size_t k = 0; k < count; ++k)
        all.push_back({all.empty() ? "Case ID" : "c" + std::to_string(all.size()), content});
    for (std::size_t const key : {1, 2, 26}) all[key].isKey = true;
    return all;
  }();
  return columns;
}

Variant cellValue(Content content, u64 column, u64 row, u64 version) {
  u64 const draw = drawFor(column, row);
  bool const rare = draw % 50 == version;  // of one version at the most
  u64 const rest = draw / 50 + version;
  switch (content) {
    case Content::CaseId: return Variant::ofWord(row + 1, Variant::UnsignedInteger);
    case Content::Coded: return rare ? Variant{} : Variant{static_cast<double>(rest % 100)};
    case Content::Continuous: return rare ? Variant{} : Variant{100.0 * fraction(rest)};
    case Content::Calculated: return Variant{fraction(rest)};
    case Content::Repeated: return Variant{"centre " + std::to_string(rest % 20)};
    case Content::Distinct: return rare ? Variant{"none"} : Variant{"note " + std::to_string(scramble(rest))};
  }
  return {};
}

Sheet studySheet(u64 rows, u64 first) {
  return fill(0, rows, [=](u64 column, u64 row) { return cellOf(column, first + row, 0); });
}

Incoming newRows(u64 rows) {
  return {withoutCaseIds(), fill(1, rows, [=](u64 column, u64 row) { return cellOf(column, rows + row, 0); })};
}

Incoming sameCases(u64 rows) {
  return {studyColumns(),
          fill(0, rows, [](u64 column, u64 row) { return cellOf(column, row, incomingVersion(column, row)); })};
}

Incoming sameKeys(u64 rows) {
  return {withoutCaseIds(), fill(1, rows, [=](u64 column, u64 row) {
            auto const& [name, content, isKey] = studyColumns()[column];
            if (isKey && hasNewKeys(row) && content == Content::Coded)
              return Variant{static_cast<double>(1000 + scramble(row + column) % 1000)};
            u64 const source = sourceOf(row, rows);
            return cellOf(column, source, isKey ? 0 : incomingVersion(column, source));
          })};
}

void Checksum::addNumber(u64 column, u64 row, double number) noexcept {
  addHash(column, row, number != number ? 1 : std::bit_cast<u64>(number + 0.0) + 3);
}

void Checksum::addText(u64 column, u64 row, std::string_view text) noexcept {
  addHash(column, row, u64{libdeflate_crc32(0, text.data(), text.size())} + 2);
}

void Checksum::add(u64 column, u64 row, Variant const& cell) noexcept {
  switch (cell.type()) {
    case Variant::Null: return addMissing(column, row);
    case Variant::UnsignedInteger: return addNumber(column, row, static_cast<double>(cell.longValue()));
    case Variant::FloatingPoint: return addNumber(column, row, cell.doubleValue());
    case Variant::String: return addText(column, row, cell.stringValue());
  }
}

u64 checksumOf(Sheet const& sheet) {
  Checksum checksum;
  for (u64 column = 0; column < sheet.size(); ++column)
    for (u64 row = 0; row < sheet[column].size(); ++row) checksum.add(column, row, sheet[column][row]);
  return checksum.value();
}

void writeSheet(std::filesystem::path const& path, Sheet const& sheet) {
  std::ofstream file;
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file.open(path, std::ios::binary);
  writeWord(file, sheet.empty() ? 0 : sheet.front().size());
  writeWord(file, sheet.size());
  for (auto const& column : sheet)
    if (!column.empty() && column.back().type() == Variant::String) writeTexts(file, column);
    else writeNumbers(file, column);
}

}  // namespace casebook::bench
