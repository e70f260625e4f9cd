#include "table.h"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>

namespace casebook::bench {

namespace {

constexpr u64 seed = 20240229;

struct Group {
  Content content;
  std::size_t columns;
};
constexpr std::array<Group, 5> study{{{Content::Coded, 10},
                                      {Content::Continuous, 15},
                                      {Content::Repeated, 10},
                                      {Content::Distinct, 4},
                                      {Content::Calculated, 10}}};

// Turns neighbouring numbers into unrelated ones, none into the same.
u64 scramble(u64 number) {
  number += 0x9e3779b97f4a7c15;
  number = (number ^ (number >> 30)) * 0xbf58476d1ce4e5b9;
  number = (number ^ (number >> 27)) * 0x94d049bb133111eb;
  return number ^ (number >> 31);
}

double fraction(u64 draw) { return static_cast<double>(scramble(draw) >> 11) * 0x1p-53; }

}  // namespace

std::span<Content const> studyColumns() {
  static auto const columns = [] {
    std::vector<Content> all;
    for (auto const& [content, count] : study) all.insert(all.end(), count, content);
    return all;
  }();
  return columns;
}

VariableDataType dataTypeOf(Content content) {
  bool const isText = content == Content::Repeated || content == Content::Distinct;
  return isText ? Variant::String : Variant::FloatingPoint;
}

Variant cellValue(Content content, u64 column, u64 row, u64 version) {
  u64 const draw = scramble(scramble(seed + column) + row);
  bool const rare = draw % 50 == version;  // of one version at the most
  u64 const rest = draw / 50 + version;
  switch (content) {
    case Content::Coded: return rare ? Variant{} : Variant{static_cast<double>(rest % 100)};
    case Content::Continuous: return rare ? Variant{} : Variant{100.0 * fraction(rest)};
    case Content::Calculated: return Variant{fraction(rest)};
    case Content::Repeated: return Variant{"centre " + std::to_string(rest % 20)};
    case Content::Distinct: return rare ? Variant{"none"} : Variant{"note " + std::to_string(scramble(rest))};
  }
  return {};
}

std::vector<Edit<Variant>> everyCell(u64 rows, Order order) {
  auto const columns = studyColumns();
  std::vector<Edit<Variant>> edits;
  edits.reserve(columns.size() * rows);
  for (std::uint32_t column = 0; column < columns.size(); ++column)
    for (std::uint32_t row = 0; row < rows; ++row) {
      auto const content = columns[column];
      edits.push_back({column, row, {cellValue(content, column, row, 0), cellValue(content, column, row, 1)}});
      if (edits.back().versions[0] == edits.back().versions[1])
        throw std::logic_error{"both versions of a cell are the same"};
    }
  if (order == Order::Random) std::ranges::shuffle(edits, std::mt19937_64{seed});
  return edits;
}

CasebookTable::CasebookTable() : project_{createProject()} { projectPtr = project_.get(); }

void CasebookTable::connectJournal() {
  project_->connectProjectJournal(
      [this](Journal::TransactionWriter& writer) { bytesJournalled_ += writer.finalize().size(); });
}

void CasebookTable::connectChanges() {
  auto const slot = [this](TransactionRecord const& record) { cellChangesHeard_ += record.valuesChanged; };
  project_->connectProjectChangePre(slot);
  project_->connectProjectChange(slot);
}

void CasebookTable::addColumn(Content content) {
  auto const type = dataTypeOf(content);
  auto const name = "column " + std::to_string(variables_.size());
  auto const defaultValue = type == Variant::String ? Variant{""} : Variant{};
  variables_.push_back(project_->addVariable(name, VariableNature::Unspecified, type, defaultValue).lock());
}

void CasebookTable::lockRecords() {
  auto const records = project_->records();
  records_.reserve(records.size());
  for (auto const record : records) records_.push_back(record.lock());
}

}  // namespace casebook::bench
