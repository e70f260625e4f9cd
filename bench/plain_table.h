#pragma once

#include "table.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <memory>
#include <string>
#include <variant>

namespace casebook::bench {

/// The floor: the same cells as columns of variants that are reached by their position, and a journal of bytes. It
/// names nothing, checks nothing and cannot fail; what a table does beyond it is Casebook's own cost.
class PlainTable {
 public:
  using Text = std::shared_ptr<std::string const>;
  using Value = std::variant<std::monostate, double, Text>;

  static Value valueOf(Variant const& value) {
    if (value.isNull()) return {};
    if (value.type() == Variant::String) return std::make_shared<std::string const>(value.stringValue());
    return value.doubleValue();
  }

  void connectJournal() { journalling_ = true; }
  void connectChanges() {}
  [[nodiscard]] u64 bytesJournalled() const noexcept { return bytesJournalled_; }

  template <class Work>
  void transaction(Work work) {
    work();
    if (journalling_) closeBlock();
  }

  void addColumn(Content) { columns_.emplace_back(rows_); }
  void addRecord() {
    for (auto& column : columns_) column.emplace_back();
    ++rows_;
    if (journalling_) append(rows_);
  }
  void lockRecords() {}

  void set(std::uint32_t column, std::uint32_t row, Value const& value) {
    auto& cell = columns_[column][row];
    if (journalling_) journal(column, row, cell, value);
    cell = value;
  }
  [[nodiscard]] Value const& value(std::uint32_t column, std::uint32_t row) const { return columns_[column][row]; }

 private:
  void append(void const* data, std::size_t size) {
    auto const* const bytes = static_cast<unsigned char const*>(data);
    block_.insert(block_.end(), bytes, bytes + size);
  }
  void append(u64 number) { append(&number, sizeof number); }
  void append(Value const& value) {
    append(value.index());
    if (auto const* const number = std::get_if<double>(&value)) append(number, sizeof *number);
    if (auto const* const text = std::get_if<Text>(&value)) append(**text);
  }
  void append(std::string const& text) {
    append(text.size());
    append(text.data(), text.size());
  }
  void journal(u64 column, u64 row, Value const& before, Value const& after) {
    append(column);
    append(row);
    append(before);
    append(after);
  }
  void closeBlock() {
    bytesJournalled_ += block_.size();
    auto crc = crc32_z(0, block_.data(), block_.size());
    benchmark::DoNotOptimize(crc);
    block_.clear();
  }

  std::vector<std::vector<Value>> columns_;
  u64 rows_ = 0;
  bool journalling_ = false;
  std::vector<unsigned char> block_;
  u64 bytesJournalled_ = 0;
};

}  // namespace casebook::bench
