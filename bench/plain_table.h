#pragma once

#include "study.h"

#include <libdeflate.h>

#include <cstring>
#include <vector>

namespace casebook::bench {

/// The floor: the cells in columns that are reached by their position, and a journal of bytes with a CRC behind it. It
/// names nothing, checks nothing, tells nobody and cannot fail half-way.
///
///   journal = entry*
///   entry   = column:u32 row:u32 before:value after:value | newRow:u32 row:u32
///   value   = type:u32 (word:u64 | length:u64 bytes)
class PlainTable {
 public:
  explicit PlainTable(Sheet sheet) : cells_{std::move(sheet)} {}

  [[nodiscard]] Sheet const& cells() const noexcept { return cells_; }
  [[nodiscard]] u64 rows() const noexcept { return cells_.front().size(); }
  [[nodiscard]] u64 bytesJournalled() const noexcept { return used_; }

  void set(std::size_t column, std::size_t row, Variant const& value) {
    auto& cell = cells_[column][row];
    log(static_cast<std::uint32_t>(column));
    log(static_cast<std::uint32_t>(row));
    log(cell);
    log(value);
    cell = value;
  }

  void reserve(u64 rows) {
    for (auto& column : cells_) column.reserve(rows);
  }
  /// A row of nulls but for its case identifier.
  void addRow() {
    log(newRow);
    log(static_cast<std::uint32_t>(rows()));
    for (auto& column : cells_) column.emplace_back();
    cells_.front().back() = Variant::ofWord(rows(), Variant::UnsignedInteger);
  }

  void begin() noexcept { used_ = 0; }
  /// Closes the journal of what was done since `begin`.
  void commit() noexcept { crc_ = crcOfJournal(); }

  /// Takes back what was done since `begin`. False when the journal is damaged.
  bool undo() {
    if (crc_ != crcOfJournal()) return false;
    auto const entries = entriesOfJournal();
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
      Reader reader{&journal_[*entry]};
      auto const column = reader.number<std::uint32_t>();
      auto const row = reader.number<std::uint32_t>();
      if (column != newRow) cells_[column][row] = reader.value();
      else
        for (auto& cells : cells_) cells.pop_back();
    }
    return true;
  }
  /// Does again what `undo` took back, which added no rows.
  bool redo() {
    if (crc_ != crcOfJournal()) return false;
    for (Reader reader{journal_.data()}; reader.at() < journal_.data() + used_;) {
      auto const column = reader.number<std::uint32_t>();
      auto const row = reader.number<std::uint32_t>();
      reader.skip();
      cells_[column][row] = reader.value();
    }
    return true;
  }

 private:
  static constexpr std::uint32_t newRow = ~std::uint32_t{0};

  class Reader {
   public:
    explicit Reader(unsigned char const* at) : at_{at} {}

    [[nodiscard]] unsigned char const* at() const noexcept { return at_; }
    template <class Number>
    Number number() noexcept {
      Number number;
      std::memcpy(&number, at_, sizeof number);
      at_ += sizeof number;
      return number;
    }
    Variant value() {
      auto const type = static_cast<Variant::Type>(number<std::uint32_t>());
      auto const word = number<u64>();
      if (type != Variant::String) return Variant::ofWord(word, type);
      at_ += word;
      return Variant{std::string{reinterpret_cast<char const*>(at_ - word), word}};
    }
    void skip() noexcept {
      bool const isText = number<std::uint32_t>() == Variant::String;
      auto const word = number<u64>();
      if (isText) at_ += word;
    }

   private:
    unsigned char const* at_;
  };

  [[nodiscard]] std::vector<std::size_t> entriesOfJournal() const {
    std::vector<std::size_t> entries;
    for (Reader reader{journal_.data()}; reader.at() < journal_.data() + used_;) {
      entries.push_back(static_cast<std::size_t>(reader.at() - journal_.data()));
      bool const isRow = reader.number<std::uint32_t>() == newRow;
      reader.number<std::uint32_t>();
      if (isRow) continue;
      reader.skip();
      reader.skip();
    }
    return entries;
  }

  [[nodiscard]] std::uint32_t crcOfJournal() const noexcept { return libdeflate_crc32(0, journal_.data(), used_); }

  unsigned char* claim(std::size_t size) {
    if (used_ + size > journal_.size()) journal_.resize(2 * (used_ + size));
    used_ += size;
    return &journal_[used_ - size];
  }
  void log(std::uint32_t number) { std::memcpy(claim(sizeof number), &number, sizeof number); }
  void log(Variant const& value) {
    log(std::uint32_t{value.type()});
    bool const isText = value.type() == Variant::String;
    u64 const word = isText ? value.stringValue().size() : value.word();
    std::memcpy(claim(sizeof word), &word, sizeof word);
    if (isText) std::memcpy(claim(word), value.stringValue().data(), word);
  }

  Sheet cells_;
  std::vector<unsigned char> journal_;
  std::size_t used_ = 0;
  std::uint32_t crc_ = 0;
};

}  // namespace casebook::bench
