#pragma once

#include <casebook/journal.h>

namespace casebook {

/// The open block of the journal: a writer that takes commands. One that was moved from takes them again, and making
/// room for its head is the first thing that it does then: to set a block aside needs no memory.
class OpenBlock : public Journal::TransactionWriter {
 public:
  [[nodiscard]] bool hasCommands() const noexcept { return size() > headerSize; }

  /// Appends a command; when memory runs out the block is as it was.
  void append(std::uint32_t code, Journal::Bytes payload);

  /// Back to the empty head, without taking memory; the room of a large block is given back.
  void restart() noexcept;

  void swap(OpenBlock& other) noexcept { bytes_.swap(other.bytes_); }
};

}  // namespace casebook
