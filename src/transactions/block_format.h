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

  /// Appends a command; the place of its payload, which is to be filled, lasts until the next. When it throws the block
  /// is as it was.
  [[nodiscard]] unsigned char* append(std::uint32_t code, u64 payloadSize) {
    if (bytes_.size() == 0) appendHead();
    auto* const place = bytes_.append(commandHeadSize + payloadSize);
    writeCommandHead(place, commandHeadSize + payloadSize, code);
    return place + commandHeadSize;
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
  static void writeCommandHead(unsigned char* place, u64 length, std::uint32_t code) noexcept {
    std::memcpy(place, &length, sizeof length);
    std::memcpy(place + sizeof length, &code, sizeof code);
  }

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

}  // namespace casebook
