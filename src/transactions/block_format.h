#pragma once

#include <casebook/journal.h>

#include <cstring>
#include <utility>
#include <vector>

namespace casebook {

/// The open block of the journal: a writer that takes commands. Without memory, as it is when the room of a large block
/// was given back, it makes room for its head with the first of them.
class OpenBlock : public Journal::TransactionWriter {
 public:
  [[nodiscard]] bool hasCommands() const noexcept { return size() > headerSize; }

  /// Appends a command, its payload being what `write` writes into the block; when it throws the block is as it was.
  template <class Write>
  void append(std::uint32_t code, Write const& write);

  /// What `append` lets write.
  void write(unsigned char const* data, u64 n) {
    auto* const place = bytes_.append(n);
    if (n != 0) std::memcpy(place, data, n);
  }

  /// Back to the empty head, without taking memory. The room stays as long as blocks of about that size keep coming.
  void restart() noexcept;

  void swap(OpenBlock& other) noexcept {
    bytes_.swap(other.bytes_);
    std::swap(recentSize_, other.recentSize_);
  }

 private:
  static constexpr u64 commandHeadSize = 12;

  void appendHead();
  void writeCommandHead(u64 place, std::uint32_t code) noexcept;

  u64 recentSize_ = 0;  // of the largest block of late, fading
};

/// The complete commands of a block, of which it is given what Transaction::bytes gives, by their numbers.
class CommandList {
 public:
  explicit CommandList(Journal::Bytes block);

  [[nodiscard]] std::size_t size() const noexcept { return places_.size(); }
  [[nodiscard]] Journal::Command operator[](std::size_t number) const noexcept;

 private:
  Journal::Bytes block_;
  std::vector<u64> places_;  // where the commands begin
};

template <class Write>
void OpenBlock::append(std::uint32_t code, Write const& write) {
  if (bytes_.size() == 0) appendHead();
  u64 const place = bytes_.size();
  bytes_.append(commandHeadSize);
  try {
    write(*this);
  } catch (...) {
    bytes_.truncate(place);
    throw;
  }
  writeCommandHead(place, code);
}

}  // namespace casebook
